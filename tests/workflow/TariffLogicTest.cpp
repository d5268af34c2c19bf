#include "workflow/TariffAssignmentLogic.h"
#include "AppLogicFixture.h"
#include "workflow/RegionLogic.h"
#include "workflow/TallyLogic.h"

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
    void add(const std::vector<Stored>& rows)
    {
        for (const Stored& s : rows)
            add(s);
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
};

// Rows every validation case starts from; the tariff volume row holds the table's largest ID.
const std::vector<Stored> kExisting = {
    {3, "WR01", "FI", "FI01"},
    {5, "WR01", "BU", "BU01"},
};

// A row typed on the new line and saved: one case a line of data/tariff_assignment_saves.txt.
TEST(TariffAssignment, ChecksRunInOrderAndOnlyAValidRowIsWritten)
{
    for (const test::Case& c : test::readCases("workflow/data/tariff_assignment_saves.txt")) {
        SCOPED_TRACE(c.where().constData());
        Device d;
        d.add(kExisting);
        d.add({41, "", "", "FI01"}, schema::TariffVolumeRow);
        ASSERT_TRUE(d.logic->openAll());
        const QStringList before = d.stored();
        const TariffRow typed{c.text(0), c.text(1), c.text(2)};

        d.logic->setEditLine(typed);
        const bool saved = d.logic->save();

        const bool valid = c.text(3) == u"-";
        EXPECT_EQ(saved, valid);
        EXPECT_EQ(d.dialogs.asked(), test::messagesIn(c.text(3)));
        if (valid) {
            const QString expected =
                QStringLiteral("42|%1|%2|%3")
                    .arg(typed.region.leftJustified(8), typed.species.leftJustified(3),
                         typed.tariff.leftJustified(5));
            EXPECT_EQ(d.stored(), before + QStringList{expected});
            // The saved row moves up next to a new empty edit line.
            EXPECT_TRUE(d.logic->onNewRow());
            EXPECT_EQ(d.logic->editLine(), TariffRow{});
            EXPECT_EQ(d.history().last(), typed.region.leftJustified(12)
                                              + typed.species.leftJustified(6)
                                              + typed.tariff.leftJustified(5));
        } else {
            EXPECT_EQ(d.stored(), before);
            // The line stays as typed (without trailing blanks), to be corrected.
            EXPECT_EQ(str(d.logic->editLine()),
                      str(TariffRow{typed.region.trimmed(), typed.species, typed.tariff}));
        }
    }
}

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

