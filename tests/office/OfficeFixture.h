// The office store under test, once on SQLite and once on a real PostgreSQL started for the run,
// with list files made from the device's own export samples.
#pragma once

#include "data/office/OfficeStore.h"
#include "office/Inbox.h"
#include "support/PostgresServer.h"
#include "tool/ToolRun.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace brovant::test {

// A device's list file from tests/transfer/data; edited with replacements of the same length, which
// keep the columns.
inline QByteArray deviceFile(const char* name)
{
    return readAll(QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/")
                   + QLatin1StringView(name));
}

// One PostgreSQL server for the whole test program; a database per test.
inline PostgresServer& postgres()
{
    static PostgresServer server;
    return server;
}

class OfficeStoreTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        QString location = dir.filePath(QStringLiteral("office.sqlite"));
        if (QLatin1StringView(GetParam()) == QLatin1StringView("postgresql")) {
            ASSERT_TRUE(postgres().running()) << postgres().error().toStdString();
            static int serial = 0;
            location = postgres().createDatabase(QStringLiteral("t%1").arg(++serial));
            ASSERT_FALSE(location.isEmpty()) << postgres().error().toStdString();
        }
        this->location = location;
        QString error;
        store = office::OfficeStore::open(location, &error);
        ASSERT_TRUE(store) << error.toStdString();
    }

    office::IntakeResult take(const QByteArray& bytes, const QString& name = QStringLiteral("L.DAT"))
    {
        return office::intakeBytes(*store, bytes, name);
    }
    int listCount(bool withHistory = true)
    {
        office::ListQuery all;
        all.limit = 0;
        all.withHistory = withHistory;
        return store->count(all);
    }

    QTemporaryDir dir;
    QString location;
    std::unique_ptr<office::OfficeStore> store;
};

} // namespace brovant::test
