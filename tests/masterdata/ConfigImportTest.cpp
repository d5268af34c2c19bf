#include "ImportFixture.h"

#include "data/Dataset.h"
#include "data/Schema.h"

#include <QFile>

namespace brovant::test {
namespace {

const QString kHeader = QStringLiteral("TD0STAMM300.DAT");

using ConfigImportTest = ImportFixture;

TEST_F(ConfigImportTest, HeaderOnlyLoadsEmptyMasterData)
{
    EXPECT_EQ(import(file({kHeader})), ConfigImport::Result::Loaded);
    EXPECT_EQ(loaded(), 1);
    EXPECT_EQ(session->store().readInt(Setting::Stufenanzahl), 0);
    EXPECT_TRUE(rows().isEmpty());
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

TEST_F(ConfigImportTest, MissingFileChangesNothingAndSaysNothing)
{
    session->store().writeInt(Setting::KonfigLoaded, 0, 1);
    session->store().writeText(Setting::Holzart, 1, QStringLiteral("FI "));
    ConfigImport importer(session->root(), session->database(), session->store(), dialogs, nullptr);
    EXPECT_EQ(importer.run(), ConfigImport::Result::NoFile);
    EXPECT_EQ(loaded(), 1);
    EXPECT_EQ(session->store().readText(Setting::Holzart, 1), QStringLiteral("FI "));
    EXPECT_TRUE(dialogs.messages().empty());
}

// Any first line other than the exact identification deletes the master data and says so;
// settings the user made survive.
TEST_F(ConfigImportTest, WrongFirstLineDeletesMasterDataOnly)
{
    const QByteArray bad[] = {
        QByteArray(),
        "\r\n",
        "TD0STAMM300.DA\r\n",
        "TD0STAMM301.DAT\r\n",
        "td0STAMM300.DAT\r\n",
        "XD0STAMM300.DAT\r\n",
        "TD0STAMM300XDAT\r\n",
        " TD0STAMM300.DAT\r\n",
        "a15FI \r\nTD0STAMM300.DAT\r\n",
        QByteArray("TD0STAMM300.DA\0T\r\n", 18),
    };
    for (const QByteArray& bytes : bad) {
        SCOPED_TRACE(bytes.toStdString());
        ASSERT_EQ(import(file({kHeader, QStringLiteral("a15FI "), QStringLiteral("30E08 09  8")})),
                  ConfigImport::Result::Loaded);
        session->store().writeInt(Setting::PrinterType, 0, 2);
        dialogs.clear();

        EXPECT_EQ(import(bytes), ConfigImport::Result::WrongStructure);
        EXPECT_EQ(loaded(), 0);
        EXPECT_TRUE(rows().isEmpty());
        EXPECT_FALSE(
            session->profile().hasValue(QStringLiteral("HOLZART"), QStringLiteral("Holzart01")));
        EXPECT_EQ(session->store().readInt(Setting::PrinterType), 2);
        EXPECT_EQ(dialogs.asked(),
                  QStringList{QStringLiteral("Falsche Struktur der Konfigura-|tion!|")});
    }
}

TEST_F(ConfigImportTest, LaterBadHeaderKeepsWhatWasRead)
{
    const auto result =
        import(file({kHeader, QStringLiteral("30E08 09  8"), QStringLiteral("TD0STAMM300.DAT"),
                     QStringLiteral("30E10 11 10"), QStringLiteral("TD0STAMM200.DAT"),
                     QStringLiteral("30E12 13 12"), QStringLiteral("a15FI ")}));
    EXPECT_EQ(result, ConfigImport::Result::WrongStructure);
    EXPECT_EQ(loaded(), 0);
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("0|1|08|9|8||0||"),
                                   QStringLiteral("1|1|10|11|10||0||")}));
    EXPECT_FALSE(
        session->profile().hasValue(QStringLiteral("HOLZART"), QStringLiteral("Holzart01")));
    EXPECT_EQ(dialogs.asked(),
              QStringList{QStringLiteral("Falsche Struktur der Konfigura-|tion!|")});
}

