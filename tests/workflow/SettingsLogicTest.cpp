// The logic of the settings screens: communication and cable, the settings screen's own keys, and
// the configuration pages.
#include "workflow/CommunicationSettingsLogic.h"
#include "AppLogicFixture.h"
#include "OfficeChannel.h"
#include "masterdata/ConfigImport.h"
#include "workflow/AppState.h"
#include "workflow/CableSettingsLogic.h"
#include "workflow/ConfigurationLogic.h"
#include "workflow/SettingsLogic.h"

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;

const QString kComm = u"ControlPanel\\Comm"_s;

using test::str;

// The scalar transfer, printer and caliper lines of the tables, without the master data.
QString settingsPart(const MasterTables& tables)
{
    return tables.describe().section(u"Holzart:"_s, 0, 0);
}

struct Device : test::TestDevice {
    MasterTables& tables = state.tables;
    CommunicationSettingsLogic communication{session->store(), state.tables};
    CableSettingsLogic cable{session->store(), state.tables};

    // Every value of the program's key as "Section/Entry=value", sorted.
    QStringList values()
    {
        const QString app = QString::fromUtf16(Profile::kAppKey);
        QStringList out;
        for (const QString& section : registry().subkeys(Hive::CurrentUser, app)) {
            const QString key = app + u'\\' + section;
            for (const QString& name : registry().valueNames(Hive::CurrentUser, key)) {
                const auto number = registry().dword(Hive::CurrentUser, key, name);
                out << section + u'/' + name + u'='
                           + (number ? QString::number(*number)
                                     : registry().string(Hive::CurrentUser, key, name).value());
            }
        }
        out.sort();
        return out;
    }
    void write(const char* section, const char* entry, int value)
    {
        profile().writeInt(QString::fromLatin1(section), QString::fromLatin1(entry), value);
    }
    std::optional<quint32> autoConnect()
    {
        return registry().dword(Hive::CurrentUser, kComm, u"AutoCnct"_s);
    }
};

// Defaults are the settings' own (see the cases below); reading and confirming them writes nothing.
TEST(CommunicationSettings, AnEmptyStoreShowsTheDefaultsAndReadingWritesNothing)
{
    Device d;
    const CommunicationSettings s = d.communication.read();
    EXPECT_EQ(s.printerPath, u"\\My Documents"_s);
    EXPECT_EQ(d.communication.confirm(s), 0);
    EXPECT_EQ(d.values(), QStringList());
}

