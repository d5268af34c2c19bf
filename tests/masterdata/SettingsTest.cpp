#include "ImportFixture.h"

#include "masterdata/MasterTables.h"

#include <span>

namespace brovant::test {
namespace {

using namespace Qt::StringLiterals;
using SettingsTest = ImportFixture;

// The sections the configuration owns: a new configuration clears them (the names themselves are
// the registry's as the import and the tool show it: ConfigImportTest, ToolTest).
TEST(SettingsLayout, MasterDataSections)
{
    const QStringList sections = SettingsStore::masterDataSections(true);
    EXPECT_EQ(sections.size(), 22);
    for (const char* s : {"ALLG", "HDL_KOPF", "HOLZART", "KAL", "KOPF01", "KOPF16", "NA", "KONFIG"})
        EXPECT_TRUE(sections.contains(QLatin1StringView(s))) << s;
    EXPECT_FALSE(SettingsStore::masterDataSections(false).contains(u"KONFIG"_s));
    EXPECT_FALSE(sections.contains(u"HA_HAUPT"_s));
}

// Loading reads only: nothing is written to an empty registry, no species or code appears.
TEST_F(SettingsTest, EmptyRegistryWritesNothing)
{
    const MasterTables t = loadSettings(store(), session->database(), &dialogs, nullptr);
    QString texts;
    for (const auto& list :
         {std::span<const QString>(t.species), std::span<const QString>(t.mainSpecies),
          std::span<const QString>(t.naLong), std::span<const QString>(t.naShort),
          std::span<const QString>(t.kalLong), std::span<const QString>(t.kalShort)})
        texts += QStringList(list.begin(), list.end()).join(QString());
    EXPECT_EQ(texts, QString());
    EXPECT_TRUE(t.tariffs.isEmpty());
    EXPECT_FALSE(
        session->registry().keyExists(Hive::CurrentUser, QString::fromUtf16(Profile::kAppKey)));
    ASSERT_FALSE(dialogs.messages().empty());
    EXPECT_EQ(dialogs.messages().front().lines.front(), u"Konfiguration wird initialisiert..."_s);
    EXPECT_EQ(dialogs.progressValues(), (std::vector<double>{10, 20}));
}

TEST_F(SettingsTest, StoredValuesReplaceDefaults)
{
    SettingsStore& s = store();
    s.writeInt(Setting::PrinterType, 0, 2);
    s.writeInt(Setting::PrinterSeitenlaenge, 2, 80);
    s.writeInt(Setting::PrinterFrage, 2, 1);
    s.writeInt(Setting::PrinterFrage, 3, 1);
    s.writeInt(Setting::PrinterPort, 0, 0x1FF);
    const std::tuple<Setting, int, const char*> texts[] = {
        {Setting::Holzart, 1, "FI "},      {Setting::Holzart, 2, "TA "},
        {Setting::HauptHolzart, 2, "KI "}, {Setting::Holzart, 13, "ES "},
        {Setting::NaKurz, 12, "XY"},       {Setting::Sorte, 5, "BR"}};
    for (const auto& [id, index, text] : texts)
        s.writeText(id, index, text);
    const MasterTables t = loadSettings(s, session->database(), nullptr, nullptr);
    EXPECT_EQ(std::tuple(t.pageLength[2], t.pageLength[1], t.activeAskBeforePrinting,
                         t.askBeforePrinting[3]),
              std::tuple(80, 72, 1, 1));
    EXPECT_EQ(t.printerPort, 0xFF); // kept as one byte
    // A main species never set shows the species of the same number.
    EXPECT_EQ(QStringList(
                  {t.mainSpecies[0], t.mainSpecies[1], t.species[12], t.naShort[11], t.sorten[5]}),
              QStringList({"FI ", "KI ", "ES ", "XY", "BR"}));
    EXPECT_EQ(t.speciesIndex(u"TA 12"_s), 1);
    EXPECT_EQ(t.speciesIndex(u"BU "_s), -1);
}

// A volume row's tariff enters the table when it differs from the previous volume row's.
TEST_F(SettingsTest, TariffTableFromVolumeRows)
{
    ASSERT_EQ(import(QStringList{"TD0STAMM300.DAT", "40FFI01 08  0.450", "40FFI01 10  0.550",
                                 "712WR01    FI KI01 ", "40FKI01 08  0.400", "40FFI01 12  0.700",
                                 "40FFI01 14  0.800"}),
              ConfigImport::Result::Loaded);
    MasterTables t = loadSettings(store(), session->database(), nullptr, nullptr);
    EXPECT_EQ(t.tariffs, (QStringList{"FI01 ", "KI01 ", "FI01 "}));
    EXPECT_TRUE(t.hasTariff(u"KI01 "_s));
    EXPECT_FALSE(t.hasTariff(u"KI01"_s));

    QStringList lines{"TD0STAMM300.DAT"};
    for (int i = 0; i < 250; ++i)
        lines << u"40FT%108  0.450"_s.arg(i, 4, 10, QChar(u'0'));
    ASSERT_EQ(import(lines), ConfigImport::Result::Loaded);
    t = loadSettings(store(), session->database(), nullptr, nullptr);
    ASSERT_EQ(t.tariffs.size(), MasterTables::kMaxTariffs);
    EXPECT_EQ(t.tariffs.last(), u"T0199"_s);
}

// Volume rows written out of ID order (an office tool, not the import): the table follows the IDs,
// NULL IDs first, table order among equal IDs; codes outside ASCII keep their five characters.
TEST_F(SettingsTest, TariffTableFollowsTheIdsOfTheVolumeRows)
{
    struct Row {
        std::optional<std::int64_t> id;
        const char* tariff;
    };
    const Row rows[] = {{30, "C"}, {10, "A"}, {20, "B"}, {10, "A2"}, {std::nullopt, "ÖKO1"},
                        {20, "B"}};
    for (const Row& r : rows) {
        auto q = session->database().query(u"INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, "
                                           "DMSTUFE, KUBATUR) VALUES (?, ?, ?, '08', 45)"_s);
        q.bind(1, r.id ? FieldValue(*r.id) : FieldValue(std::monostate{}))
            .bind(2, std::int64_t(schema::TariffVolumeRow))
            .bind(3, QString::fromUtf8(r.tariff));
        ASSERT_TRUE(q.run());
    }
    const MasterTables t = loadSettings(store(), session->database(), nullptr, nullptr);
    EXPECT_EQ(t.tariffs, (QStringList{u"ÖKO1 "_s, "A    ", "A2   ", "B    ", "C    "}));
    EXPECT_EQ(t.volumes.find(u"ÖKO1"_s, u"08"_s), 45);
}

// The index against the plainest model of it: the first volume added for a key wins, whatever the
// order, the padding or the characters of the codes.
TEST(VolumeIndex, AgreesWithFirstAddedWins)
{
    const QString tariffs[] = {u"FI01"_s, u"FI01 "_s, u"KI"_s, u"ÄZ7"_s, u"LONGER"_s, u""_s};
    const QString classes[] = {u"08"_s, u"8"_s, u"10"_s, u"10x"_s, u"ü1"_s};
    const auto padded = [](const QString& text, int width) {
        return text.left(width).leftJustified(width, u' ');
    };
    for (const bool sorted : {false, true}) {
        std::vector<std::pair<QString, QString>> adds;
        for (int round = 0; round < 3; ++round)
            for (const QString& tariff : tariffs)
                for (const QString& diameterClass : classes)
                    adds.emplace_back(tariff, diameterClass);
        if (!sorted)
            std::reverse(adds.begin() + 10, adds.end());
        VolumeIndex index;
        QHash<QString, int> model;
        for (size_t i = 0; i < adds.size(); ++i) {
            const auto& [tariff, diameterClass] = adds[i];
            if (i % 2 == 0)
                index.add(tariff, diameterClass, int(i));
            else
                index.addUtf8(tariff.toUtf8().toStdString(), diameterClass.toUtf8().toStdString(),
                              int(i));
            const QString key = padded(tariff, 5) + padded(diameterClass, 2);
            if (!model.contains(key))
                model.insert(key, int(i));
        }
        index.finish();
        EXPECT_EQ(index.size(), size_t(model.size()));
        for (const auto& [tariff, diameterClass] : adds)
            EXPECT_EQ(index.find(tariff, diameterClass),
                      model.value(padded(tariff, 5) + padded(diameterClass, 2)))
                << sorted << ' ' << tariff.toStdString() << '/' << diameterClass.toStdString();
        EXPECT_EQ(index.find(u"FI02"_s, u"08"_s), std::nullopt);
    }
}

} // namespace
} // namespace brovant::test
