#include "tally/Lookup.h"

#include "TallyFixture.h"
#include "support/CaseFile.h"

#include <QRandomGenerator>

namespace brovant::test {
namespace {

using namespace Qt::StringLiterals;

class LookupTest : public TallyFixture {};

// The cases of data/lookup.txt, on the standard master data.
TEST_F(LookupTest, ClassesVolumesAndCorrectionsAsWritten)
{
    loadTables();
    EXPECT_FALSE(lookup::classOf(tables, 25).has_value()) << "no class rows, no class";
    standardMaster();
    addVolume(QStringLiteral("FI1"), QStringLiteral("10"), 99); // a later duplicate loses
    loadTables();
    for (const Case& c : readCases(QStringLiteral("tally/data/lookup.txt"))) {
        QString got;
        if (c.fields[0] == "class") {
            const auto found = lookup::classOf(tables, c.text(1).toInt());
            got = found ? found->code + u'/' + QString::number(found->diameter) : u"-"_s;
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

TEST_F(LookupTest, TariffChoicesInTableOrder)
{
    standardMaster();
    EXPECT_EQ(lookup::tariffChoices(tables, QStringLiteral("FI")),
              (QStringList{QStringLiteral("FI1"), QStringLiteral("FI2")}));
    EXPECT_EQ(lookup::tariffChoices(tables, QStringLiteral("BU ")),
              QStringList{QStringLiteral("BU1")});
    EXPECT_TRUE(lookup::tariffChoices(tables, QStringLiteral("EI")).isEmpty());
}

} // namespace
} // namespace brovant::test
