// The calipers' telegrams and the Bluetooth calipers' sentences: one case a line of
// data/caliper_text.txt, what the tally makes of each. Then the lookups of classes, volumes and
// tariffs on the master data.
#include "TallyFixture.h"
#include "support/CaliperSpecies.h"
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "tally/CaliperSentence.h"
#include "tally/CaliperTelegram.h"
#include "tally/Lookup.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace brovant {
namespace {

using test::caliperTables;
using test::Case;

// Each kind of case against what the tally makes of it, written as the file writes it.
const std::map<QByteArray, std::function<QByteArray(const Case&)>> kReadings = {
    {"sentence",
     [](const Case& c) {
         const std::optional<CaliperSentence> s = parseCaliperSentence(c.fields[1]);
         if (!s)
             return QByteArray("-");
         if (s->kind == CaliperSentence::Kind::Diameter)
             return 'D' + QByteArray::number(s->diameter);
         return 'S' + s->species.toUtf8();
     }},
    {"checksum",
     [](const Case& c) {
         return sentenceChecksum(c.fields[1]);
     }},
    {"reader",
     [](const Case& c) {
         SentenceReader reader;
         QByteArrayList out;
         for (const QByteArray& line : c.fields[1].split('|')) {
             if (line == "RESET") {
                 reader.reset();
                 continue;
             }
             for (const SentenceMeasurement& m : reader.take(line))
                 out << m.species.toUtf8() + '/' + QByteArray::number(m.diameter);
         }
         return out.join('|');
     }},
    {"code",
     [](const Case& c) {
         static const MasterTables tables = caliperTables();
         return speciesForCaliperCode(tables, c.text(1)).value_or(QStringLiteral("-")).toUtf8();
     }},
    {"telegram",
     [](const Case& c) {
         const std::optional<Measurement> m = parseTelegram(c.fields[1]);
         return m ? QByteArray::number(m->speciesKey) + '/' + QByteArray::number(m->diameter)
                  : QByteArray("-");
     }},
    {"split",
     [](const Case& c) {
         TelegramSplitter splitter;
         QByteArrayList out;
         for (const QByteArray& chunk : c.fields[1].split('|')) {
             if (!chunk.isEmpty())
                 out += splitter.feed(chunk);
         }
         if (c.fields[2] == "flush") {
             if (const std::optional<QByteArray> rest = splitter.flush())
                 out += '!' + *rest;
         }
         return out.join('|');
     }},
};

TEST(CaliperText, ReadAsWritten)
{
    for (const Case& c : test::readCases(QStringLiteral("tally/data/caliper_text.txt"))) {
        const auto reading = kReadings.find(c.fields[0]);
        ASSERT_TRUE(reading != kReadings.end() && c.fields.size() >= 3) << c.where().constData();
        EXPECT_EQ(reading->second(c), c.fields.last()) << c.where().constData();
    }
}

TEST(CaliperSentence, CaliperOwnSpeciesGivesWayToAMainSpecies)
{
    // Without a species of its own, and a main species named like it: the main species wins.
    MasterTables tables = caliperTables();
    tables.caliperSpecies = QStringLiteral("FI");
    EXPECT_EQ(speciesForCaliperCode(tables, QStringLiteral("FI")), QStringLiteral("FI "));
    tables.caliperSpecies.clear();
    EXPECT_EQ(speciesForCaliperCode(tables, QStringLiteral("PA")), std::nullopt);
    EXPECT_EQ(speciesForCaliperCode(tables, QString()), std::nullopt);
}

TEST(CaliperTelegram, SplitterStartsAfreshAfterFlush)
{
    TelegramSplitter splitter;
    EXPECT_TRUE(splitter.feed("512").isEmpty());
    EXPECT_TRUE(splitter.hasPending());
    EXPECT_EQ(splitter.flush(), QByteArray("512"));
    EXPECT_FALSE(splitter.hasPending());
    EXPECT_EQ(splitter.flush(), std::nullopt);
    EXPECT_EQ(splitter.feed("623\r\n"), QByteArrayList{"623"});
}

using namespace Qt::StringLiterals;
using LookupTest = test::TallyFixture;

// The cases of data/lookup.txt, on the standard master data.
TEST_F(LookupTest, ClassesVolumesCorrectionsAndTariffsAsWritten)
{
    loadTables();
    EXPECT_FALSE(lookup::classOf(tables, 25).has_value()) << "no class rows, no class";
    standardMaster();
    addVolume(QStringLiteral("FI1"), QStringLiteral("10"), 99); // a later duplicate loses
    loadTables();
    for (const Case& c : test::readCases(QStringLiteral("tally/data/lookup.txt"))) {
        QString got;
        if (c.fields[0] == "class") {
            const auto found = lookup::classOf(tables, c.text(1).toInt());
            got = found ? found->code + u'/' + QString::number(found->diameter) : u"-"_s;
        } else if (c.fields[0] == "tariffs") {
            const QStringList choices = lookup::tariffChoices(tables, c.text(1));
            got = choices.isEmpty() ? u"-"_s : choices.join(u' ');
        } else if (c.fields[0] == "volume") {
            got = QString::number(
                lookup::recordVolume(tables, c.text(1), c.text(2), c.text(3).toInt()));
        } else {
            got = QString::number(
                lookup::correctedVolume(c.text(1).toLongLong(), c.text(2).toLongLong()));
        }
        EXPECT_EQ(got, c.text(c.fields.size() - 1)) << c.where().constData();
    }
}

// Bounds out of order: the index must still find what a walk from the top finds.
TEST_F(LookupTest, ClassIndexAgreesWithWalkOnUnorderedBounds)
{
    QRandomGenerator random(7);
    std::vector<MasterTables::DiameterClass> rows;
    for (int i = 0; i < 40; ++i) {
        const int bound = int(random.bounded(1, 120));
        rows.push_back({bound, QString::number(i).rightJustified(2, u'0'), bound - 1});
        addClass(bound, rows.back().code, rows.back().diameter);
    }
    loadTables();
    for (int diameter = -2; diameter <= 130; ++diameter) {
        SCOPED_TRACE(diameter);
        const MasterTables::DiameterClass* walked = nullptr;
        for (const auto& row : rows) {
            walked = &row;
            if (row.upperBound >= diameter)
                break;
        }
        const auto found = lookup::classOf(tables, diameter);
        if (diameter <= 0) {
            EXPECT_FALSE(found.has_value());
            continue;
        }
        ASSERT_TRUE(found.has_value());
        EXPECT_EQ(found->code, walked->code);
    }
}

} // namespace
} // namespace brovant