// Rows of all four kinds share one running number in file order and fill exactly their fields.
TEST_F(ConfigImportTest, RowsOfEveryKind)
{
    ASSERT_EQ(import(file({
                  kHeader,
                  QStringLiteral("30E08 09  8"),
                  QStringLiteral("40FFI01 08  0.450"),
                  QStringLiteral("712WR01    FI FI01 "),
                  QStringLiteral("611FI 08  0.10  0.20  0.30  0.40  0.50  0.60"),
                  QStringLiteral("30E1a 12 11"),
              })),
              ConfigImport::Result::Loaded);
    EXPECT_EQ(rows(), (QStringList{
                          QStringLiteral("0|1|08|9|8||0||"),
                          QStringLiteral("1|2|08|0|0|FI01 |45||"),
                          QStringLiteral("2|3||0|0|FI01 |0|WR01    |FI "),
                          QStringLiteral("3|4|08|0|0||0||FI "),
                          QStringLiteral("4|1|1a|12|11||0||"),
                      }));
    EXPECT_EQ(hsOf(3), (QStringList{"10", "20", "30", "40", "50", "60"}));
    EXPECT_EQ(hsOf(0), (QStringList{"-", "-", "-", "-", "-", "-"}));
    EXPECT_EQ(session->store().readInt(Setting::Stufenanzahl), 2);
    EXPECT_EQ(loaded(), 1);
}

struct VolumeCase {
    const char* column; // the 7 characters at column 10
    int expected;
};

// Volumes are single precision times 100, widened, plus 0.5, truncated; a column that does not
// parse gives 0 because each "40F" record starts its volume afresh.
TEST_F(ConfigImportTest, TariffVolumes)
{
    const VolumeCase cases[] = {
        {"  1.005", 101}, {"  12.34", 1234},  {"  0.125", 13},  {"      1", 100},
        {"0.00499", 0},   {"  0.005", 1},     {"  -0.45", -44}, {"9999.99", 999999},
        {"       ", 0},   {"  abc  ", 0},     {"  1,5  ", 100}, {"  2.5x ", 250},
        {"    nan", 0},   {" 1e2   ", 10000},
    };
    QStringList lines{kHeader};
    for (const VolumeCase& c : cases)
        lines << QStringLiteral("40FT0001%1%2")
                     .arg(QStringLiteral("08"), QLatin1StringView(c.column));
    ASSERT_EQ(import(file(lines)), ConfigImport::Result::Loaded);
    const QStringList stored = rows();
    ASSERT_EQ(stored.size(), int(std::size(cases)));
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(stored[int(i)].section(u'|', 6, 6).toInt(), cases[i].expected) << cases[i].column;
}

// A numeric column that does not parse keeps the value last parsed into it.
TEST_F(ConfigImportTest, UnparsedNumbersKeepTheLastValue)
{
    ASSERT_EQ(import(file({kHeader, QStringLiteral("30E08 09  8"), QStringLiteral("30E10      "),
                           QStringLiteral("30E12 xx 12"),
                           QStringLiteral("611FI 08  0.10  0.20  0.30  0.40  0.50  0.60"),
                           QStringLiteral("611FI 10  0.70                    0.80")})),
              ConfigImport::Result::Loaded);
    EXPECT_EQ(rows().mid(0, 3),
              (QStringList{QStringLiteral("0|1|08|9|8||0||"), QStringLiteral("1|1|10|9|8||0||"),
                           QStringLiteral("2|1|12|9|12||0||")}));
    EXPECT_EQ(hsOf(4), (QStringList{"70", "20", "30", "40", "80", "60"}));
}

