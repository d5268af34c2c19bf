// Reading list files from the office: cases of office files under data/import (the numbering of
// new lists and rows, the structure check, damaged files), the caller's transaction, huge files.
#include "support/PeakMemory.h"
#include "transfer/ListFileFixture.h"

#include "transfer/ListFileImport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

namespace brovant::test {
namespace {

const QString kData = QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/");

// A file of the wrong structure case: a.dat a header and a region, b.dat rows and then a header
// of another structure, c.dat a header alone.
QByteArray wrongStructureFile(const char* name)
{
    return golden(qPrintable(
        QStringLiteral("import/wrong_structure_ends_the_import_and_leaves_nothing_of_its_file/")
        + QLatin1StringView(name)));
}

const QString kHeads = QStringLiteral(
    "SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, STRUKTUR, DUE_MARK, EXPORTED_N_NI,"
    " ZUSATZ_A FROM Brov_Kopfdaten ORDER BY rowid");
const QString kRegions =
    QStringLiteral("SELECT ID_FILE, ID, REGION_A, BAUMART, TARIF FROM Brov_Region ORDER BY rowid");
const QString kTrees = QStringLiteral(
    "SELECT ID_FILE, ID, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF "
    "FROM Brov_Holzdaten ORDER BY rowid");

class ListFileImportTest : public ListFileFixture {
protected:
    ListFileImport importer() { return ListFileImport(session->root(), db(), dialogs); }
    // The header texts KOPF1_A..KOPF16_A that are not NULL, as "n=text".
    QStringList headerTexts()
    {
        QStringList out;
        for (int n = 1; n <= 16; ++n) {
            for (const QString& row :
                 rows(QStringLiteral("SELECT ID_FILE, KOPF%1_A FROM Brov_Kopfdaten WHERE KOPF%1_A "
                                     "IS NOT NULL ORDER BY rowid")
                          .arg(n)))
                out << QStringLiteral("%1:%2=").arg(row.section(u'|', 0, 0)).arg(n)
                           + row.section(u'|', 1);
        }
        return out;
    }
};

// One case per folder of data/import: its files go to "\Import", and the folder's .txt says what
// the import makes of them: "existing" the headers already there (ID_FILE, in table order),
// "result" the outcome, the files that went in and the last list, then the new rows under
// "heads", "texts", "regions", "trees" and the files "left" in "\Import", each ended by "|"
// ("\r" a carriage return).
class ListFileImportCaseTest : public ListFileImportTest,
                               public ::testing::WithParamInterface<std::string> {};

TEST_P(ListFileImportCaseTest, StoresWhatTheFilesHold)
{
    const QString folder = QStringLiteral("import/") + QString::fromStdString(GetParam());
    std::map<QString, QStringList> expected;
    QString part;
    for (const QByteArray& line : golden(qPrintable(folder + QStringLiteral(".txt"))).split('\n')) {
        const QString text =
            QString::fromUtf8(line).replace(QStringLiteral("\\r"), QStringLiteral("\r"));
        const QStringList words = text.split(u' ');
        if (text.endsWith(u'|'))
            expected[part] << text.chopped(1);
        else if (words.size() == 1)
            part = text;
        else
            expected[words[0]] = words.mid(1);
    }
    // "refuse <table> <ID>": the database refuses that row.
    if (const QStringList refuse = expected["refuse"]; refuse.size() == 2) {
        ASSERT_TRUE(
            db().exec(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON %1 WHEN NEW.ID "
                                     "= %2 BEGIN SELECT RAISE(ABORT, 'refused'); END")
                          .arg(refuse[0], refuse[1])));
    }
    for (const QString& id : expected["existing"])
        insert(schema::Kopfdaten, {{"ID_FILE", num(id.toLongLong())}, {"LISTE_NR", txt("ALT")}});
    for (const QString& name : QDir(kData + folder).entryList(QDir::Files))
        root.writeFile(QStringLiteral("Import/") + name, golden(qPrintable(folder + u'/' + name)));

