#include "workflow/TariffAssignmentLogic.h"
#include "AppLogicFixture.h"
#include "workflow/RegionLogic.h"
#include "workflow/TallyLogic.h"

#include <functional>
#include <map>
#include <vector>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using test::str;
using test::text;

TariffRow row(const char* region, const char* species, const char* tariff)
{
    return {text(region), text(species), text(tariff)};
}

std::string str(const TariffRow& r)
{
    return str(r.region + u'/' + r.species + u'/' + r.tariff);
}

struct Stored {
    std::int64_t id;
    const char* region;
    const char* species;
    const char* tariff;
};

// Master tables set by hand and messages answered by script.
struct Device : test::OpenDevice {
    Device()
    {
        // The import keeps the blank of two-letter species; "KI" stands for a table without it.
        const char* const species[] = {"FI ", "TA ", "BU ", "KI", "DGL"};
        for (size_t i = 0; i < std::size(species); ++i)
            tables.species[i] = text(species[i]);
        tables.tariffs = {QStringLiteral("FI01 "), QStringLiteral("FI02 "), QStringLiteral("BU01 "),
                          QStringLiteral("ALH01"), QStringLiteral("KI01 ")};
    }
    // An assignment row as the configuration import stores it.
    void add(const Stored& s, int type = schema::TariffAssignmentRow)
    {
        addMasterRow(s.id, type, text(s.region).leftJustified(8), text(s.species).leftJustified(3),
                     text(s.tariff).leftJustified(5));
    }
    // Committed assignment rows as "ID|REGION_A|BAUMART|TARIF".
    QStringList stored()
    {
        return committed("SELECT ID, REGION_A, BAUMART, TARIF FROM Brov_Einstellungen "
                         "WHERE ID_TYPE = 3 ORDER BY ID");
    }
    QStringList history() const { return {logic->history().begin(), logic->history().end()}; }

    MasterTables tables;
    TariffAssignmentLogic::SpeciesTariffs speciesTariffs;
    std::unique_ptr<Dataset> rows = std::make_unique<Dataset>(db(), schema::Einstellungen);
    std::unique_ptr<TariffAssignmentLogic> logic =
        std::make_unique<TariffAssignmentLogic>(*rows, tables, speciesTariffs, dialogs);
    TallyLogic tally{db(), tables, speciesTariffs, dialogs};
};

// The first row of an empty table takes the import's first ID, and every field the import's
// shape of an assignment row (see the configuration import's tests).
TEST(TariffAssignment, NewRowIsStoredLikeAnImportedOne)
{
    Device d;
    ASSERT_TRUE(d.logic->openAll());
    d.logic->setEditLine(row("WR03", "FI", "FI02"));
    ASSERT_TRUE(d.logic->save());
    EXPECT_EQ(d.committed("SELECT ID, ID_TYPE, DMSTUFE, typeof(DMSTUFE), BHDBIS, BHD, "
                          "KUBATUR, typeof(HS1), typeof(HS6), REGION_A, BAUMART, TARIF "
                          "FROM Brov_Einstellungen"),
              QStringList{"0|3||text|0|0|0|null|null|WR03    |FI |FI02 "});
}

