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
    const QString unknown = "Wuchsregion nicht vorhanden!|Wollen Sie die Tarife selbst|zuordnen?";
    const struct {
        const char* region;
        std::optional<Answer> answer;
        Added added;
        QString asked;
        QStringList rows;
    } steps[] = {
        {"", {}, Added::No, "Eingabe fehlt !!!||", {}},
        {"WR9", Answer::First, Added::AssignTariffs, unknown, {}},
        {"WR9", Answer::Second, Added::No, unknown, {}},
        {"WR01", {}, Added::Yes, "", {"WR01|FI|FI01", "WR01|BU|BU01"}},
        {"WR01 ",
         {},
         Added::No,
         test::text("Wuchsregion ist in der|Liste bereits vorhanden!|"),
         {"WR01|FI|FI01", "WR01|BU|BU01"}},
        {"WR02", {}, Added::Yes, "", {"WR01|FI|FI01", "WR01|BU|BU01", "WR02|FI|FI02"}},
    };
    for (const auto& s : steps) {
        dialogs.clear();
        if (s.answer)
            dialogs.answerNext(*s.answer);
        EXPECT_EQ(logic.add(QString::fromUtf8(s.region)), s.added) << s.region;
        EXPECT_EQ(dialogs.asked().join(u'\n'), s.asked) << s.region;
        EXPECT_EQ(shown(), s.rows) << s.region;
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
