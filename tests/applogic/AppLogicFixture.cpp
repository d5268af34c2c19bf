#include "AppLogicFixture.h"

#include "data/Dataset.h"
#include "data/Schema.h"
#include "data/StructureCheck.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace brovant::test {

void TestDevice::openSession()
{
    session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
    app = std::make_unique<AppLifecycle>(*session, state, clock, dialogs, host);
}

void TestDevice::restartAfterCrash()
{
    app.reset();
    session.reset();
    state = AppState{};
    openSession();
}

void TestDevice::stageConfig() const
{
    QFile demo(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
    ASSERT_TRUE(demo.open(QIODevice::ReadOnly));
    root.writeFile(QStringLiteral("Brovant/passive.dtr"), demo.readAll());
}

void TestDevice::makeDatabase(const QString& relative, const QString& marker) const
{
    const QString file = root.host(relative);
    ASSERT_TRUE(QDir().mkpath(QFileInfo(file).path()));
    Database db(file, Database::Durability::Relaxed);
    ASSERT_TRUE(db.open());
    ASSERT_TRUE(StructureCheck::ensureStructureRecord(db));
    Dataset rows(db, schema::Einstellungen);
    rows.clearFields();
    rows.setInt(u"ID", 1);
    rows.setInt(u"ID_TYPE", schema::DiameterClassRow);
    rows.setText(u"REGION_A", marker);
    ASSERT_TRUE(rows.insert());
    db.close();
}

QString TestDevice::markerOf(const QString& relative) const
{
    const QString file = root.host(relative);
    if (!QFileInfo(file).isFile())
        return QStringLiteral("-");
    Database db(file, Database::Durability::Relaxed);
    if (!db.open())
        return QStringLiteral("-");
    auto q = db.query(QStringLiteral("SELECT REGION_A FROM Brov_Einstellungen ORDER BY ID"));
    return q.next() ? q.text(0) : QStringLiteral("-");
}

qsizetype TestDevice::eventIndex(const QString& prefix, qsizetype from) const
{
    for (qsizetype i = from; i < events.size(); ++i) {
        if (events[i].startsWith(prefix))
            return i;
    }
    return -1;
}

} // namespace brovant::test
