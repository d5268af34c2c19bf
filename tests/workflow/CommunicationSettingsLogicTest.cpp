#include "AppLogicFixture.h"

#include "workflow/CableSettingsLogic.h"
#include "workflow/CommunicationSettingsLogic.h"

#include <functional>
#include <map>
#include <optional>

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

} // namespace
} // namespace brovant