TEST_F(ConfigImportTest, HeaderLabelsAndMandatoryFlags)
{
    QStringList lines{kHeader};
    for (int i = 0; i < 6; ++i)
        lines << QStringLiteral("20C%1%2").arg(QStringLiteral("Feld %1:").arg(i).leftJustified(20),
                                               i == 0 || i == 4 ? "1" : "0");
    lines << QStringLiteral("20CGenau zwanzig Zeich1");
    ASSERT_EQ(import(file(lines)), ConfigImport::Result::Loaded);
    const SettingsStore& s = session->store();
    EXPECT_EQ(s.readText(Setting::KopfLabel, 0), QStringLiteral("Feld 0:             "));
    EXPECT_EQ(s.readText(Setting::KopfLabel, 6), QStringLiteral("Genau zwanzig Zeich1").left(20));
    EXPECT_EQ(s.readInt(Setting::Plausi, 1), 1); // fifth label
    EXPECT_EQ(s.readInt(Setting::Plausi, 2), 0);
    EXPECT_EQ(s.readInt(Setting::Plausi, 3), 0);
    // The flag of the first four labels belongs to no free field.
    EXPECT_FALSE(
        session->profile().hasValue(QStringLiteral("HDL_KOPF"), QStringLiteral("PLAUSI00")));
    EXPECT_FALSE(
        session->profile().hasValue(QStringLiteral("HDL_KOPF"), QStringLiteral("PLAUSI-3")));
}

// Entries of one field count up; another field restarts at 1, so a field coming back overwrites.
TEST_F(ConfigImportTest, ChoiceListsCountPerRun)
{
    ASSERT_EQ(import(file({kHeader, QStringLiteral("51003Erste"), QStringLiteral("510 3Zweite"),
                           QStringLiteral("51005Dritte"), QStringLiteral("51003Vierte")})),
              ConfigImport::Result::Loaded);
    const SettingsStore& s = session->store();
    EXPECT_EQ(s.choice(3, 1), QStringLiteral("Vierte").leftJustified(40));
    EXPECT_EQ(s.choice(3, 2), QStringLiteral("Zweite").leftJustified(40));
    EXPECT_EQ(s.choice(5, 1), QStringLiteral("Dritte").leftJustified(40));
    EXPECT_TRUE(s.choice(5, 2).isEmpty());
}

TEST_F(ConfigImportTest, CodeListsSpeciesSortenAndCompanyHeader)
{
    ASSERT_EQ(
        import(file({
            kHeader,
            QStringLiteral("813SHSchälholz"),
            QStringLiteral("813LALangholz        zu lang"),
            QStringLiteral("914W Windwurf"),
            QStringLiteral("a15FI "),
            QStringLiteral("a15LÄ "),
            QStringLiteral("20DST"),
            QStringLiteral("20DAB"),
            QStringLiteral("b16") + QStringLiteral("Forstbetrieb").leftJustified(40)
                + QStringLiteral("Waldweg 1").leftJustified(40)
                + QStringLiteral("Tel.").leftJustified(40)
                + QStringLiteral("Zeile vier").leftJustified(80) + QStringLiteral("Zeile fünf"),
        })),
        ConfigImport::Result::Loaded);
    const SettingsStore& s = session->store();
    EXPECT_EQ(s.readText(Setting::NaKurz, 1), QStringLiteral("SH"));
    EXPECT_EQ(s.readText(Setting::NaLang, 1), QStringLiteral("Schälholz       "));
    EXPECT_EQ(s.readText(Setting::NaLang, 2), QStringLiteral("Langholz        "));
    EXPECT_EQ(s.readText(Setting::KalKurz, 1), QStringLiteral("W "));
    EXPECT_EQ(s.readText(Setting::Holzart, 2), QStringLiteral("LÄ "));
    EXPECT_EQ(s.readText(Setting::Sorte, 0), QStringLiteral("ST"));
    EXPECT_EQ(s.readText(Setting::Sorte, 1), QStringLiteral("AB"));
    EXPECT_EQ(s.readText(Setting::Firmenkopf, 1), QStringLiteral("Forstbetrieb").leftJustified(40));
    EXPECT_EQ(s.readText(Setting::Firmenkopf, 3), QStringLiteral("Tel.").leftJustified(40));
    EXPECT_EQ(s.readText(Setting::Firmenkopf, 5), QStringLiteral("Zeile fünf").leftJustified(80));
}