// The rows an opening shows: one case a line of data/tariff_assignment_opens.txt.
TEST(TariffAssignment, CursorStandsOnAnEmptyRowAfterTheLast)
{
    for (const test::Case& c : test::readCases("workflow/data/tariff_assignment_opens.txt")) {
        SCOPED_TRACE(c.where().constData());
        const bool all = c.text(0) == u"*";
        const int rows = c.text(2).toInt();
        Device d;
        d.add({
            {0, "WR02", "FI", "FI02"},
            {1, "WR01", "BU", "BU01"},
            {2, "WR01", "FI", "FI01"},
            {3, "O'W", "TA", "FI01"},
            {4, "WR01", "TA", "FI02"},
            {5, "WR03", "KI", "KI01"},
        });
        // Other record kinds with a region of the same name stay out.
        d.add({6, "WR02", "TA", "FI01"}, schema::SpeciesVolumeRow);

        ASSERT_TRUE(all ? d.logic->openAll() : d.logic->openRegion(c.text(0)));
        EXPECT_EQ(d.logic->regionOnly(), !all);
        EXPECT_EQ(d.logic->rowCount(), rows);
        EXPECT_TRUE(d.logic->onNewRow());
        EXPECT_EQ(d.logic->position(), rows);
        EXPECT_EQ(d.logic->editLine(), TariffRow{});
        EXPECT_FALSE(d.logic->changed());
        EXPECT_EQ(d.history().join(u'|'), c.text(1));
        EXPECT_TRUE(d.dialogs.asked().isEmpty());
    }
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

// Five rows shown by region: A1 FI, A1 TA, A2 FI, A2 TA, A3 FI (positions 0 to 4, 5 = new).
const std::vector<Stored> kFive = {
    {10, "A2", "FI", "FI01"}, {11, "A1", "FI", "FI01"}, {12, "A3", "FI", "FI02"},
    {13, "A1", "TA", "FI02"}, {14, "A2", "TA", "BU01"},
};

// One move a line of data/tariff_assignment_moves.txt.
TEST(TariffAssignment, MovesOfferAChangedRowForSaving)
{
    for (const test::Case& c : test::readCases("workflow/data/tariff_assignment_moves.txt")) {
        SCOPED_TRACE(c.where().constData());
        Device d;
        d.add(kFive);
        ASSERT_TRUE(d.logic->openAll());
        for (int i = 0; i < c.text(0).toInt(); ++i)
            ASSERT_TRUE(d.logic->moveUp());
        if (c.text(1) != u"-") {
            const QStringList typed = c.text(1).split(u'/');
            d.logic->setEditLine({typed.value(0), typed.value(1), typed.value(2)});
        }
        const QStringList before = d.stored();
        d.dialogs.clear();
        test::answerNext(d.dialogs, c.text(3));

        EXPECT_EQ(c.text(2) == u"up" ? d.logic->moveUp() : d.logic->moveDown(),
                  c.text(4) == u"yes");

        QStringList questions;
        for (const QString& m : d.dialogs.asked()) {
            if (m.startsWith(QStringLiteral("Abspeichern?")))
                questions << m;
        }
        EXPECT_EQ(questions.size(), c.text(3) != u"-" ? 1 : 0);
        EXPECT_EQ(d.dialogs.pendingAnswers(), 0u);
        EXPECT_EQ(d.logic->position(), c.text(8).toInt());
        EXPECT_EQ(str(d.logic->editLine()), str(c.text(5)));
        EXPECT_EQ(d.history().join(u'|'), c.text(6));
        QStringList changed;
        for (const QString& s : d.stored()) {
            if (!before.contains(s))
                changed << s;
        }
        EXPECT_EQ(changed, test::messagesIn(c.text(7)));
    }
}

// One deletion a line of data/tariff_assignment_deletes.txt.
TEST(TariffAssignment, DeleteAsksAndRemovesOnlyOnYes)
{
    for (const test::Case& c : test::readCases("workflow/data/tariff_assignment_deletes.txt")) {
        SCOPED_TRACE(c.where().constData());
        const bool deleted = c.text(2) == u"yes";
        Device d;
        d.add(kFive);
        ASSERT_TRUE(d.logic->openAll());
        for (int i = 0; i < c.text(0).toInt(); ++i)
            ASSERT_TRUE(d.logic->moveUp());
        const TariffRow current = d.logic->editLine();
        d.logic->setEditLine(row("B9", "KI", "KI01"));
        test::answerNext(d.dialogs, c.text(1));

        EXPECT_EQ(d.logic->deleteCurrent(), deleted);

        EXPECT_EQ(d.dialogs.asked(), c.text(1) == u"-"
                                         ? QStringList{}
                                         : QStringList{u"Aktuellen Satz wirklich löschen?||"_s});
        EXPECT_EQ(d.stored().size(), c.text(4).toInt());
        EXPECT_EQ(d.logic->rowCount(), c.text(4).toInt());
        if (deleted) {
            const QString gone =
                QStringLiteral("|%1|%2|%3")
                    .arg(current.region.leftJustified(8), current.species.leftJustified(3),
                         current.tariff.leftJustified(5));
            for (const QString& s : d.stored())
                EXPECT_FALSE(s.endsWith(gone)) << str(s);
        }
        EXPECT_EQ(str(d.logic->editLine()), str(c.text(3)));
    }
}

TEST(TariffAssignment, BrokenDatabaseSaysSoAndKeepsTheLine)
{
    Device d;
    ASSERT_TRUE(d.logic->openAll());
    d.logic->setEditLine(row("WR01", "FI", "FI01"));
    d.db().close();
    EXPECT_FALSE(d.logic->save());
    EXPECT_EQ(d.dialogs.asked(), QStringList{QStringLiteral("Satz nicht gespeichert!||")});
    EXPECT_EQ(str(d.logic->editLine()), "WR01/FI/FI01");
}

// The tally offers what was assigned here at once, without a new settings load, and stops
// offering what was deleted.
TEST(TariffAssignment, TheTallyFollowsAssignmentsMadeOnTheDevice)
{
    Device d;
    d.add(kExisting);
    test::ListBuilder(d.db()).row(
        schema::Kopfdaten, {{u"ID_FILE", 1}, {u"LISTE_NR", text("L1")}, {u"KOR_FAKTOR_N", 100}});
    TallyLogic tally(d.db(), d.tables, d.speciesTariffs, d.dialogs);
    // The tally screen opens its list each time it is shown; "proposed|offered".
    const auto offeredFor = [&](const char* species) {
        EXPECT_TRUE(tally.open(1));
        tally.setField(TallyLogic::Field::Species, text(species));
        return str(tally.tree().tariff + u'|' + tally.tariffChoices().join(u','));
    };
    ASSERT_TRUE(d.logic->openAll());
    EXPECT_EQ(offeredFor("TA"), "|");

    d.logic->setEditLine(row("WR02", "TA", "FI02"));
    ASSERT_TRUE(d.logic->save());
    EXPECT_EQ(offeredFor("TA"), "FI02|FI02");
    d.logic->setEditLine(row("WR01", "TA", "FI01"));
    ASSERT_TRUE(d.logic->save());
    EXPECT_EQ(offeredFor("TA"), "FI01|FI02,FI01");

    ASSERT_TRUE(d.logic->openRegion(QStringLiteral("WR01")));
    ASSERT_TRUE(d.logic->moveUp());
    ASSERT_EQ(str(d.logic->editLine()), "WR01/TA/FI01");
    d.dialogs.answerNext(Answer::Yes);
    ASSERT_TRUE(d.logic->deleteCurrent());
    EXPECT_EQ(offeredFor("TA"), "|FI02");
    // Changed in place: the old tariff goes, the new one is proposed.
    ASSERT_TRUE(d.logic->openRegion(QStringLiteral("WR02")));
    ASSERT_TRUE(d.logic->moveUp());
    d.logic->setEditLine(row("WR02", "TA", "BU01"));
    ASSERT_TRUE(d.logic->save());
    EXPECT_EQ(offeredFor("TA"), "BU01|BU01");
    d.dialogs.answerNext(Answer::Yes);
    ASSERT_TRUE(d.logic->deleteCurrent());
    EXPECT_EQ(offeredFor("TA"), "|");
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
