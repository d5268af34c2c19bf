#include "evaluation/ReportAssortments.h"

#include "ReportTestData.h"

#include <numeric>

namespace brovant::test {
namespace {

using Parts = std::array<std::int64_t, AssortmentDistribution::kAssortments>;
using Exact = std::array<double, AssortmentDistribution::kAssortments>;

TEST(AssortmentSplit, PartsAddUpToTheTotal)
{
    for (const Case& c : casesOf("split")) {
        const std::int64_t total = c.fields[1].toLongLong();
        const QList<QByteArray> shares = c.fields[2].split(' ');
        Exact exact{};
        for (size_t i = 0; i < exact.size(); ++i)
            exact[i] = shares.value(qsizetype(i)).toDouble();
        const Parts parts = AssortmentDistribution::split(total, exact);
        QStringList written;
        for (const std::int64_t part : parts)
            written << QString::number(part);
        EXPECT_EQ(written.join(u' '), c.text(3)) << c.where().constData();
        EXPECT_EQ(std::accumulate(parts.begin(), parts.end(), std::int64_t(0)), total);
    }
}

using Assortments = ReportFixture;

TEST_F(Assortments, EachTreeSplitByItsSpeciesAndClass)
{
    addClasses(5);
    // The first row of a pair wins; padded and unpadded codes are the same row.
    addAssortmentRow("FI ", "10", {1, 1, 0, 0, 0, 0});
    addAssortmentRow("FI", "10", {0, 0, 0, 0, 0, 9});
    addAssortmentRow("FI", "12", {0, 3, 1, 0, 0, 0});
    // Negative weights are no proportions: unsorted.
    addAssortmentRow("BU", "10", {5, -1, 0, 0, 0, 0});
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1, {{"FI", "10", 1, 50},
                 {"FI", "12", 2, 80},
                 {"FI", "14", 1, 33},
                 {"BU", "10", 1, 70},
                 {"FI ", "10", 1, 11}});
    addList(2, QStringLiteral("L2"), 100);
    addTrees(2, {{"FI", "10", 1, 999}});

    const auto d = AssortmentDistribution::compute(db(), 1);
    ASSERT_TRUE(d.has_value());
    ASSERT_EQ(d->species().size(), 2u);
    const auto& bu = d->species()[0];
    EXPECT_EQ(bu.species, QStringLiteral("BU"));
    EXPECT_EQ(bu.volumes, (Parts{}));
    EXPECT_EQ(bu.unsorted, 70);
    EXPECT_EQ(bu.volume, 70);
    // FI: 50 and 11 half and half (30.5 each), 80 as 60 : 20, 33 in class 14 without a row.
    const auto& fi = d->species()[1];
    EXPECT_EQ(fi.volumes, (Parts{31, 90, 20, 0, 0, 0}));
    EXPECT_EQ(fi.unsorted, 33);
    EXPECT_EQ(fi.volume, 174);

    const auto all = d->all();
    EXPECT_EQ(all.volumes, (Parts{31, 90, 20, 0, 0, 0}));
    EXPECT_EQ(all.unsorted, 103);
    EXPECT_EQ(all.volume, 244);

    EXPECT_FALSE(AssortmentDistribution::compute(db(), 9).has_value());
}

TEST_F(Assortments, NamesFromTheSettings)
{
    setSorten({"ST", "AB", "", "IL"});
    const MasterTables& t = tables();
    EXPECT_EQ(AssortmentDistribution::name(t, 0), QStringLiteral("ST"));
    EXPECT_EQ(AssortmentDistribution::name(t, 2), QStringLiteral("Sorte 3"));
    EXPECT_EQ(AssortmentDistribution::name(t, 5), QStringLiteral("Sorte 6"));
}

} // namespace
} // namespace brovant::test
