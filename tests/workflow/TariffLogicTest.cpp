#include "workflow/TariffAssignmentLogic.h"
#include "AppLogicFixture.h"
#include "workflow/RegionLogic.h"
#include "workflow/TallyLogic.h"

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
    RegionLogic regions{db(), dialogs};
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
            test::ListBuilder(d->db()).list(c.text(1).section(u' ', 0, 0).toInt(),
                                            c.text(1).section(u' ', 1));
        } else if (action == u"list region") {
            test::ListBuilder(d->db()).row(schema::Region, {{u"ID", arg[0].toInt()},
                                                            {u"ID_FILE", arg[1].toInt()},
                                                            {u"REGION_A", arg[2]},
                                                            {u"BAUMART", arg[3]}});
        } else if (action == u"open list") {
            result = test::truth(d->regions.open(c.text(1).toInt()));
        } else if (action == u"add region") {
            const QStringList added = {"No", "Yes", "AssignTariffs"};
            result = added[int(d->regions.add(c.text(1)))];
        } else if (action == u"remove region") {
            result = test::truth(d->regions.remove(c.text(1).toInt()));
        } else if (action == u"region rows?") {
            for (const auto& row : d->regions.rows())
                result += (result.isEmpty() ? "" : ";") + row.region + u'|' + row.species + u'|'
                          + row.tariff;
        } else if (action == u"list regions?") {
            result = d->regions.listName() + u':' + d->regions.listRegions().join(u',') + u':'
                     + d->regions.masterRegions().join(u',');
        } else if (action == u"stored regions?") {
            result = d->committed("SELECT ID_FILE, rtrim(REGION_A), rtrim(BAUMART), rtrim(TARIF) "
                                  "FROM Brov_Region ORDER BY rowid")
                         .join(u';');
            EXPECT_EQ(d->committed("SELECT COUNT(DISTINCT ID) = COUNT(*) FROM Brov_Region"),
                      QStringList{"1"});
        } else if (action == u"offered?") {
            // The tally screen opens its list each time it is shown.
            EXPECT_TRUE(d->tally.open(1));
            d->tally.setField(TallyLogic::Field::Species, c.text(1));
            result = d->tally.tree().tariff + u'|' + d->tally.tariffChoices().join(u',');
        } else if (action == u"stored?") {
            result = d->stored().join(u';');
        } else if (action != u"device") {
            FAIL() << "unknown step " << str(action);
        }
        test::expectStep(c, result, test::said(d->dialogs));
    }
}

} // namespace
} // namespace brovant
