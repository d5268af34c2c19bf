#include "ImportFixture.h"
#include "masterdata/MasterTables.h"
#include "support/CaseKinds.h"

#include <QFile>

#include <map>
#include <span>

namespace brovant::test {
namespace {

using namespace Qt::StringLiterals;
using Result = ConfigImport::Result;
const QString kHeader = u"TD0STAMM300.DAT"_s;
const QStringList kWrongStructure = {u"Falsche Struktur der Konfigura-|tion!|"_s};

using ConfigImportTest = ImportFixture;

TEST_F(ConfigImportTest, HeaderOnlyLoadsEmptyMasterDataAndAMissingFileChangesNothing)
{
    EXPECT_EQ(import(QStringList{kHeader}), Result::Loaded);
    EXPECT_EQ(store().readInt(Setting::KonfigLoaded), 1);
    EXPECT_EQ(store().readInt(Setting::Stufenanzahl), 0);
    EXPECT_TRUE(rows().isEmpty());
    EXPECT_TRUE(dialogs.asked().isEmpty());

    store().writeText(Setting::Holzart, 1, u"FI "_s);
    dialogs.clear();
    ASSERT_TRUE(QFile::remove(root.host(u"Brovant/passive.dtr"_s)));
    ConfigImport importer(session->root(), session->database(), store(), dialogs, nullptr);
    EXPECT_EQ(importer.run(), Result::NoFile);
    EXPECT_EQ(store().readInt(Setting::KonfigLoaded), 1);
    EXPECT_EQ(store().readText(Setting::Holzart, 1), u"FI "_s);
    EXPECT_TRUE(dialogs.messages().empty());
}

// Any other first line deletes the master data and says so; the user's settings survive.
TEST_F(ConfigImportTest, WrongFirstLineDeletesMasterDataOnly)
{
    QByteArrayList files{QByteArray()};
    for (const Case& c : readCases(u"masterdata/data/first_lines.txt"_s))
        files << c.fields[0];
    for (const QByteArray& bytes : files) {
        SCOPED_TRACE(bytes.toStdString());
        ASSERT_EQ(import(QStringList{kHeader, "a15FI ", "30E08 09  8"}), Result::Loaded);
        store().writeInt(Setting::PrinterType, 0, 2);
        dialogs.clear();
        EXPECT_EQ(import(bytes), Result::WrongStructure);
        EXPECT_EQ(store().readInt(Setting::KonfigLoaded), 0);
        EXPECT_TRUE(rows().isEmpty());
        EXPECT_FALSE(hasValue("HOLZART", "Holzart01"));
        EXPECT_EQ(store().readInt(Setting::PrinterType), 2);
        EXPECT_EQ(dialogs.asked(), kWrongStructure);
    }
    // A wrong identification further down keeps what was read before it.
    dialogs.clear();
    EXPECT_EQ(import(QStringList{kHeader, "30E08 09  8", "TD0STAMM300.DAT", "30E10 11 10",
                                 "TD0STAMM200.DAT", "30E12 13 12", "a15FI "}),
              Result::WrongStructure);
    EXPECT_EQ(store().readInt(Setting::KonfigLoaded), 0);
    EXPECT_EQ(rows(), (QStringList{"0|1|08|9|8||0||", "1|1|10|11|10||0||"}));
    EXPECT_FALSE(hasValue("HOLZART", "Holzart01"));
    EXPECT_EQ(dialogs.asked(), kWrongStructure);
}

// The records of data/master_rows.txt and their rows.
TEST_F(ConfigImportTest, RowsOfEveryKind)
{
    QStringList lines{kHeader}, expected;
    for (const Case& c : readCases(u"masterdata/data/master_rows.txt"_s)) {
        lines << c.text(0);
        expected << c.text(1);
    }
    ASSERT_EQ(import(lines), Result::Loaded);
    EXPECT_EQ(rows(true), expected);
    EXPECT_EQ(store().readInt(Setting::Stufenanzahl), 4);
    EXPECT_EQ(store().readInt(Setting::KonfigLoaded), 1);
}

// The cases of data/tariff_volumes.txt, each record read afresh.
TEST_F(ConfigImportTest, TariffVolumes)
{
    const QList<Case> cases = readCases(u"masterdata/data/tariff_volumes.txt"_s);
    QStringList lines{kHeader};
    for (const Case& c : cases)
        lines << u"40FT000108"_s + c.text(0);
    ASSERT_EQ(import(lines), Result::Loaded);
    const QStringList stored = rows();
    ASSERT_EQ(stored.size(), cases.size());
    for (qsizetype i = 0; i < cases.size(); ++i)
        EXPECT_EQ(stored[i].section(u'|', 6, 6), cases[i].text(1)) << cases[i].where().constData();
}

// The records of data/settings_records.txt and the entries they fill.
TEST_F(ConfigImportTest, SettingsRecordsFillTheirNumberedEntries)
{
    const std::map<QByteArray, Setting> settings = {
        {"KopfLabel", Setting::KopfLabel},  {"NaKurz", Setting::NaKurz},
        {"NaLang", Setting::NaLang},        {"KalKurz", Setting::KalKurz},
        {"Holzart", Setting::Holzart},      {"Sorte", Setting::Sorte},
        {"Firmenkopf", Setting::Firmenkopf}};
    const QString cases = u"masterdata/data/settings_records.txt"_s;
    QStringList lines{kHeader};
    for (const Case& c : casesOf(cases, "record"))
        lines << c.text(1);
    ASSERT_EQ(import(lines), Result::Loaded);
    for (const Case& c : casesOf(cases, "entry"))
        EXPECT_EQ(store().readText(settings.at(c.fields[1]), c.text(2).toInt()), c.text(3))
            << c.where().constData();
    // The fifth label's flag is the first free field's; the first four belong to none.
    EXPECT_EQ(std::tuple(store().readInt(Setting::Plausi, 1), store().readInt(Setting::Plausi, 2),
                         store().readInt(Setting::Plausi, 3)),
              std::tuple(1, 0, 0));
    EXPECT_FALSE(hasValue("HDL_KOPF", "PLAUSI00"));
    EXPECT_FALSE(hasValue("HDL_KOPF", "PLAUSI-3"));
    // Entries count up per field and restart at 1 on another, so a field coming back overwrites.
    EXPECT_EQ(QStringList({store().choice(3, 1), store().choice(3, 2), store().choice(5, 1)}),
              QStringList({u"Vierte"_s.leftJustified(40), u"Zweite"_s.leftJustified(40),
                           u"Dritte"_s.leftJustified(40)}));
    EXPECT_TRUE(store().choice(5, 2).isEmpty());
}

// CR LF, LF only, a missing last line end, and lines longer than the limit read alike.
TEST_F(ConfigImportTest, LineEndsAndLongLines)
{
    const QStringList lines{kHeader, "30E08 09  8", "a15FI " + QString(1200, u'x'),
                            "40FFI01 08  0.450"};
    QByteArray noFinalEnd = file(lines, "\n");
    noFinalEnd.chop(1);
    for (const QByteArray& bytes : {file(lines, "\r\n"), file(lines, "\n"), noFinalEnd}) {
        ASSERT_EQ(import(bytes), Result::Loaded);
        EXPECT_EQ(rows(), (QStringList{"0|1|08|9|8||0||", "1|2|08|0|0|FI01 |45||"}));
        EXPECT_EQ(store().readText(Setting::Holzart, 1), u"FI "_s);
        EXPECT_FALSE(hasValue("HOLZART", "Holzart02"));
    }
}

TEST_F(ConfigImportTest, ReimportReplacesTheOldMasterDataCompletely)
{
    ASSERT_EQ(import(QStringList{kHeader, "a15FI ", "a15TA ", "51001Alt", "30E08 09  8"}),
              Result::Loaded);
    ASSERT_EQ(import(QStringList{kHeader, "a15KI ", "30E10 11 10"}), Result::Loaded);
    EXPECT_EQ(store().readText(Setting::Holzart, 1), u"KI "_s);
    EXPECT_TRUE(store().readText(Setting::Holzart, 2).isEmpty());
    EXPECT_TRUE(store().choice(1, 1).isEmpty());
    EXPECT_EQ(rows(), QStringList{"0|1|10|11|10||0||"});
}

TEST_F(ConfigImportTest, ProgressEveryThirtyLinesAndKeepAwakeRestored)
{
    const QString key = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString value = QString::fromUtf16(KeepAwake::kValue);
    session->registry().setDword(Hive::LocalMachine, key, value, 180);
    session->keepAwake().readSaved();
    QStringList lines{kHeader};
    for (int i = 0; i < 95; ++i)
        lines << u"40FT%108  0.450"_s.arg(i, 4, 10, QChar(u'0'));
    ASSERT_EQ(import(lines), Result::Loaded);
    // 0 at the start, after lines 30, 60 and 90, and the reset at the end.
    const std::vector<double> progress = dialogs.progressValues();
    ASSERT_EQ(progress.size(), 5u);
    EXPECT_TRUE(progress[0] == 0 && progress[1] < progress[2] && progress[2] < progress[3]);
    const double line = lines.last().size() + 2;
    EXPECT_NEAR(progress[3], 100.0 * (90 * line) / (17 + 95 * line), 0.01);
    EXPECT_EQ(progress.back(), 0);
    EXPECT_EQ(dialogs.messages().front().lines.front(), u"Konfiguration wird eingelesen..."_s);
    EXPECT_EQ(session->registry().dword(Hive::LocalMachine, key, value), 180u);
}

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

// Loading reads only: nothing is written to an empty registry, no species or code appears. Then
// what is stored replaces the defaults.
TEST_F(SettingsTest, EmptyRegistryWritesNothingStoredValuesReplaceDefaults)
{
    MasterTables t = loadSettings(store(), session->database(), &dialogs, nullptr);
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

    // Stored values replace the defaults.
    SettingsStore& s = store();
    s.writeInt(Setting::PrinterType, 0, 2);
    s.writeInt(Setting::PrinterSeitenlaenge, 2, 80);
    s.writeInt(Setting::PrinterFrage, 2, 1);
    s.writeInt(Setting::PrinterFrage, 3, 1);
    s.writeInt(Setting::PrinterPort, 0, 0x1FF);
    const std::tuple<Setting, int, const char*> stored[] = {
        {Setting::Holzart, 1, "FI "},      {Setting::Holzart, 2, "TA "},
        {Setting::HauptHolzart, 2, "KI "}, {Setting::Holzart, 13, "ES "},
        {Setting::NaKurz, 12, "XY"},       {Setting::Sorte, 5, "BR"}};
    for (const auto& [id, index, text] : stored)
        s.writeText(id, index, text);
    t = loadSettings(s, session->database(), nullptr, nullptr);
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
