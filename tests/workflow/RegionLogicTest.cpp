// The region screen's logic on a real database: a region joins a list with the tariffs the master
// data assign to it, each check with its message, and a region leaves the list after the question.
#include "workflow/RegionLogic.h"
#include "AppLogicFixture.h"

namespace brovant {
namespace {

using Added = RegionLogic::Added;

class Regions : public ::testing::Test, protected test::OpenDevice {
protected:
    Regions()
    {
        int id = 0;
        for (const char* row : {"WR01    FI FI01 ", "WR02    FI FI02 ", "WR01    BU BU01 "})
            addMasterRow(++id, schema::TariffAssignmentRow, QString::fromLatin1(row, 8),
                         QString::fromLatin1(row + 8, 3), QString::fromLatin1(row + 11, 5));
        for (int list : {1, 2})
            test::ListBuilder(db()).row(
                schema::Kopfdaten,
                {{u"ID_FILE", list}, {u"LISTE_NR", QStringLiteral("LISTE%1  ").arg(list)}});
        // Another list's region, which nothing here may touch.
        test::ListBuilder(db()).row(
            schema::Region,
            {{u"ID", 7}, {u"ID_FILE", 2}, {u"REGION_A", "WR01"}, {u"BAUMART", "FI"}});
    }

    // The committed region rows as "ID_FILE|REGION_A|BAUMART|TARIF".
    QStringList stored()
    {
        return committed("SELECT ID_FILE, rtrim(REGION_A), rtrim(BAUMART), "
                         "rtrim(TARIF) FROM Brov_Region ORDER BY rowid");
    }
    QStringList shown()
    {
        QStringList out;
        for (const auto& row : logic.rows())
            out << row.region + u'|' + row.species + u'|' + row.tariff;
        return out;
    }

    RegionLogic logic{db(), dialogs};
};

TEST_F(Regions, AddChecksTheRegionAsTheListHeaderDoes)
{
    ASSERT_TRUE(logic.open(1));
    EXPECT_EQ(logic.listName(), QStringLiteral("LISTE1"));
    EXPECT_EQ(logic.masterRegions(), (QStringList{"WR01", "WR02"}));
    // One region typed a line of data/region_adds.txt, in order.
    for (const test::Case& c : test::readCases("workflow/data/region_adds.txt")) {
        SCOPED_TRACE(c.where().constData());
        dialogs.clear();
        test::answerNext(dialogs, c.text(1));
        EXPECT_EQ(logic.add(c.text(0)),
                  Added(QStringList{"No", "Yes", "AssignTariffs"}.indexOf(c.text(2))));
        EXPECT_EQ(dialogs.asked(), test::messagesIn(c.text(3)));
        EXPECT_EQ(shown(), c.text(4).split(u',', Qt::SkipEmptyParts));
    }
    EXPECT_EQ(logic.listRegions(), (QStringList{"WR01", "WR02"}));
    EXPECT_EQ(stored(),
              (QStringList{"2|WR01|FI|", "1|WR01|FI|FI01", "1|WR01|BU|BU01", "1|WR02|FI|FI02"}));
    EXPECT_EQ(committed("SELECT COUNT(DISTINCT ID) FROM Brov_Region"), QStringList{"4"});
}

TEST_F(Regions, RemoveTakesTheRegionOfTheRowAfterTheQuestion)
{
    ASSERT_TRUE(logic.open(1));
    ASSERT_EQ(logic.add("WR01"), Added::Yes);
    ASSERT_EQ(logic.add("WR02"), Added::Yes);
    dialogs.clear();
    dialogs.answerNext(Answer::No);
    EXPECT_FALSE(logic.remove(1));
    EXPECT_EQ(shown().size(), 3);
    EXPECT_FALSE(logic.remove(3)); // no such row: nothing asked
    dialogs.answerNext(Answer::Yes);
    EXPECT_TRUE(logic.remove(1));
    EXPECT_EQ(dialogs.asked(), (QStringList{"Wuchsregion WR01|aus der Liste entfernen?|",
                                            "Wuchsregion WR01|aus der Liste entfernen?|"}));
    EXPECT_EQ(shown(), QStringList{"WR02|FI|FI02"});
    EXPECT_EQ(stored(), (QStringList{"2|WR01|FI|", "1|WR02|FI|FI02"}));

    // A list that is not there has no rows and takes none.
    EXPECT_FALSE(logic.open(9));
    EXPECT_EQ(logic.add("WR01"), Added::No);
    EXPECT_EQ(stored().size(), 2);
}

} // namespace
} // namespace brovant
