// A temporary device with an open database, for driving the import and the settings load.
#pragma once

#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
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

    // Lines joined with CR LF, each line's text given in UTF-8 and written as Windows-1252.
    static QByteArray file(const QStringList& lines, const char* end = "\r\n");

    ConfigImport::Result import(const QByteArray& bytes)
    {
        root.writeFile(QStringLiteral("Brovant/passive.dtr"), bytes);
        ConfigImport importer(session->root(), session->database(), session->store(), dialogs,
                              &session->keepAwake());
        return importer.run();
    }

    int loaded() const { return session->store().readInt(Setting::KonfigLoaded); }
    // Master rows as "ID|ID_TYPE|DMSTUFE|BHDBIS|BHD|TARIF|KUBATUR|REGION_A|BAUMART" in ID order.
    QStringList rows() const;
    QStringList hsOf(int id) const;

    TempRoot root;
    std::unique_ptr<DeviceSession> session;
    ScriptedDialogs dialogs;
};

} // namespace brovant::test
