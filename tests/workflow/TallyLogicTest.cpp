#include "workflow/TallyLogic.h"

#include "AppLogicFixture.h"
#include "tally/TallyFixture.h"

#include <map>
#include <vector>

namespace brovant::test {
namespace {

using namespace Qt::StringLiterals;

// The tally fixture's master data with the species' tariff proposals the logic keeps.
class TallyLogicFixture : public TallyFixture {
protected:
    using Field = TallyLogic::Field;
    std::array<QString, TallyLogic::kSpeciesSlots> speciesTariffs;
};

class TallyLogicTest : public TallyLogicFixture {
protected:
    void SetUp() override
    {
        TallyLogicFixture::SetUp();
        standardMaster();
        list = addList(QStringLiteral("L1"));
        logic = std::make_unique<TallyLogic>(db(), tables, speciesTariffs, dialogs);
        ASSERT_TRUE(logic->open(list));
    }

    // Species, tariff (when given), count and diameter typed in, then confirmed.
    bool tally(const char* species, int diameter, int count = 1, const char* tariff = nullptr)
    {
        logic->setField(Field::Species, QString::fromLatin1(species));
        if (tariff)
            logic->setField(Field::Tariff, QString::fromLatin1(tariff));
        logic->setField(Field::Count, QString::number(count));
        logic->setField(Field::Diameter, QString::number(diameter));
        return logic->save();
    }

