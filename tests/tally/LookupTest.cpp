#include "tally/Lookup.h"

#include "TallyFixture.h"

#include <QRandomGenerator>

namespace brovant::test {
namespace {

class LookupTest : public TallyFixture {};

TEST_F(LookupTest, ClassOfDiameter)
{
    loadTables();
    EXPECT_FALSE(lookup::classOf(tables, 25).has_value()) << "no class rows, no class";
    standardMaster();
    struct Case {
        int diameter;
        const char* code; // nullptr: no class
        int classDiameter;
    };
    const Case cases[] = {
        {20, "20", 18}, {21, "30", 28}, {35, "30", 28}, {10, "10", 8},
        {1, "10", 8},   {0, nullptr, 0}, {-4, nullptr, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.diameter);
        const auto found = lookup::classOf(tables, c.diameter);
        ASSERT_EQ(found.has_value(), c.code != nullptr);
        if (c.code) {
            EXPECT_EQ(found->code, QString::fromLatin1(c.code));
            EXPECT_EQ(found->diameter, c.classDiameter);
        }
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

TEST_F(LookupTest, VolumeOfRecord)
{
    standardMaster();
    addVolume(QStringLiteral("FI1"), QStringLiteral("10"), 99); // a later duplicate loses
    loadTables();
    struct Case {
        const char* tariff;
        const char* diameterClass;
        int count;
        std::int64_t volume;
    };
    const Case cases[] = {
        {"FI1", "10", 3, 135}, {"FI1  ", "10", 1, 45}, {"FI1", "20", 2, 100},
        {"BU1", "10", 1, 0},   {"FI2", "10", 1, 0},    {"fi1", "10", 1, 0},
        {"", "10", 1, 0},      {"FI1", "  ", 1, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(QStringLiteral("%1/%2").arg(c.tariff, c.diameterClass).toStdString());
        EXPECT_EQ(lookup::recordVolume(tables, QString::fromLatin1(c.tariff),
                                       QString::fromLatin1(c.diameterClass), c.count),
                  c.volume);
    }
}

TEST_F(LookupTest, CorrectedVolumeTruncatesPerRecord)
{
    struct Case {
        std::int64_t volume;
        std::int64_t factor;
        std::int64_t corrected;
    };
    const Case cases[] = {{135, 95, 128}, {135, 100, 135}, {45, 90, 40},
                          {50, 90, 45},   {55, 90, 49},    {-135, 95, -128}};
    for (const Case& c : cases)
        EXPECT_EQ(lookup::correctedVolume(c.volume, c.factor), c.corrected) << c.volume;
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
