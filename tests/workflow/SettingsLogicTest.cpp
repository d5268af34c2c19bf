#include "AppLogicFixture.h"

#include "OfficeChannel.h"
#include "masterdata/ConfigImport.h"
#include "workflow/AppState.h"
#include "workflow/SettingsLogic.h"

namespace brovant {
namespace {

class SettingsLogicTest : public ::testing::Test, protected test::OpenDevice {
protected:
    SettingsLogicTest()
    {
        QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
        EXPECT_TRUE(sample.open(QIODevice::ReadOnly));
        config = sample.readAll();
        root.writeFile(QStringLiteral("Brovant/passive.dtr"), config);
        ConfigImport(session.root(), session.database(), session.store(), dialogs, nullptr).run();
        test::ListBuilder(session.database())
            .row(schema::Kopfdaten, {{u"ID_FILE", 1}, {u"LISTE_NR", "12345678"}});
        session.store().writeInt(Setting::PrinterType, 0, 2);
        dialogs.clear();
    }
    int rows(const TableDescriptor& table)
    {
        auto q = session.database().query(
            QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1StringView(table.name)));
        return q.next() ? int(q.integer(0)) : -1;
    }

    test::Recorder host;
    SettingsLogic logic{session, state, dialogs};
    QByteArray config;
};

// Only "Fortsetzen" and then the right-hand "JA" (No) delete anything.
TEST_F(SettingsLogicTest, DeleteAllNeedsBothAnswersExactly)
{
    // The two answers and whether they delete, one pair a line of data/delete_all.txt.
    for (const test::Case& c : test::readCases("workflow/data/delete_all.txt")) {
        SCOPED_TRACE(c.where().constData());
        const bool deletes = c.text(1) == u"yes";
        dialogs.clear();
        test::answerNext(dialogs, c.text(0));
        EXPECT_EQ(logic.deleteAll(host), deletes);
        EXPECT_EQ(rows(schema::Kopfdaten), deletes ? 0 : 1);
        EXPECT_EQ(session.store().readInt(Setting::PrinterType), deletes ? 5 : 2);
    }
    const auto& asked = dialogs.messages();
    ASSERT_GE(asked.size(), 2u);
    EXPECT_EQ(asked[0].lines,
              (QStringList{"Beim Initialisieren der Daten-", "bank werden alle gespeicher-",
                           "ten Holzdaten gelöscht!"}));
    EXPECT_EQ(asked[0].captions, (QStringList{"Fortsetzen", "Abbrechen"}));
    EXPECT_EQ(asked[1].lines,
              (QStringList{"Wollen Sie wirklich alle Holz-", "daten löschen?", ""}));
    EXPECT_EQ(asked[1].captions, (QStringList{"NEIN", "JA"}));
    // The staged configuration was imported again, the structure record kept.
    EXPECT_TRUE(session.configurationLoaded());
    EXPECT_GT(rows(schema::Einstellungen), 0);
    EXPECT_EQ(rows(schema::Struktur), 1);
    EXPECT_EQ(state.tables.species[0], QStringLiteral("FI "));
}

// Without "Ja", a transfer or a file nothing changes; else the first file received is staged
// and imported. The office here cannot answer a configuration fetch.
TEST_F(SettingsLogicTest, ReloadTakesTheFirstReceivedFile)
{
    test::OfficeChannel office(&session.root());
    dialogs.answerNext(Answer::No);
    EXPECT_FALSE(logic.reloadConfiguration(office, host));
    EXPECT_EQ(office.receives, 0);
    // FTP mode fetches; a failed transfer leaves what lies in "\Import".
    session.store().writeInt(Setting::DueMode, 0, 3);
    root.writeFile(QStringLiteral("Import/x.dat"), "TD0STAMM300.DAT\r\n");
    dialogs.answerNext(Answer::Yes);
    EXPECT_FALSE(logic.reloadConfiguration(office, host));
    EXPECT_EQ(office.receives, 0);
    EXPECT_EQ(root.readFile(QStringLiteral("Brovant/passive.dtr")), config);
    // Nothing received: the staged file stays.
    session.store().writeInt(Setting::DueMode, 0, 1);
    session.root().removeFile(QStringLiteral("\\Import\\x.dat"));
    dialogs.answerNext(Answer::Yes);
    EXPECT_FALSE(logic.reloadConfiguration(office, host));
    EXPECT_EQ(office.receives, 1);
    EXPECT_EQ(root.readFile(QStringLiteral("Brovant/passive.dtr")), config);
    EXPECT_TRUE(session.configurationLoaded());

    const QByteArray newer = "TD0STAMM300.DAT\r\na15XYZ\r\n";
    office.held = {{"b.dat", "junk"}, {"A.DAT", newer}};
    dialogs.clear();
    dialogs.answerNext(Answer::Yes);
    EXPECT_TRUE(logic.reloadConfiguration(office, host));
    EXPECT_EQ(office.receives, 2);
    EXPECT_EQ(root.readFile(QStringLiteral("Brovant/passive.dtr")), newer);
    EXPECT_TRUE(session.root().find(QStringLiteral("\\Import\\*.*")).isEmpty());
    EXPECT_EQ(state.tables.species[0], QStringLiteral("XYZ"));
    EXPECT_EQ(dialogs.asked().first(), QStringLiteral("Wollen Sie die neue|Konfiguration laden?|"));
}

TEST_F(SettingsLogicTest, BackupOptions)
{
    dialogs.answerNext(Answer::No);
    EXPECT_FALSE(logic.setAutomaticBackup(true));
    EXPECT_EQ(session.store().readInt(Setting::BackupAuto), 0);
    dialogs.answerNext(Answer::Yes);
    EXPECT_TRUE(logic.setAutomaticBackup(true));
    EXPECT_EQ(session.store().readInt(Setting::BackupAuto), 1);
    EXPECT_EQ(dialogs.asked().first(),
              QStringLiteral("Hiermit werden nur Holzlisten gesichert, für|"
                             "die Konfiguration muss ein Backup gemacht|"
                             "werden. Wollen Sie die Listen sichern?"));
    EXPECT_FALSE(logic.setAutomaticBackup(false));
    EXPECT_EQ(session.store().readInt(Setting::BackupAuto), 0);

    // A card folder by device kind, one a line of data/card_folders.txt.
    for (const test::Case& c : test::readCases("workflow/data/card_folders.txt")) {
        SCOPED_TRACE(c.where().constData());
        const bool found = c.text(2) != u"-";
        test::TempRoot other;
        DeviceSession s(other.path(), Database::Durability::Relaxed);
        AppState st;
        st.getac = c.text(0) == u"getac";
        SettingsLogic l(s, st, dialogs);
        for (const QString& folder : c.text(1).split(u',', Qt::SkipEmptyParts))
            other.writeFile(folder + QStringLiteral("/x"), "");
        dialogs.clear();
        EXPECT_EQ(l.cardFolder(), found ? c.text(2) : QString());
        EXPECT_EQ(l.setCardBackup(true), found);
        EXPECT_EQ(s.store().readInt(Setting::BackupKarte), found ? 1 : 0);
        EXPECT_EQ(dialogs.asked().isEmpty(), found);
    }
}

// A restored backup brings its own master rows and lists: the tables follow it, and a current
// list it does not hold is forgotten.
TEST_F(SettingsLogicTest, AfterRestoreTheTablesAndTheCurrentListFollowTheDatabase)
{
    for (const int current : {1, 7, -1}) {
        SCOPED_TRACE(current);
        state.tables = MasterTables{};
        state.currentList = current;
        logic.afterRestore(host);
        EXPECT_FALSE(state.tables.classes.empty());
        EXPECT_FALSE(state.tables.tariffs.isEmpty());
        EXPECT_EQ(state.currentList, current == 1 ? 1 : -1);
    }
}

} // namespace
} // namespace brovant