// One choice changed on the screen: exactly its value is written, and the tables are what a fresh
// settings load of the store gives.
TEST(CommunicationSettings, EachChoiceWritesItsValueAndTheTablesFollow)
{
    const struct {
        const char* name;
        std::function<void(CommunicationSettings&)> choose;
        QStringList written;
    } cases[] = {
        {"modem", [](auto& s) { s.mode = 2; }, {u"DUE/DueMode=2"_s}},
        {"modem entry", [](auto& s) { s.modemEntry = 3; }, {u"MODEM/Selected=3"_s}},
        {"caliper on", [](auto& s) { s.caliperActive = true; }, {u"Kluppe/Aktiv=1"_s}},
        {"caliper port", [](auto& s) { s.caliperPort = 4; }, {u"Kluppe/Port=4"_s}},
        {"caliper NMEA", [](auto& s) { s.caliperFormat = 1; }, {u"Kluppe/Format=1"_s}},
        {"printer type", [](auto& s) { s.printerType = 1; }, {u"Printer/Type=1"_s}},
        {"printer port", [](auto& s) { s.printerPort = 2; }, {u"Printer/Port=2"_s}},
        {"baud rate", [](auto& s) { s.printerBaudrate = 9600; }, {u"Printer/Baudrate=9600"_s}},
        {"page length", [](auto& s) { s.pageLength[3] = 70; }, {u"Printer/Seitenlaenge3=70"_s}},
        {"ask, current type",
         [](auto& s) { s.askBeforePrinting[5] = true; },
         {u"Printer/Frage5=1"_s}},
        {"ask, other type",
         [](auto& s) { s.askBeforePrinting[2] = true; },
         {u"Printer/Frage2=1"_s}},
        {"type whose flag is set",
         [](auto& s) { s.printerType = 0, s.askBeforePrinting[0] = true; },
         {u"Printer/Frage0=1"_s, u"Printer/Type=0"_s}},
        {"print folder",
         [](auto& s) { s.printerPath = u"\\Storage Card"_s; },
         {u"Printer/Path=\\Storage Card"_s}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Device d;
        ASSERT_NE(d.session->openDatabase(), DeviceSession::DatabaseState::Failed);
        d.tables = loadSettings(d.session->store(), d.session->database(), nullptr, nullptr);
        CommunicationSettings s = d.communication.read();
        c.choose(s);
        EXPECT_EQ(d.communication.confirm(s), c.written.size());
        EXPECT_EQ(d.values(), c.written);
        const MasterTables fresh =
            loadSettings(d.session->store(), d.session->database(), nullptr, nullptr);
        EXPECT_EQ(str(settingsPart(d.tables)), str(settingsPart(fresh)));
        EXPECT_EQ(d.tables.caliperFormat, fresh.caliperFormat);
        // A second confirm of the same screen finds nothing left to write.
        EXPECT_EQ(d.communication.confirm(s), 0);
        EXPECT_EQ(d.communication.read(), s);
    }
}

// What the screen shows for a stored "Section/Entry".
int shownFor(const CommunicationSettings& s, const QString& value)
{
    const std::map<QString, int> shown = {
        {u"DUE/DueMode"_s, s.mode},
        {u"MODEM/Selected"_s, s.modemEntry},
        {u"Kluppe/Aktiv"_s, s.caliperActive},
        {u"Kluppe/Port"_s, s.caliperPort},
        {u"Kluppe/Format"_s, s.caliperFormat},
        {u"Printer/Type"_s, s.printerType},
        {u"Printer/Port"_s, s.printerPort},
        {u"Printer/Baudrate"_s, s.printerBaudrate},
        {u"Printer/Seitenlaenge1"_s, s.pageLength[1]},
        {u"Printer/Seitenlaenge2"_s, s.pageLength[2]},
        {u"Printer/Frage4"_s, s.askBeforePrinting[4]},
    };
    return shown.at(value);
}

// Stored values the screen has no choice for show as their defaults; confirming stores what the
// screen showed, and values it can show come back unchanged: one a line of
// data/communication_stored_values.txt.
TEST(CommunicationSettings, StoredValuesOutsideTheChoicesShowAsDefaults)
{
    for (const test::Case& c : test::readCases("workflow/data/communication_stored_values.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString section = c.text(0).section(u'/', 0, 0), entry = c.text(0).section(u'/', 1);
        const bool rewritten = c.text(3) == u"yes";
        Device d;
        d.profile().writeInt(section, entry, c.text(1).toInt());
        const CommunicationSettings s = d.communication.read();
        EXPECT_EQ(shownFor(s, c.text(0)), c.text(2).toInt());
        EXPECT_EQ(d.communication.confirm(s), rewritten ? 1 : 0);
        EXPECT_EQ(d.profile().readInt(section, entry, -1), c.text(rewritten ? 2 : 1).toInt());
    }
}

// Four numbers as cable entries: port entry, baud rate, word length, stop bits.
CableEntries entries(const QString& text)
{
    const QStringList n = text.split(u' ');
    return {n.value(0).toInt(), n.value(1).toInt(), n.value(2).toInt(), n.value(3).toInt()};
}

// One stored state a line of data/cable_entries_shown.txt.
TEST(CableSettings, TheListsShowTheStoredEntriesOrTheirDefaults)
{
    const char* names[] = {"Port", "Baudrate", "Wordlength", "Stopbits"};
    for (const test::Case& c : test::readCases("workflow/data/cable_entries_shown.txt")) {
        SCOPED_TRACE(c.where().constData());
        Device d;
        const QStringList stored = c.text(0).split(u' ');
        for (qsizetype i = 0; i < stored.size(); ++i) {
            if (stored[i] != u"-")
                d.write("DUE", names[i], stored[i].toInt());
        }
        EXPECT_EQ(d.cable.read(), entries(c.text(1)));
        EXPECT_EQ(d.values().size(), stored.size() - stored.count(u"-"_s));
    }
}

// The port entry is the port number minus 1; only ActiveSync switches AutoCnct on, and the four
// DUE values are stored whatever changed: one a line of data/cable_confirm.txt.
TEST(CableSettings, ConfirmStoresPortAndLineAndSwitchesActiveSyncOn)
{
    for (const test::Case& c : test::readCases("workflow/data/cable_confirm.txt")) {
        SCOPED_TRACE(c.where().constData());
        const CableEntries s = entries(c.text(0));
        Device d;
        if (c.text(1) != u"-")
            d.registry().setDword(Hive::CurrentUser, kComm, u"AutoCnct"_s, c.text(1).toUInt());
        EXPECT_EQ(CableSettingsLogic::serialFieldsShown(s.portEntry), s.portEntry != 9);
        d.cable.confirm(s);
        EXPECT_EQ(d.values(), (QStringList{QStringLiteral("DUE/Baudrate=%1").arg(s.baudrate),
                                           QStringLiteral("DUE/Port=%1").arg(s.portEntry + 1),
                                           QStringLiteral("DUE/Stopbits=%1").arg(s.stopbits),
                                           QStringLiteral("DUE/Wordlength=%1").arg(s.wordlength)}));
        const std::optional<quint32> autoAfter = d.autoConnect();
        EXPECT_EQ(autoAfter ? QString::number(*autoAfter) : u"-"_s, c.text(2));
        EXPECT_EQ(d.tables.duePort, s.portEntry + 1);
        EXPECT_EQ(d.cable.read(), s);
    }
}

TEST(CableSettings, ListsAndTheLineShownOnTheCommunicationScreen)
{
    EXPECT_EQ(CableSettingsLogic::portEntries().join(u' '),
              u"COM1 COM2 COM3 COM4 COM5 COM6 COM7 COM8 COM9 ActiveSync"_s);
    for (const test::Case& c : test::readCases("workflow/data/cable_lines.txt"))
        EXPECT_EQ(CableSettingsLogic::describe(entries(c.text(0))), c.text(1))
            << c.where().constData();
}

TEST(CommunicationSettings, ModemEntriesAndPrintFoldersOffered)
{
    Device d;
    SettingsStore& store = d.session->store();
    store.writeText(Setting::ModemName, 1, u"Büro"_s);
    store.writeText(Setting::ModemNumber, 1, u"0761-1"_s);
    store.writeText(Setting::ModemName, 2, u"   "_s);
    store.writeText(Setting::ModemNumber, 2, u"0761-2"_s);
    const char* captions[] = {"1: Büro", "2: 0761-2", "3: (leer)", "4: (leer)"};
    for (int entry = 1; entry <= 4; ++entry)
        EXPECT_EQ(str(CommunicationSettingsLogic::modemEntryCaption(store, entry)),
                  captions[entry - 1]);

    for (const char* folder : {"Storage Card", ".trash", "Export"})
        ASSERT_TRUE(QDir().mkpath(d.root.host(QString::fromUtf8(folder))));
    d.root.writeFile(u"Notiz.txt"_s, "kein Ordner");
    ASSERT_NE(d.session->openDatabase(), DeviceSession::DatabaseState::Failed);
    // The folder stored and the folders offered, one a line of data/print_folders.txt.
    for (const test::Case& c : test::readCases("workflow/data/print_folders.txt")) {
        const QStringList offered =
            CommunicationSettingsLogic::printFolders(d.session->root(), c.text(0));
        EXPECT_EQ(offered.join(u' '), c.text(1)) << c.where().constData();
    }
}

// A device with the demo configuration imported, list 12345678 and printer type 2.
struct SettingsDevice : test::OpenDevice {
    SettingsDevice()
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
    QString rows(const TableDescriptor& table)
    {
        auto q = session.database().query(
            QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1StringView(table.name)));
        return q.next() ? QString::number(q.integer(0)) : QStringLiteral("-");
    }

    test::Recorder host;
    SettingsLogic logic{session, state, dialogs};
    test::OfficeChannel office{&session.root()};
    QByteArray config;
};

// Deleting all data, loading a new configuration, the automatic backup and a restore, one step a
// line of data/settings_steps.txt.
TEST(SettingsLogic, Steps)
{
    std::unique_ptr<SettingsDevice> d;
    for (const test::Case& c : test::readCases("workflow/data/settings_steps.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString action = c.text(0), arg = c.text(1);
        if (action == u"device")
            d = std::make_unique<SettingsDevice>();
        ASSERT_TRUE(d != nullptr) << "no device yet";
        // A query looks at what the step before it left.
        if (!action.endsWith(u'?'))
            d->dialogs.clear();
        test::answerNext(d->dialogs, c.text(2));
        SettingsStore& store = d->session.store();
        QString result;
        if (action == u"delete all") {
            result = test::truth(d->logic.deleteAll(d->host));
        } else if (action == u"reload") {
            result = test::truth(d->logic.reloadConfiguration(d->office, d->host));
        } else if (action == u"automatic") {
            result = test::truth(d->logic.setAutomaticBackup(arg == u"on"));
        } else if (action == u"restore") {
            d->state.tables = MasterTables{};
            d->state.currentList = arg.toInt();
            d->logic.afterRestore(d->host);
        } else if (action == u"mode") {
            store.writeInt(Setting::DueMode, 0, arg.toInt());
        } else if (action == u"file") {
            d->root.writeFile(arg.section(u' ', 0, 0), arg.section(u' ', 1).toUtf8());
        } else if (action == u"remove") {
            EXPECT_TRUE(d->session.root().removeFile(arg));
        } else if (action == u"hold") {
            d->office.held[arg.section(u' ', 0, 0)] = arg.section(u' ', 1).toUtf8();
        } else if (action == u"captions?") {
            for (const ScriptedDialogs::Message& m : d->dialogs.messages()) {
                if (m.kind == ScriptedDialogs::Kind::YesNo)
                    result += (result.isEmpty() ? "" : ";") + m.captions.join(u'/');
            }
        } else if (action == u"question?") {
            result = d->dialogs.asked().value(0);
        } else if (action == u"lists?" || action == u"structure?") {
            result = d->rows(action == u"lists?" ? schema::Kopfdaten : schema::Struktur);
        } else if (action == u"master rows?") {
            result = test::truth(d->rows(schema::Einstellungen).toInt() > 0);
        } else if (action == u"printer?" || action == u"automatic?") {
            result = QString::number(
                store.readInt(action == u"printer?" ? Setting::PrinterType : Setting::BackupAuto));
        } else if (action == u"receives?") {
            result = QString::number(d->office.receives);
        } else if (action == u"staged?") {
            const QByteArray staged = d->root.readFile(QStringLiteral("Brovant/passive.dtr"));
            result = staged == d->config ? QStringLiteral("demo") : QString::fromUtf8(staged);
        } else if (action == u"loaded?") {
            result = test::truth(d->session.configurationLoaded());
        } else if (action == u"species?") {
            result = d->state.tables.species[0];
        } else if (action == u"import?") {
            result = d->session.root().find(QStringLiteral("\\Import\\*.*")).join(u',');
        } else if (action == u"tables?") {
            result =
                test::truth(!d->state.tables.classes.empty() && !d->state.tables.tariffs.isEmpty());
        } else if (action == u"current?") {
            result = QString::number(d->state.currentList);
        } else if (action != u"device") {
            FAIL() << "unknown step " << str(action);
        }
        test::expectStep(c, result, d->dialogs.asked());
    }
}

TEST(SettingsLogic, ACardBackupGoesToTheDevicesCardFolder)
{
    // A card folder by device kind, one a line of data/card_folders.txt.
    for (const test::Case& c : test::readCases("workflow/data/card_folders.txt")) {
        SCOPED_TRACE(c.where().constData());
        const bool found = c.text(2) != u"-";
        test::TempRoot other;
        DeviceSession s(other.path(), Database::Durability::Relaxed);
        AppState st;
        st.getac = c.text(0) == u"getac";
        ScriptedDialogs dialogs;
        SettingsLogic l(s, st, dialogs);
        for (const QString& folder : c.text(1).split(u',', Qt::SkipEmptyParts))
            other.writeFile(folder + QStringLiteral("/x"), "");
        EXPECT_EQ(l.cardFolder(), found ? c.text(2) : QString());
        EXPECT_EQ(l.setCardBackup(true), found);
        EXPECT_EQ(s.store().readInt(Setting::BackupKarte), found ? 1 : 0);
        EXPECT_EQ(dialogs.asked().isEmpty(), found);
    }
}

// Where each page's fields live, written out by hand in data/configuration_fields.txt so a slip in
// the program's table shows.
struct Field {
    QString column, section, entry, defaultValue;
    int width;
};

std::vector<std::pair<ConfigPage, std::vector<Field>>> pages()
{
    const QStringList names = {"CompanyHeader", "Modem", "Ftp"};
    std::vector<std::pair<ConfigPage, std::vector<Field>>> out;
    for (const test::Case& c : test::readCases("workflow/data/configuration_fields.txt")) {
        const auto page = ConfigPage(names.indexOf(c.text(0)));
        if (out.empty() || out.back().first != page)
            out.push_back({page, {}});
        out.back().second.push_back(
            {c.text(1), c.text(2), c.text(3), c.text(4), c.text(5).toInt()});
    }
    return out;
}

// A value of its own for each field, with every umlaut, longer than its column; what it keeps.
QString sample(const Field& f, const char* tag)
{
    return tag + f.entry + u"äöüÄÖÜß"_s + QString(f.width, u'x');
}
QString kept(const Field& f, const char* tag)
{
    return sample(f, tag).left(f.width);
}
// What the row holds of a value shown: all of it, but nothing of the password, which the registry
// alone keeps.
QStringList inRow(const Field& f, const QString& shown)
{
    return {f.column == u"FTP_PASSWORD" ? QString() : shown};
}

// A device whose page logic works on the one configuration row.
struct ConfigDevice : test::TestDevice {
    std::unique_ptr<Dataset> row;
    std::unique_ptr<ConfigurationLogic> logic;

    ConfigDevice() { openPage(); }
    // A new program run on the same root: registry file and database read back from disk.
    void reopen()
    {
        logic.reset();
        row.reset();
        restartAfterCrash();
        openPage();
    }
    void openPage()
    {
        session->openDatabase();
        row = std::make_unique<Dataset>(session->database(), schema::Konfiguration);
        logic = std::make_unique<ConfigurationLogic>(session->store(), *row);
    }
    QString registry(const Field& f)
    {
        return profile().readString(f.section, f.entry, u"<absent>"_s);
    }
    // The column's value in every stored row, in stored order.
    QStringList stored(const QString& column)
    {
        return test::joinedRows(session->database(),
                                u"SELECT %1 FROM Brov_Konfiguration ORDER BY rowid"_s.arg(column));
    }
    void addRow(const QString& companyLine)
    {
        test::ListBuilder(session->database())
            .row(schema::Konfiguration, {{u"FIRMENKOPF1_A", companyLine}});
    }
};

TEST(ConfigurationPage, EmptyRegistryOpensWithDefaultsAndBrokenDatabaseWritesNothing)
{
    const auto layout = pages();
    for (const auto& [page, fields] : layout) {
        ConfigDevice device;
        ASSERT_TRUE(device.logic->open(page).ok());
        const auto expectDefaults = [&] {
            for (const Field& f : fields) {
                SCOPED_TRACE(f.column.toStdString());
                // Only the modem's initialisation string is written back when found empty.
                EXPECT_EQ(device.registry(f), f.column == "INIT_A" ? u"AT"_s : u"<absent>"_s);
            }
        };
        for (const Field& f : fields) {
            EXPECT_EQ(device.row->loadText(f.column), f.defaultValue);
            EXPECT_EQ(device.stored(f.column), inRow(f, f.defaultValue)) << f.column.toStdString();
        }
        expectDefaults();
        for (const Field& f : fields)
            device.row->setText(f.column, sample(f, "N"));
        device.session->database().close();
        const ConfigResult confirmed = device.logic->confirm(page);
        EXPECT_FALSE(confirmed.ok());
        EXPECT_FALSE(confirmed.error.isEmpty());
        EXPECT_FALSE(device.logic->open(page).ok());
        expectDefaults();
    }
    const Field& init = layout[0].second.back();
    for (const char* found : {"", "ATZ&F"}) {
        ConfigDevice device;
        device.profile().writeString(init.section, init.entry, found);
        ASSERT_TRUE(device.logic->open(ConfigPage::Modem).ok());
        EXPECT_EQ(device.row->loadText(u"INIT_A"), *found ? found : "AT");
        EXPECT_EQ(device.registry(init), *found ? found : "AT");
    }
}

// One device through all pages; each confirm leaves the other pages' values alone.
TEST(ConfigurationPage, OpenShowsTheRegistryAndConfirmWritesRowAndRegistry)
{
    const auto layout = pages();
    ConfigDevice device;
    device.addRow(u"alte Zeile"_s);
    device.addRow(u"zweite Zeile"_s);
    for (size_t p = 0; p < layout.size(); ++p) {
        const auto& [page, fields] = layout[p];
        for (const Field& f : fields)
            device.profile().writeString(f.section, f.entry, sample(f, "R"));
        ASSERT_TRUE(device.logic->open(page).ok());
        for (const Field& f : fields) {
            SCOPED_TRACE(f.column.toStdString());
            EXPECT_EQ(device.row->loadText(f.column), kept(f, "R"));
            EXPECT_EQ(device.stored(f.column), inRow(f, kept(f, "R")));
            device.row->setText(f.column, sample(f, "N"));
        }
        // A row that appeared meanwhile must not survive next to the confirmed one.
        device.addRow(u"fremd"_s);
        ASSERT_TRUE(device.logic->confirm(page).ok());
        device.reopen();
        for (size_t other = 0; other < layout.size(); ++other) {
            for (const Field& f : layout[other].second) {
                SCOPED_TRACE(f.column.toStdString());
                EXPECT_EQ(device.registry(f), other <= p ? kept(f, "N") : u"<absent>"_s);
                if (other <= p) {
                    EXPECT_EQ(device.stored(f.column), inRow(f, kept(f, "N")));
                }
            }
        }
        // The first row is the one kept.
        if (page != ConfigPage::CompanyHeader) {
            EXPECT_EQ(device.stored(u"FIRMENKOPF1_A"_s), QStringList{u"alte Zeile"_s});
        }
    }
}

} // namespace
} // namespace brovant