    const auto outcome = importer().run();
    const QString result = QStringList{"Imported", "WrongStructure", "Failed"}[int(outcome.result)];
    EXPECT_EQ(
        (QStringList{result, QString::number(outcome.files), QString::number(outcome.lastList)}),
        expected["result"]);
    const QStringList messages[] = {
        {}, {"Falsche Struktur der Liste!||"}, {"Satz nicht gespeichert!||"}};
    EXPECT_EQ(dialogs.asked(), messages[int(outcome.result)]);
    QStringList heads = rows(kHeads);
    heads.remove(0, expected["existing"].size());
    EXPECT_EQ(heads, expected["heads"]);
    EXPECT_EQ(headerTexts(), expected["texts"]);
    EXPECT_EQ(rows(kRegions), expected["regions"]);
    EXPECT_EQ(rows(kTrees), expected["trees"]);
    // The folder is emptied, files of any kind included, but for what a failure leaves to retry.
    EXPECT_EQ(filesIn("Import"), expected["left"]);
}

std::vector<std::string> importCases()
{
    std::vector<std::string> names;
    for (const QString& name :
         QDir(kData + QStringLiteral("import")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        names.push_back(name.toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Files, ListFileImportCaseTest, ::testing::ValuesIn(importCases()),
                         [](const auto& info) { return info.param; });

TEST_F(ListFileImportTest, ImportFileRunsInsideTheCallersTransaction)
{
    const QByteArray good = wrongStructureFile("a.dat");
    const QByteArray bad = wrongStructureFile("b.dat");
    {
        Database::Transaction outer(db());
        bool wrong = true;
        EXPECT_TRUE(importer().importFile(good, 3, &wrong));
        EXPECT_FALSE(wrong);
        EXPECT_EQ(count("Brov_Kopfdaten"), 1);
        EXPECT_FALSE(importer().importFile(bad, 4, &wrong));
        EXPECT_TRUE(wrong);
        // The bad file is gone, the good one still there until the caller decides.
        EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE FROM Brov_Region")), QStringList{"3"});
    }
    EXPECT_EQ(count("Brov_Kopfdaten"), 0);
    EXPECT_EQ(count("Brov_Region"), 0);
    EXPECT_TRUE(importer().importFile(good, 3));
    EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE, LISTE_NR FROM Brov_Kopfdaten")),
              QStringList{"3|GUT     "});
    // No messages from importFile: the caller speaks.
    EXPECT_EQ(dialogs.asked(), QStringList());
}

// One file a line of data/huge_imports.txt.
TEST_F(ListFileImportTest, HostileFilesNeitherCrashNorHoldTheFile)
{
    for (const Case& c : readCases(QStringLiteral("transfer/data/huge_imports.txt"))) {
        SCOPED_TRACE(c.fields[0].constData());
        db().exec(QStringLiteral("DELETE FROM Brov_Kopfdaten"));
        db().exec(QStringLiteral("DELETE FROM Brov_Region"));
        db().exec(QStringLiteral("DELETE FROM Brov_Holzdaten"));
        dialogs.clear();
        ASSERT_NO_FATAL_FAILURE(writeFilled(root.host(QStringLiteral("Import/x.dat")), c, 1));
        const std::optional<qint64> before = resetPeak() ? peakKib() : std::nullopt;
        QElapsedTimer timer;
        timer.start();
        const auto outcome = importer().run();
        EXPECT_LT(timer.elapsed(), 20'000);
        const std::optional<qint64> after = peakKib();
        if (before && after && c.fields[3].toInt() >= 40) {
            // Holding the line would cost its 40 MB; the reader keeps a chunk and 501 bytes.
            EXPECT_LT(*after - *before, 16 * 1024) << "peak grew by KiB";
        }
        EXPECT_EQ(filesIn("Import"), QStringList());
        EXPECT_EQ(outcome.result, ListFileImport::Result::Imported);
        EXPECT_EQ(count("Brov_Region"), c.fields[5].toInt());
        EXPECT_EQ(dialogs.asked(), QStringList());
    }
}

} // namespace
} // namespace brovant::test
