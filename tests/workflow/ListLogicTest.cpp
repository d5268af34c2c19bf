#include "AppLogicFixture.h"
#include "OfficeChannel.h"
#include "workflow/ListHeaderLogic.h"
#include "workflow/ListSelectionLogic.h"

#include <map>

namespace brovant {
namespace {

using test::str;

const QStringList kExits = {"Stay", "NextPage", "Abandon", "AssignTariffs", "Finished"};

// Mandatory free fields of every device here: both of page 2 and the second of page 7.
constexpr int kMandatory[] = {1, 2, 12};

// Master data (regions WR01 assigned, WR09 and WR08 only in other row kinds),
// header settings, messages answered by script and a clock at 4 May 2026.
struct Device : test::OpenDevice {
    Device()
    {
        addMasterRow(1, schema::TariffAssignmentRow, "WR01    ");
        addMasterRow(2, schema::TariffVolumeRow, "WR09    ");
        addMasterRow(3, schema::DiameterClassRow, "WR08");
        for (const int field : kMandatory)
            session.store().writeInt(Setting::Plausi, field, 1);
    }
    // A list as the list selection screen would have left it.
    void addList(std::int64_t id, const QString& name, const QString& region = "WR01    ",
                 test::ListBuilder::Fields more = {})
    {
        test::ListBuilder(db()).row(schema::Kopfdaten,
                                    {{u"ID_FILE", qlonglong(id)},
                                     {u"LISTE_NR", name},
                                     {u"DATUM_A", "01.04.2026"},
                                     {u"KOR_FAKTOR_N", 100},
                                     {u"REGION_A", region == u"-" ? QString() : region}},
                                    more);
    }
    // A model list 7 with header values of its own and two trees.
    void addModel(const QString& region)
    {
        addList(7, "MODELL  ", region,
                {{u"ZUSATZ_A", "Vorlage"},
                 {u"DATUM_A", ""},
                 {u"KOR_FAKTOR_N", 90},
                 {u"KOPF1_A", "Forstamt Nord"},
                 {u"KOPF2_A", "Revier Ost"},
                 {u"KOPF16_A", "Bemerkung"},
                 {u"DUE_MARK", 1}});
        addTree(7, 1, "FI ", 24);
        addTree(7, 2, "TA ", 36);
    }
    void addTree(std::int64_t list, std::int64_t id, const QString& species, std::int64_t diameter)
    {
        test::ListBuilder(db()).row(schema::Holzdaten, {{u"ID", qlonglong(id)},
                                                        {u"ID_FILE", qlonglong(list)},
                                                        {u"ID_TYPE", 1},
                                                        {u"STK", 1},
                                                        {u"BAUMART", species},
                                                        {u"BHD", qlonglong(diameter)},
                                                        {u"KUBATUR", qlonglong(diameter * 3)}});
    }
    QStringList lists() { return committed("SELECT ID_FILE, LISTE_NR FROM Brov_Kopfdaten"); }
    QStringList trees()
    {
        return committed("SELECT ID_FILE, ID, BAUMART, BHD, KUBATUR FROM Brov_Holzdaten");
    }