TEST(TariffAssignment, RegionListHoldsTheFirstFiftyFoundSorted)
{
    struct Case {
        const char* name;
        std::vector<QString> regions; // in ID order
        QStringList expected;
    };
    std::vector<QString> descending;
    QStringList lastFifty;
    for (int i = 55; i >= 1; --i)
        descending.push_back(QStringLiteral("R%1").arg(i, 2, 10, QChar(u'0')));
    for (int i = 6; i <= 55; ++i)
        lastFifty << QStringLiteral("R%1").arg(i, 2, 10, QChar(u'0')).leftJustified(8);
    const Case cases[] = {
        {"distinct and sorted by character",
         {"WR02", "b", "WR01", "WR02", "", "A", "WR01", "WR 1", "Ä"},
         {"A       ", "WR 1    ", "WR01    ", "WR02    ", "b       ", "Ä       "}},
        {"only the first fifty found", descending, lastFifty},
        {"none", {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Device d;
        std::int64_t id = 0;
        for (const QString& region : c.regions) {
            const QByteArray utf8 = region.toUtf8();
            d.add({id++, utf8.constData(), "FI", "FI01"});
            // Repeats of a region and other record kinds do not use up places.
            d.add({id++, utf8.constData(), "BU", "BU01"});
            d.add({id++, "ZZZ", "", "FI01"}, schema::TariffVolumeRow);
        }
        EXPECT_EQ(d.logic->regions(), c.expected);
    }
}

// Opening, typing, saving, moving and deleting assignment rows, one step a line of
// data/tariff_assignment_steps.txt.
TEST(TariffAssignment, Steps)
{
    std::unique_ptr<Device> d;
    const std::map<QString, bool (TariffAssignmentLogic::*)()> moves = {
        {"all", &TariffAssignmentLogic::openAll},
        {"save", &TariffAssignmentLogic::save},
        {"up", &TariffAssignmentLogic::moveUp},
        {"down", &TariffAssignmentLogic::moveDown},
        {"delete", &TariffAssignmentLogic::deleteCurrent},
    };
    const std::map<QString, int> kinds = {{"volume", schema::TariffVolumeRow},
                                          {"species", schema::SpeciesVolumeRow}};
    for (const test::Case& c : test::readCases("workflow/data/tariff_assignment_steps.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString action = c.text(0);
        const QStringList arg = c.text(1).split(u'/');
        if (action == u"device")
            d = std::make_unique<Device>();
        ASSERT_TRUE(d != nullptr) << "no device yet";
        d->dialogs.clear();
        test::answerNext(d->dialogs, c.text(2));
        QString result;
        if (action == u"add") {
            d->addMasterRow(
                arg[0].toInt(),
                kinds.count(arg.value(4)) ? kinds.at(arg[4]) : schema::TariffAssignmentRow,
                arg[1].leftJustified(8), arg[2].leftJustified(3), arg[3].leftJustified(5));
        } else if (action == u"type") {
            d->logic->setEditLine({arg[0], arg[1], arg[2]});
        } else if (action == u"close") {
            d->db().close();
        } else if (moves.count(action)) {
            result = test::truth((*d->logic.*moves.at(action))());
        } else if (action == u"region") {
            result = test::truth(d->logic->openRegion(c.text(1)));
        } else if (action == u"line?") {
            result = QString::fromStdString(str(d->logic->editLine()));
        } else if (action == u"history?" || action == u"last?") {
            result = action == u"last?" ? d->history().last() : d->history().join(u'|');
        } else if (action == u"position?" || action == u"rows?") {
            result =
                QString::number(action == u"rows?" ? d->logic->rowCount() : d->logic->position());
        } else if (action == u"new?") {
            result = test::truth(d->logic->onNewRow());
        } else if (action == u"changed?") {
            result = test::truth(d->logic->changed());
        } else if (action == u"regiononly?") {
            result = test::truth(d->logic->regionOnly());
        } else if (action == u"list") {
            test::ListBuilder(d->db()).list(1, "L1");
        } else if (action == u"offered?") {
            // The tally screen opens its list each time it is shown.
            EXPECT_TRUE(d->tally.open(1));
            d->tally.setField(TallyLogic::Field::Species, c.text(1));
            result = d->tally.tree().tariff + u'|' + d->tally.tariffChoices().join(u',');
        } else if (action == u"stored?") {
            result = d->stored().join(u';');
        } else {
            ASSERT_EQ(action, u"device");
        }
        if (!c.text(3).isEmpty()) {
            EXPECT_EQ(result.isEmpty() ? QStringLiteral("-") : result, c.text(3));
        }
        if (!c.text(4).isEmpty()) {
            EXPECT_EQ(test::said(d->dialogs), test::listOf(c.text(4)));
        }
    }
}

// The region screen's logic on a real database: a region joins a list with the tariffs the master
// data assign to it, each check with its message, and a region leaves the list after the question.
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
