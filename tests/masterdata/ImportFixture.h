// A temporary device with an open database, for driving the import and the settings load.
#pragma once

#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "platform/Cp1252.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"

#include <QByteArray>
#include <QStringList>

#include <gtest/gtest.h>
#include <memory>

namespace brovant::test {

class ImportFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        ASSERT_NE(session->openDatabase(), DeviceSession::DatabaseState::Failed);
    }

    // Lines joined with `end`, each written as Windows-1252.
    static QByteArray file(const QStringList& lines, const char* end = "\r\n")
    {
        QByteArray out;
        for (const QString& line : lines)
            out += cp1252::encode(line) + end;
        return out;
    }
    ConfigImport::Result import(const QByteArray& bytes)
    {
        root.writeFile("Brovant/passive.dtr", bytes);
        return ConfigImport(session->root(), session->database(), store(), dialogs,
                            &session->keepAwake())
            .run();
    }
    ConfigImport::Result import(const QStringList& lines) { return import(file(lines)); }
    SettingsStore& store() const { return session->store(); }
    bool hasValue(const char* section, const char* entry) const
    {
        return session->profile().hasValue(section, entry);
    }

    // Master rows "ID|ID_TYPE|DMSTUFE|BHDBIS|BHD|TARIF|KUBATUR|REGION_A|BAUMART[|HS1..HS6 or -]".
    QStringList rows(bool hs = false) const
    {
        Dataset ds(session->database(), schema::Einstellungen);
        ds.reset(Filter::ordered("ID"));
        QStringList out;
        for (; !ds.eof(); ds.moveNext()) {
            QStringList cells;
            for (const char16_t* f : {u"ID", u"ID_TYPE", u"DMSTUFE", u"BHDBIS", u"BHD", u"TARIF",
                                      u"KUBATUR", u"REGION_A", u"BAUMART"})
                cells << ds.loadText(f);
            for (const char16_t* f : {u"HS1", u"HS2", u"HS3", u"HS4", u"HS5", u"HS6"}) {
                if (hs)
                    cells << (ds.loadIsEmpty(f) ? "-" : ds.loadText(f));
            }
            out << cells.join(u'|');
        }
        return out;
    }

    TempRoot root;
    std::unique_ptr<DeviceSession> session;
    ScriptedDialogs dialogs;
};

} // namespace brovant::test
