#include "ImportFixture.h"
#include "support/CaseKinds.h"

#include <QFile>

#include <map>

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

TEST_F(ConfigImportTest, SampleConfigurationImportsCleanly)
{
    QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));
    ASSERT_EQ(import(sample.readAll()), Result::Loaded);
    EXPECT_GE(store().readInt(Setting::Stufenanzahl), 20);
    EXPECT_EQ(store().readText(Setting::KopfLabel, 0).size(), 20);
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

} // namespace
} // namespace brovant::test