// CR LF, LF only, a missing last line end, and lines longer than the limit read alike.
TEST_F(ConfigImportTest, LineEndsAndLongLines)
{
    const QStringList lines{kHeader, QStringLiteral("30E08 09  8"),
                            QStringLiteral("a15FI ") + QString(1200, u'x'),
                            QStringLiteral("40FFI01 08  0.450")};
    ASSERT_EQ(import(file(lines, "\r\n")), ConfigImport::Result::Loaded);
    const QStringList crlf = rows();
    const QString species = session->store().readText(Setting::Holzart, 1);
    ASSERT_EQ(import(file(lines, "\n")), ConfigImport::Result::Loaded);
    EXPECT_EQ(rows(), crlf);
    QByteArray noFinalEnd = file(lines, "\n");
    noFinalEnd.chop(1);
    ASSERT_EQ(import(noFinalEnd), ConfigImport::Result::Loaded);
    EXPECT_EQ(rows(), crlf);
    EXPECT_EQ(crlf.size(), 2);
    EXPECT_EQ(species, QStringLiteral("FI "));
    EXPECT_FALSE(
        session->profile().hasValue(QStringLiteral("HOLZART"), QStringLiteral("Holzart02")));
}

// A new import replaces the old master data completely.
TEST_F(ConfigImportTest, ReimportReplaces)
{
    ASSERT_EQ(import(file({kHeader, QStringLiteral("a15FI "), QStringLiteral("a15TA "),
                           QStringLiteral("51001Alt"), QStringLiteral("30E08 09  8")})),
              ConfigImport::Result::Loaded);
    ASSERT_EQ(import(file({kHeader, QStringLiteral("a15KI "), QStringLiteral("30E10 11 10")})),
              ConfigImport::Result::Loaded);
    EXPECT_EQ(session->store().readText(Setting::Holzart, 1), QStringLiteral("KI "));
    EXPECT_TRUE(session->store().readText(Setting::Holzart, 2).isEmpty());
    EXPECT_TRUE(session->store().choice(1, 1).isEmpty());
    EXPECT_EQ(rows(), QStringList{QStringLiteral("0|1|10|11|10||0||")});
}

TEST_F(ConfigImportTest, ProgressEveryThirtyLinesAndKeepAwakeRestored)
{
    session->registry().setDword(Hive::LocalMachine, QString::fromUtf16(KeepAwake::kTimeoutsKey),
                                 QString::fromUtf16(KeepAwake::kValue), 180);
    session->keepAwake().readSaved();
    QStringList lines{kHeader};
    for (int i = 0; i < 95; ++i)
        lines << QStringLiteral("40FT%108  0.450").arg(i, 4, 10, QChar(u'0'));
    ASSERT_EQ(import(file(lines)), ConfigImport::Result::Loaded);
    const std::vector<double> progress = dialogs.progressValues();
    // 0 at the start, after lines 30, 60 and 90, and the reset at the end.
    ASSERT_EQ(progress.size(), 5u);
    EXPECT_EQ(progress.front(), 0);
    EXPECT_LT(progress[1], progress[2]);
    EXPECT_LT(progress[2], progress[3]);
    const double line = lines.last().size() + 2;
    EXPECT_NEAR(progress[3], 100.0 * (90 * line) / (17 + 95 * line), 0.01);
    EXPECT_EQ(progress.back(), 0);
    EXPECT_EQ(dialogs.messages().front().lines.front(),
              QStringLiteral("Konfiguration wird eingelesen..."));
    EXPECT_EQ(session->registry().dword(Hive::LocalMachine,
                                        QString::fromUtf16(KeepAwake::kTimeoutsKey),
                                        QString::fromUtf16(KeepAwake::kValue)),
              180u);
}

TEST_F(ConfigImportTest, SampleConfigurationImportsCleanly)
{
    QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));
    ASSERT_EQ(import(sample.readAll()), ConfigImport::Result::Loaded);
    EXPECT_GE(session->store().readInt(Setting::Stufenanzahl), 20);
    EXPECT_EQ(session->store().readText(Setting::KopfLabel, 0).size(), 20);
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

} // namespace
} // namespace brovant::test
