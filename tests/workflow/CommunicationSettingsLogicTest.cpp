#include "AppLogicFixture.h"

#include "workflow/CableSettingsLogic.h"
#include "workflow/CommunicationSettingsLogic.h"

#include <functional>
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

// Stored values the screen has no choice for show as their defaults; confirming stores what the
// screen showed, and values it can show come back unchanged.
TEST(CommunicationSettings, StoredValuesOutsideTheChoicesShowAsDefaults)
{
    const struct {
        const char* section;
        const char* entry;
        int stored;
        std::function<int(const CommunicationSettings&)> shown;
        int expected;
        bool rewritten;
    } cases[] = {
        {"DUE", "DueMode", 7, [](auto& s) { return s.mode; }, 1, true},
        {"DUE", "DueMode", 3, [](auto& s) { return s.mode; }, 3, false},
        {"MODEM", "Selected", 0, [](auto& s) { return s.modemEntry; }, 1, true},
        {"MODEM", "Selected", 4, [](auto& s) { return s.modemEntry; }, 4, false},
        {"Kluppe", "Aktiv", 2, [](auto& s) { return int(s.caliperActive); }, 1, false},
        {"Kluppe", "Port", 12, [](auto& s) { return s.caliperPort; }, 1, true},
        {"Kluppe", "Port", 9, [](auto& s) { return s.caliperPort; }, 9, false},
        {"Kluppe", "Format", 5, [](auto& s) { return s.caliperFormat; }, 0, true},
        {"Printer", "Type", 6, [](auto& s) { return s.printerType; }, 5, true},
        {"Printer", "Type", 0, [](auto& s) { return s.printerType; }, 0, false},
        {"Printer", "Port", 0, [](auto& s) { return s.printerPort; }, 7, true},
        {"Printer", "Baudrate", 14400, [](auto& s) { return s.printerBaudrate; }, 19200, true},
        {"Printer", "Baudrate", 115200, [](auto& s) { return s.printerBaudrate; }, 115200, false},
        {"Printer", "Seitenlaenge2", 5, [](auto& s) { return s.pageLength[2]; }, 68, true},
        {"Printer", "Seitenlaenge1", 60, [](auto& s) { return s.pageLength[1]; }, 60, false},
        {"Printer", "Frage4", 3, [](auto& s) { return int(s.askBeforePrinting[4]); }, 1, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.section) + "/" + c.entry + "=" + std::to_string(c.stored));
        Device d;
        d.write(c.section, c.entry, c.stored);
        const CommunicationSettings s = d.communication.read();
        EXPECT_EQ(c.shown(s), c.expected);
        EXPECT_EQ(d.communication.confirm(s), c.rewritten ? 1 : 0);
        const int after =
            d.profile().readInt(QString::fromLatin1(c.section), QString::fromLatin1(c.entry), -1);
        EXPECT_EQ(after, c.rewritten ? c.expected : c.stored);
    }
}

TEST(CableSettings, TheListsShowTheStoredEntriesOrTheirDefaults)
{
    const struct {
        std::optional<int> port, baudrate, wordlength, stopbits;
        CableEntries shown;
    } cases[] = {
        {{}, {}, {}, {}, {9, 5, 1, 0}},
        {1, 0, 0, 1, {0, 0, 0, 1}},
        {9, 7, 1, 0, {8, 7, 1, 0}},
        {10, 3, 0, 1, {9, 3, 0, 1}},
        // Values outside the lists: the port as ActiveSync, the rest as their defaults.
        {0, 8, 2, 2, {9, 5, 1, 0}},
        {11, -1, -1, -1, {9, 5, 1, 0}},
    };
    for (const auto& c : cases) {
        Device d;
        const char* names[] = {"Port", "Baudrate", "Wordlength", "Stopbits"};
        const std::optional<int> stored[] = {c.port, c.baudrate, c.wordlength, c.stopbits};
        QString trace;
        for (size_t i = 0; i < std::size(names); ++i) {
            if (stored[i]) {
                d.write("DUE", names[i], *stored[i]);
                trace += QStringLiteral("%1=%2 ").arg(names[i]).arg(*stored[i]);
            }
        }
        SCOPED_TRACE(str(trace));
        EXPECT_EQ(d.cable.read(), c.shown);
        EXPECT_EQ(d.values().size(), trace.count(u'='));
    }
}

