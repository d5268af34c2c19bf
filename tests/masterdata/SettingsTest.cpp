#include "ImportFixture.h"

#include "masterdata/MasterTables.h"

namespace brovant::test {
namespace {

using SettingsTest = ImportFixture;

TEST(SettingsLayout, TableFollowsTheEnumAndNamesExpand)
{
    const auto layout = SettingsStore::layout();
    for (size_t i = 0; i < layout.size(); ++i)
        EXPECT_EQ(static_cast<size_t>(layout[i].id), i) << layout[i].entry;

    struct Case {
        Setting id;
        int sectionIndex;
        int index;
        const char* section;
        const char* entry;
    };
    const Case cases[] = {
        {Setting::KopfLabel, 0, 0, "HDL_KOPF", "KOPF00"},
        {Setting::KopfLabel, 0, 19, "HDL_KOPF", "KOPF19"},
        {Setting::Plausi, 0, 16, "HDL_KOPF", "PLAUSI16"},
        {Setting::Auswahl, 3, 12, "KOPF03", "AUSWAHL12"},
        {Setting::Holzart, 0, 60, "HOLZART", "Holzart60"},
        {Setting::HauptHolzart, 0, 1, "HA_HAUPT", "Holzart01"},
        {Setting::NaLang, 0, 2, "NA", "NA_Lang02"},
        {Setting::KalKurz, 0, 12, "KAL", "KAL_Kurz12"},
        {Setting::Firmenkopf, 0, 5, "FIRMENKOPF", "5"},
        {Setting::ModemNumber, 0, 4, "MODEM", "Number4"},
        {Setting::PrinterSeitenlaenge, 0, 3, "Printer", "Seitenlaenge3"},
        {Setting::PrinterFrage, 0, 0, "Printer", "Frage0"},
        {Setting::FieldSoftwareFrage, 0, 0, "Printer", "m_bFieldSoftwarePrinterFrage"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(SettingsStore::sectionName(c.id, c.sectionIndex), QLatin1StringView(c.section));
        EXPECT_EQ(SettingsStore::entryName(c.id, c.index), QLatin1StringView(c.entry));
    }
}

TEST(SettingsLayout, MasterDataSections)
{
    const QStringList sections = SettingsStore::masterDataSections(true);
    EXPECT_EQ(sections.size(), 22);
    for (const char* s : {"ALLG", "HDL_KOPF", "HOLZART", "KAL", "KOPF01", "KOPF16", "NA", "KONFIG"})
        EXPECT_TRUE(sections.contains(QLatin1StringView(s))) << s;
    EXPECT_FALSE(SettingsStore::masterDataSections(false).contains(QStringLiteral("KONFIG")));
    EXPECT_FALSE(sections.contains(QStringLiteral("HA_HAUPT")));
}

TEST_F(SettingsTest, EmptyRegistryGivesTheDefaults)
{
    const MasterTables t = loadSettings(session->store(), session->database(), &dialogs, nullptr);
    EXPECT_EQ(t.printerType, 5);
    EXPECT_EQ(t.printerPort, 7);
    EXPECT_EQ(t.printerBaudrate, 19200);
    EXPECT_EQ(t.printerPath, QStringLiteral("\\My Documents"));
    EXPECT_EQ(t.caliperActive, 0);
    EXPECT_EQ(t.caliperPort, 1);
    EXPECT_EQ(t.duePort, 10);
    EXPECT_EQ(t.dueMode, 1);
    EXPECT_EQ(t.pageLength, (std::array<int, 6>{68, 72, 68, 67, 68, 65}));
    EXPECT_EQ(t.fieldSoftwarePrinterType, 22);
    EXPECT_EQ(t.fieldSoftwareComPort, 3);
    EXPECT_EQ(t.fieldSoftwarePageLength, 72);
    for (const QString& s : t.species)
        EXPECT_TRUE(s.isEmpty());
    for (const QString& s : t.mainSpecies)
        EXPECT_TRUE(s.isEmpty());
    for (size_t i = 0; i < MasterTables::kCodes; ++i)
        EXPECT_TRUE(t.naLong[i].isEmpty() && t.naShort[i].isEmpty() && t.kalLong[i].isEmpty()
                    && t.kalShort[i].isEmpty());
    EXPECT_TRUE(t.tariffs.isEmpty());
    // Reading writes nothing.
    EXPECT_FALSE(
        session->registry().keyExists(Hive::CurrentUser, QString::fromUtf16(Profile::kAppKey)));
    ASSERT_FALSE(dialogs.messages().empty());
    EXPECT_EQ(dialogs.messages().front().lines.front(),
              QStringLiteral("Konfiguration wird initialisiert..."));
    EXPECT_EQ(dialogs.progressValues(), (std::vector<double>{10, 20}));
}

TEST_F(SettingsTest, StoredValuesReplaceDefaults)
{
    SettingsStore& s = session->store();
    s.writeInt(Setting::PrinterType, 0, 2);
    s.writeInt(Setting::PrinterSeitenlaenge, 2, 80);
    s.writeInt(Setting::PrinterFrage, 2, 1);
    s.writeInt(Setting::PrinterFrage, 3, 1);
    s.writeInt(Setting::PrinterPort, 0, 0x1FF);
    s.writeText(Setting::Holzart, 1, QStringLiteral("FI "));
    s.writeText(Setting::Holzart, 2, QStringLiteral("TA "));
    s.writeText(Setting::HauptHolzart, 2, QStringLiteral("KI "));
    s.writeText(Setting::Holzart, 13, QStringLiteral("ES "));
    s.writeText(Setting::NaKurz, 12, QStringLiteral("XY"));
    s.writeText(Setting::Sorte, 5, QStringLiteral("BR"));
    const MasterTables t = loadSettings(s, session->database(), nullptr, nullptr);
    EXPECT_EQ(t.pageLength[2], 80);
    EXPECT_EQ(t.pageLength[1], 72);
    EXPECT_EQ(t.activeAskBeforePrinting, 1);
    EXPECT_EQ(t.askBeforePrinting[3], 1);
    EXPECT_EQ(t.printerPort, 0xFF); // kept as one byte
    // A main species never set shows the species of the same number.
    EXPECT_EQ(t.mainSpecies[0], QStringLiteral("FI "));
    EXPECT_EQ(t.mainSpecies[1], QStringLiteral("KI "));
    EXPECT_EQ(t.species[12], QStringLiteral("ES "));
    EXPECT_EQ(t.naShort[11], QStringLiteral("XY"));
    EXPECT_EQ(t.sorten[5], QStringLiteral("BR"));
    EXPECT_EQ(t.speciesIndex(QStringLiteral("TA 12")), 1);
    EXPECT_EQ(t.speciesIndex(QStringLiteral("BU ")), -1);
}

// The tariff table takes each volume row's tariff when it differs from the previous volume row's.
TEST_F(SettingsTest, TariffTableFromVolumeRows)
{
    ASSERT_EQ(
        import(file({QStringLiteral("TD0STAMM300.DAT"), QStringLiteral("40FFI01 08  0.450"),
                     QStringLiteral("40FFI01 10  0.550"), QStringLiteral("712WR01    FI KI01 "),
                     QStringLiteral("40FKI01 08  0.400"), QStringLiteral("40FFI01 12  0.700"),
                     QStringLiteral("40FFI01 14  0.800")})),
        ConfigImport::Result::Loaded);
    const MasterTables t = loadSettings(session->store(), session->database(), nullptr, nullptr);
    EXPECT_EQ(t.tariffs, (QStringList{"FI01 ", "KI01 ", "FI01 "}));
    EXPECT_TRUE(t.hasTariff(QStringLiteral("KI01 ")));
    EXPECT_FALSE(t.hasTariff(QStringLiteral("KI01")));
}

TEST_F(SettingsTest, TariffTableStopsAtTwoHundred)
{
    QStringList lines{QStringLiteral("TD0STAMM300.DAT")};
    for (int i = 0; i < 250; ++i)
        lines << QStringLiteral("40FT%108  0.450").arg(i, 4, 10, QChar(u'0'));
    ASSERT_EQ(import(file(lines)), ConfigImport::Result::Loaded);
    const MasterTables t = loadSettings(session->store(), session->database(), nullptr, nullptr);
    ASSERT_EQ(t.tariffs.size(), MasterTables::kMaxTariffs);
    EXPECT_EQ(t.tariffs.last(), QStringLiteral("T0199"));
}

} // namespace
} // namespace brovant::test