    std::int64_t list = 0;
    std::unique_ptr<TallyLogic> logic;
};

// Typing, moving, correcting and deleting trees, one step a line of data/tally_steps.txt.
TEST_F(TallyLogicTest, StepsThroughTheTrees)
{
    const std::map<QString, Field> fields = {{"species", Field::Species},
                                             {"tariff", Field::Tariff},
                                             {"count", Field::Count},
                                             {"diameter", Field::Diameter},
                                             {"class", Field::DiameterClass}};
    const std::map<QString, bool (TallyLogic::*)()> moves = {{"up", &TallyLogic::up},
                                                             {"down", &TallyLogic::down},
                                                             {"first", &TallyLogic::first},
                                                             {"save", &TallyLogic::save},
                                                             {"delete", &TallyLogic::removeCurrent},
                                                             {"trees", &TallyLogic::checkHasTrees}};
    const QStringList focus = {"Tariff", "Species",       "Quality", "CaliperClass",
                               "Count",  "DiameterClass", "Diameter"};
    for (const Case& c : readCases("workflow/data/tally_steps.txt")) {
        SCOPED_TRACE(c.where().constData());
        dialogs.clear();
        answerNext(dialogs, c.text(2));
        const QString action = c.text(0), arg = c.text(1);
        QString result;
        if (action == u"open") {
            list = addList(arg);
            result = truth(logic->open(list));
        } else if (action == u"tally") {
            result = truth(tally("FI", arg.toInt(), 1, "FI1"));
        } else if (action == u"end") {
            logic->end();
        } else if (action == u"main") {
            logic->setMainSpecies(arg.toInt());
        } else if (action == u"remember") {
            speciesTariffs[arg.section(u' ', 0, 0).toUInt()] = arg.section(u' ', 1);
        } else if (fields.count(action)) {
            logic->setField(fields.at(action), arg);
        } else if (action == u"tree?") {
            const TallyLogic::Tree& t = logic->tree();
            result = QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8")
                         .arg(t.id)
                         .arg(t.idType)
                         .arg(t.count)
                         .arg(t.species, t.tariff)
                         .arg(t.diameter)
                         .arg(t.diameterClass)
                         .arg(t.volume);
        } else if (action == u"tariff?") {
            result = logic->tree().tariff;
        } else if (action == u"previews?") {
            result = logic->preview1() + u';' + logic->preview2();
        } else if (action == u"choices?") {
            result = logic->tariffChoices().join(u',');
        } else if (action == u"remembered?") {
            result = speciesTariffs[arg.toUInt()];
        } else if (action == u"title?") {
            result = logic->title();
        } else if (action == u"focus?") {
            result = focus[int(logic->focus())];
        } else if (action == u"open number") {
            result = truth(logic->open(arg.toLongLong()));
        } else {
            ASSERT_TRUE(moves.count(action)) << str(action);
            result = truth((*logic.*moves.at(action))());
        }
        if (!c.text(3).isEmpty()) {
            EXPECT_EQ(result.isEmpty() ? u"-"_s : result, c.text(3));
        }
        const QString shown = QString::number(logic->tree().id) + (logic->isNew() ? " neu" : "");
        if (!c.text(4).isEmpty()) {
            EXPECT_EQ(shown, c.text(4));
        }
        const QStringList said = dialogs.asked() + QStringList(dialogs.beeps(), "Piep");
        if (!c.text(5).isEmpty()) {
            EXPECT_EQ(said, c.text(5) == u"-" ? QStringList{} : c.text(5).split(u';'));
        }
        if (!c.text(6).isEmpty()) {
            EXPECT_EQ(stored(list), c.text(6).split(u';'));
        }
    }
}

// A list from the office carries parcels and tariffs; a tree added on the device starts as a
// copy of the one before it, and a corrected tree keeps its own parcel.
TEST_F(TallyLogicTest, NewTreeCopiesParcelAndTariffOfTheOneBefore)
{
    for (const auto& [id, parcel] : {std::pair(1, "7"), std::pair(2, "12a  ")})
        ListBuilder(db()).row(schema::Holzdaten, {{u"ID", id},
                                                  {u"ID_FILE", qint64(list)},
                                                  {u"ID_TYPE", 2},
                                                  {u"PARZ", parcel},
                                                  {u"BAUMART", "FI"},
                                                  {u"TARIF", "FI1"},
                                                  {u"STK", 1},
                                                  {u"BHD", 18},
                                                  {u"DMSTUFE", "20"},
                                                  {u"KUBATUR", 50}});
    ASSERT_TRUE(logic->open(list));
    // The new tree is a copy of the last, its tariff too, though this device never used it.
    EXPECT_EQ(logic->tree().tariff, QStringLiteral("FI1"));
    ASSERT_TRUE(tally("FI", 25));
    ASSERT_TRUE(logic->first());
    logic->setField(Field::Count, QStringLiteral("2"));
    ASSERT_TRUE(logic->save());
    EXPECT_EQ(committedRows(db().file(), "SELECT rtrim(PARZ) FROM Brov_Holzdaten ORDER BY ID"),
              (QStringList{"7", "12a", "12a"}));
}

TEST_F(TallyLogicTest, BackupHookEveryFiftiethTree)
{
    std::vector<std::int64_t> at;
    logic->setBackupHook([&] { at.push_back(logic->count()); });
    for (int i = 0; i < 101; ++i)
        ASSERT_TRUE(tally("FI", 15, 1, "FI1"));
    EXPECT_EQ(at, (std::vector<std::int64_t>{50, 100}));
    EXPECT_EQ(logic->tree().id, 102);
    EXPECT_TRUE(logic->isNew());
}

TEST_F(TallyLogicTest, CaliperMeasurement)
{
    setMainSpecies(3, QStringLiteral("EI"));
    session->store().writeText(Setting::KluppeHolzart, 0, QStringLiteral("BU"));
    addVolume(QStringLiteral("EI1"), QStringLiteral("30"), 80);
    loadTables();
    speciesTariffs[0] = QStringLiteral("FI1");
    speciesTariffs[1] = QStringLiteral("BU1");
    setSpecies(3, QStringLiteral("EI"));
    loadTables();
    speciesTariffs[2] = QStringLiteral("EI1");
    // One measurement a line of data/caliper_measurements.txt, in order.
    QStringList expected;
    for (const Case& c : readCases("workflow/data/caliper_measurements.txt")) {
        EXPECT_TRUE(logic->takeMeasurement(c.text(0).toInt(), c.text(1).toInt()))
            << c.where().constData();
        expected << c.text(2);
    }
    EXPECT_EQ(stored(list), expected);
    // Diameter 0 is refused like a typed one.
    EXPECT_FALSE(logic->takeMeasurement(-1, 0));
    EXPECT_EQ(dialogs.asked(), QStringList{QStringLiteral("Eingabe fehlt !!!||")});
}

TEST_F(TallyLogicTest, TariffsFlaggedAtShutdownComeBack)
{
    // Assignment rows flagged in BHD, one a line of data/flagged_tariffs.txt.
    for (const Case& r : readCases("workflow/data/flagged_tariffs.txt")) {
        addAssignment(r.text(0), r.text(1));
        auto q = db().query(QStringLiteral(
            "UPDATE Brov_Einstellungen SET BHD = ? WHERE rowid = last_insert_rowid()"));
        q.bind(1, std::int64_t(r.text(2).toInt()));
        ASSERT_TRUE(q.run());
    }
    speciesTariffs[0] = QStringLiteral("FI1");
    TallyLogic::recallSpeciesTariffs(db(), tables, speciesTariffs);
    EXPECT_EQ(speciesTariffs[0], QStringLiteral("FI1"));
    EXPECT_EQ(speciesTariffs[1], QStringLiteral("BU1"));
    EXPECT_TRUE(speciesTariffs[2].isEmpty());
}

// Master data without a single diameter class row: a diameter finds no class, nothing can be
// confirmed and nothing is written.
class TallyWithoutClassesTest : public TallyLogicFixture {};

TEST_F(TallyWithoutClassesTest, RefusesEveryTreeWithItsMessage)
{
    addVolume(QStringLiteral("FI1"), QStringLiteral("20"), 50);
    addAssignment(QStringLiteral("FI"), QStringLiteral("FI1"));
    setSpecies(1, QStringLiteral("FI"));
    setMainSpecies(1, QStringLiteral("FI"));
    loadTables();
    const std::int64_t list = addList(QStringLiteral("L1"));
    TallyLogic logic(db(), tables, speciesTariffs, dialogs);
    ASSERT_TRUE(logic.open(list));
    logic.setField(Field::Species, QStringLiteral("FI"));
    logic.setField(Field::Tariff, QStringLiteral("FI1"));
    logic.setField(Field::Diameter, QStringLiteral("25"));
    EXPECT_EQ(logic.tree().diameter, 0);
    EXPECT_EQ(logic.tree().diameterClass.trimmed(), QString());
    EXPECT_FALSE(logic.save());
    // A class typed by hand does not help either: the diameter is gone.
    logic.setField(Field::DiameterClass, QStringLiteral("20"));
    EXPECT_FALSE(logic.save());
    EXPECT_FALSE(logic.takeMeasurement(0, 25));
    EXPECT_EQ(dialogs.asked(), QStringList(3, QStringLiteral("Eingabe fehlt !!!||")));
    EXPECT_EQ(logic.focus(), Field::Diameter);
    EXPECT_TRUE(logic.isNew());
    EXPECT_TRUE(stored(list).isEmpty());
}

} // namespace
} // namespace brovant::test