// The port entry is the port number minus 1; only ActiveSync switches AutoCnct on, and the four
// DUE values are stored whatever changed.
TEST(CableSettings, ConfirmStoresPortAndLineAndSwitchesActiveSyncOn)
{
    const struct {
        CableEntries chosen;
        std::optional<quint32> autoBefore, autoAfter;
    } cases[] = {
        {{0, 0, 0, 0}, {}, {}}, {{0, 0, 0, 0}, 0u, 0u}, {{4, 7, 1, 1}, 0u, 0u},
        {{8, 5, 1, 0}, {}, {}}, {{9, 5, 1, 0}, {}, 1u}, {{9, 2, 0, 1}, 0u, 1u},
        {{9, 5, 1, 0}, 1u, 1u},
    };
    for (const auto& c : cases) {
        const CableEntries& s = c.chosen;
        SCOPED_TRACE(QStringLiteral("entry %1, AutoCnct before %2")
                         .arg(s.portEntry)
                         .arg(c.autoBefore ? int(*c.autoBefore) : -1)
                         .toStdString());
        Device d;
        if (c.autoBefore)
            d.registry().setDword(Hive::CurrentUser, kComm, u"AutoCnct"_s, *c.autoBefore);
        EXPECT_EQ(CableSettingsLogic::serialFieldsShown(s.portEntry), s.portEntry != 9);
        d.cable.confirm(s);
        EXPECT_EQ(d.values(), (QStringList{QStringLiteral("DUE/Baudrate=%1").arg(s.baudrate),
                                           QStringLiteral("DUE/Port=%1").arg(s.portEntry + 1),
                                           QStringLiteral("DUE/Stopbits=%1").arg(s.stopbits),
                                           QStringLiteral("DUE/Wordlength=%1").arg(s.wordlength)}));
        EXPECT_EQ(d.autoConnect(), c.autoAfter);
        EXPECT_EQ(d.tables.duePort, s.portEntry + 1);
        EXPECT_EQ(d.cable.read(), s);
    }
}

TEST(CableSettings, ListsAndTheLineShownOnTheCommunicationScreen)
{
    EXPECT_EQ(CableSettingsLogic::portEntries().join(u' '),
              u"COM1 COM2 COM3 COM4 COM5 COM6 COM7 COM8 COM9 ActiveSync"_s);
    const struct {
        CableEntries settings;
        const char* line;
    } lines[] = {
        {{9, 5, 1, 0}, "ActiveSync"},
        {{0, 5, 1, 0}, "COM1, 38400 Bd, 8 Bit, 1 Stopbit"},
        {{8, 0, 0, 1}, "COM9, 1200 Bd, 7 Bit, 2 Stopbits"},
        {{3, 7, 1, 1}, "COM4, 115200 Bd, 8 Bit, 2 Stopbits"},
    };
    for (const auto& l : lines)
        EXPECT_EQ(str(CableSettingsLogic::describe(l.settings)), l.line);
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
    const struct {
        const char* current;
        const char* offered;
    } cases[] = {
        {"\\My Documents", "\\Brovant \\Export \\Import \\My Documents \\Storage Card"},
        {"\\Druck", "\\Brovant \\Druck \\Export \\Import \\My Documents \\Storage Card"},
        // The stored spelling stays; the folder is not offered twice.
        {"\\storage card", "\\Brovant \\Export \\Import \\My Documents \\storage card"},
    };
    for (const auto& c : cases) {
        const QStringList offered = CommunicationSettingsLogic::printFolders(
            d.session->root(), QString::fromUtf8(c.current));
        EXPECT_EQ(str(offered.join(u' ')), c.offered) << c.current;
    }
}

} // namespace
} // namespace brovant