    ManualClock clock{QDateTime(QDate(2026, 5, 4), QTime(7, 30))};
    Dataset rows{session.database(), schema::Kopfdaten};
    ListHeaderLogic logic{rows, session.store(), state, clock, dialogs};
};

// Opening, renaming, turning and leaving the header pages, one step a line of
// data/list_header_steps.txt.
TEST(ListHeader, Steps)
{
    std::unique_ptr<Device> d;
    for (const test::Case& c : test::readCases("workflow/data/list_header_steps.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString action = c.text(0), arg = c.text(1);
        const QStringList args = arg.split(action == u"add" ? u',' : u' ');
        if (action == u"device")
            d = std::make_unique<Device>();
        ASSERT_TRUE(d != nullptr) << "no device yet";
        d->dialogs.clear();
        test::answerNext(d->dialogs, c.text(2));
        ListHeaderLogic& logic = d->logic;
        QString result;
        if (action == u"add") {
            d->addList(args[0].toInt(), args[1], args.value(2, "WR01    "));
        } else if (action == u"tree") {
            d->addTree(args[0].toInt(), args[1].toInt(), args[2].leftJustified(3), args[3].toInt());
        } else if (action == u"model") {
            d->addModel(arg);
        } else if (action == u"clock") {
            d->clock.setNow(QDateTime(QDate::fromString(arg, u"dd.MM.yyyy"), QTime(12, 0)));
        } else if (action == u"drop") {
            EXPECT_TRUE(d->db().exec("DROP TABLE " + arg));
        } else if (action == u"type") {
            for (const QString& change : arg.split(u';', Qt::SkipEmptyParts))
                d->rows.setText(change.section(u'=', 0, 0), change.section(u'=', 1));
        } else if (action == u"start") {
            result = test::truth(logic.startNew(arg, false));
        } else if (action == u"new") {
            result = test::truth(logic.openNew(arg));
        } else if (action == u"open") {
            result = test::truth(logic.openExisting(arg.toInt()));
        } else if (action == u"leave") {
            result = kExits[int(logic.leavePage())];
        } else if (action == u"down" || action == u"up") {
            result = test::truth(action == u"down" ? logic.pageDown() : logic.pageUp());
        } else if (action == u"page?") {
            result = QString::number(logic.page());
        } else if (action == u"readonly?") {
            result = test::truth(logic.nameReadOnly());
        } else if (action == u"new?") {
            result = test::truth(logic.isNew());
        } else if (action == u"seeded?") {
            result = test::truth(logic.seededFromModel());
        } else if (action == u"id?") {
            result = QString::number(logic.listId());
        } else if (action == u"title?") {
            result = logic.title();
        } else if (action == u"region?") {
            result = logic.region();
        } else if (action == u"current?") {
            result = QString::number(d->state.currentList);
        } else if (action == u"missing?") {
            for (const int field : logic.missingMandatory())
                result += (result.isEmpty() ? "" : ",") + QString::number(field);
        } else if (action == u"fields?") {
            for (const QString& field : arg.split(u','))
                result += (result.isEmpty() ? "" : ";") + d->rows.loadText(field);
        } else if (action == u"committed?") {
            result = d->committed("SELECT " + arg + " FROM Brov_Kopfdaten").join(u';');
        } else if (action == u"lists?" || action == u"trees?") {
            result = (action == u"lists?" ? d->lists() : d->trees()).join(u';');
        } else if (action != u"device") {
            FAIL() << "unknown step " << str(action);
        }
        test::expectStep(c, result, test::said(d->dialogs));
    }
}

TEST(ListHeader, LabelsFlagsChoicesAndRegionsComeFromTheConfiguration)
{
    Device d;
    SettingsStore& store = d.session.store();
    store.writeText(Setting::KopfLabel, 1, QStringLiteral("Aufnahme am:        "));
    store.writeText(Setting::KopfLabel, 4, QStringLiteral("Forstamt:           "));
    store.writeChoice(1, 1, QStringLiteral("Nord").leftJustified(40));
    store.writeChoice(1, 2, QString(40, u' '));
    store.writeChoice(1, 3, QStringLiteral(" Süd"));
    store.writeChoice(1, 30, QStringLiteral("Letzter"));
    d.addMasterRow(10, schema::TariffAssignmentRow, "AA      ");
    d.addMasterRow(11, schema::TariffAssignmentRow, "WR01");

    const struct {
        QString got;
        const char* expected;
    } cases[] = {
        {ListHeaderLogic::fixedLabel(store, 0), "Zusatz:"},
        {ListHeaderLogic::fixedLabel(store, 1), "Aufnahme am:"},
        {ListHeaderLogic::fixedLabel(store, 2), "Korr.-Faktor:"},
        {ListHeaderLogic::fixedLabel(store, 3), "Wuchsreg:"},
        {ListHeaderLogic::freeLabel(store, 1), "Forstamt:"},
        {ListHeaderLogic::freeLabel(store, 16), "Feld 16:"},
        {ListHeaderLogic::choices(store, 1).join(u'/'), "Nord/ Süd/Letzter"},
        {ListHeaderLogic::choices(store, 2).join(u'/'), ""},
        {d.logic.regions().join(u'/'), "AA/WR01"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(str(c.got), c.expected);
    for (int field = 1; field <= ListHeaderLogic::kFreeFields; ++field)
        EXPECT_EQ(ListHeaderLogic::mandatory(store, field), field == 1 || field == 2 || field == 12)
            << field;
}

// The list selection screen's logic on a real database: the rows and their texts, marking,
// deleting with its two questions, the model list in both forms, the checks before tally, totals,
// printouts and sending, an empty table on which every per-list button does nothing, and "Send"
// and "Receive" over a channel that delivers or fails as told.
using Target = ListSelectionLogic::Target;
using Transfer = ListSelectionLogic::Transfer;

struct ListSpec {
    int id;
    const char* name;
    int mark = 0;
    int exported = 0;
    int trees = 0;
    int regions = 0;
};

class ListSelection : public ::testing::Test, protected test::OpenDevice {
protected:
    ListSelection()
    {
        session.store().writeText(Setting::KopfLabel, 0, QStringLiteral("Zusatz:             "));
    }

    void addList(const ListSpec& list)
    {
        test::ListBuilder rows(db());
        rows.list(list.id, QString::fromUtf8(list.name), 95,
                  {{u"ZUSATZ_A", QStringLiteral("Zusatz %1").arg(list.id)},
                   {u"DATUM_A", "01.04.2026"},
                   {u"REGION_A", QStringLiteral("WR%1").arg(list.id)},
                   {u"KOPF1_A", QStringLiteral("K1-%1").arg(list.id)},
                   {u"KOPF16_A", QStringLiteral("K16-%1").arg(list.id)},
                   {u"DUE_MARK", list.mark},
                   {u"EXPORTED_N_NI", list.exported},
                   {u"STRUKTUR", "T00300"}});
        for (int t = 0; t < list.trees; ++t)
            rows.row(schema::Holzdaten,
                     {{u"ID", list.id * 100 + t}, {u"ID_FILE", list.id}, {u"BAUMART", "FI "}});
        for (int r = 0; r < list.regions; ++r)
            rows.row(schema::Region, {{u"ID", list.id * 100 + r},
                                      {u"ID_FILE", list.id},
                                      {u"REGION_A", QStringLiteral("WR%1").arg(list.id)},
                                      {u"BAUMART", QStringLiteral("B%1").arg(r)},
                                      {u"TARIF", QStringLiteral("T%1").arg(r)}});
    }
    int count(const QString& sql, std::int64_t value = 0)
    {
        auto q = db().query(sql);
        if (sql.contains(u'?'))
            q.bind(1, value);
        return q.next() ? int(q.integer(0)) : -1;
    }
    int treesOf(int id)
    {
        return count("SELECT COUNT(*) FROM Brov_Holzdaten WHERE ID_FILE = ?", id);
    }
    int regionsOf(int id)
    {
        return count("SELECT COUNT(*) FROM Brov_Region WHERE ID_FILE = ?", id);
    }
    // A row as "ID|NAME|mark|addition".
    static QString describe(const ListSelectionLogic::Row& row)
    {
        return QStringLiteral("%1|%2|%3|%4")
            .arg(row.idFile)
            .arg(row.listNo.trimmed(), row.mark, row.addition);
    }
    QStringList tableRows()
    {
        QStringList out;
        for (const auto& row : ListSelectionLogic::readRows(db()))
            out << describe(row);
        return out;
    }
    // The lists in table order as "ID|NAME|mark|addition|trees|regions".
    QStringList lists()
    {
        QStringList out;
        for (const auto& row : ListSelectionLogic::readRows(db()))
            out << describe(row)
                       + QStringLiteral("|%1|%2")
                             .arg(treesOf(row.idFile))
                             .arg(regionsOf(row.idFile));
        return out;
    }
    // The regions of a list in stored order as BAUMART TARIF REGION_A.
    QStringList regionRows(int id)
    {
        auto q = db().query("SELECT BAUMART || TARIF || REGION_A FROM Brov_Region WHERE ID_FILE = "
                            "? ORDER BY rowid");
        q.bind(1, std::int64_t(id));
        QStringList out;
        while (q.next())
            out << q.text(0);
        return out;
    }
    // The header of a list as "FIELD=value" for the fields given.
    QStringList header(int id, const QStringList& fields)
    {
        Dataset heads(db(), schema::Kopfdaten);
        heads.reset(Filter::byList(id));
        QStringList out;
        for (const QString& f : fields)
            out << f + u'=' + heads.loadText(f);
        return out;
    }
    void select(int row)
    {
        logic.build();
        logic.setSelectedRow(row);
    }

    ManualClock clock{QDateTime(QDate(2026, 5, 4), QTime(7, 30, 0))};
    test::Recorder host;
    ListSelectionLogic logic{session.root(), db(), session.store(), state, dialogs, clock, &host};
    test::OfficeChannel office{&session.root()};
};

TEST_F(ListSelection, RowsInTableOrderWithTheirColumnTexts)
{
    for (const ListSpec& list : {ListSpec{7, "NEU", 0, 0}, ListSpec{3, "MARKED", 1, 0},
                                 ListSpec{9, "TWICE", 1, 2}, ListSpec{1, "SENT", 0, 3}})
        addList(list);
    // A list written by another program, with empty numbers and an over-long addition.
    auto raw =
        db().query("INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, ZUSATZ_A) VALUES (?, ?, ?)");
    raw.bind(1, std::int64_t(4)).bind(2, QStringLiteral("RAW")).bind(3, QString(50, u'x'));
    ASSERT_TRUE(raw.run());

    QStringList shown;
    for (const auto& row : ListSelectionLogic::readRows(db()))
        shown << QStringLiteral("%1|%2|%3|%4")
                     .arg(row.idFile)
                     .arg(row.listNo, row.mark, row.addition);
    EXPECT_EQ(shown, (QStringList{"7|NEU     |   0|Zusatz 7", "3|MARKED  |A0|Zusatz 3",
                                  "9|TWICE   |A2|Zusatz 9", "1|SENT    |   3|Zusatz 1",
                                  "4|RAW     |   0|" + QString(40, u'x')}));
    logic.build();
    EXPECT_EQ(logic.heading(), QStringLiteral("Zusatz"));
}

TEST_F(ListSelection, HeadingFromTheFirstHeaderLabel)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Zusatz:", "Zusatz"}, {"Zusatz: xy", "Zusatz"}, {"Bem", "Bem"},
        {"Nr.::", "Nr.:"},     {" Zusatz", ""},          {"", ""},
    };
    for (const auto& [label, heading] : cases)
        EXPECT_EQ(ListSelectionLogic::headingFromLabel(QString::fromUtf8(label)),
                  QString::fromUtf8(heading))
            << label;
}

// The list selection's buttons, one step a line of data/list_selection_steps.txt.
TEST_F(ListSelection, Steps)
{
    const QStringList targets = {"None",   "ListHeader", "ListInfo",      "Tally",
                                 "Totals", "Region",     "TallyPrintout", "AssortmentPrintout"};
    const QStringList transfers = {"NotStarted", "Failed", "Done"};
    const std::map<QString, Target (ListSelectionLogic::*)()> keys = {
        {"tally", &ListSelectionLogic::openTally},
        {"totals", &ListSelectionLogic::openTotals},
        {"print tally", &ListSelectionLogic::printTally},
        {"print assortment", &ListSelectionLogic::printAssortment},
        {"info", &ListSelectionLogic::openInfo},
        {"region", &ListSelectionLogic::openRegion},
        {"new", &ListSelectionLogic::newList},
    };
    for (const test::Case& c : test::readCases("workflow/data/list_selection_steps.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString action = c.text(0), arg = c.text(1);
        if (action == u"add") {
            const QStringList l = arg.split(u' ');
            addList({l[0].toInt(), l[1].toUtf8().constData(), l[2].toInt(), l[3].toInt(),
                     l[4].toInt(), l[5].toInt()});
            continue;
        }
        if (action == u"hold" && arg == u"-") {
            office.held.clear();
            continue;
        }
        if (action == u"hold") {
            office.held[arg.section(u' ', 0, 0) + ".DAT"] =
                test::officeList(arg.section(u' ', 0, 0).toUtf8(), arg.section(u' ', 1).toInt());
            continue;
        }
        if (action == u"clear" || action == u"drop") {
            office = test::OfficeChannel(&session.root());
            const QStringList tables =
                action == u"drop" ? QStringList{arg}
                                  : QStringList{"Brov_Kopfdaten", "Brov_Holzdaten", "Brov_Region"};
            for (const QString& table : tables)
                ASSERT_TRUE(
                    db().exec((action == u"drop" ? "DROP TABLE " : "DELETE FROM ") + table));
            continue;
        }
        // A query looks at what the step before it left.
        if (!action.endsWith(u'?')) {
            dialogs.clear();
            host.events.clear();
        }
        test::answerNext(dialogs, c.text(2));
        QString result;
        if (action == u"current" || action == u"build") {
            state.currentList = arg.toInt();
            if (action == u"build")
                logic.build();
        } else if (action == u"pick") {
            logic.setSelectedRow(arg.toInt());
            result = test::truth(logic.selectRow());
        } else if (action == u"header") {
            result = header(arg.section(u' ', 0, 0).toInt(), arg.section(u' ', 1).split(u','))
                         .join(u';');
        } else if (action == u"send" || action == u"receive") {
            office.delivers = arg == u"yes";
            result = transfers[int(action == u"send" ? logic.send(office) : logic.receive(office))];
        } else if (action == u"office?") {
            result = QStringLiteral("%1/%2/").arg(office.sends).arg(office.receives)
                     + office.seen.join(u',');
        } else if (action == u"notices?") {
            result = dialogs.asked().join(u';');
        } else if (action == u"marked?") {
            result = QString::number(logic.markedCount());
        } else if (action == u"import?") {
            result = session.root().find(QStringLiteral("\\Import\\*.*")).join(u',');
        } else if (action == u"regions") {
            result = regionRows(arg.toInt()).join(u';');
            EXPECT_EQ(count("SELECT COUNT(DISTINCT ID) FROM Brov_Region"),
                      count("SELECT COUNT(*) FROM Brov_Region"));
        } else {
            // A button, on the row selected afresh or on the rows as they stand.
            if (!arg.isEmpty()) {
                state.currentList = -1;
                select(arg.toInt());
            }
            if (keys.count(action))
                result = targets[int((logic.*keys.at(action))())];
            else if (action == u"mark")
                result = logic.toggleMark().value_or(QStringLiteral("-"));
            else if (action == u"delete" || action == u"model")
                result =
                    test::truth(action == u"delete" ? logic.deleteSelected() : logic.buildModel());
            else
                FAIL() << str(action);
        }
        test::expectStep(c, result, test::said(dialogs));
        if (!c.text(5).isEmpty()) {
            EXPECT_EQ(lists(), test::listOf(c.text(5)));
        }
        if (!c.text(6).isEmpty()) {
            EXPECT_EQ(state.currentList, c.text(6).toInt());
        }
        if (!c.text(7).isEmpty()) {
            EXPECT_EQ(logic.selectedRow(), c.text(7).toInt());
        }
        if (!c.text(8).isEmpty()) {
            const QStringList cursor = {"host cursor 1", "host cursor 0"};
            EXPECT_EQ(host.events, c.text(8) == u"yes" ? cursor : QStringList{});
        }
        QStringList shown;
        for (const auto& row : logic.rows())
            shown << describe(row);
        EXPECT_EQ(shown, tableRows());
    }
}

} // namespace
} // namespace brovant
