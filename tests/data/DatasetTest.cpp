#include "data/Dataset.h"
#include "data/DataTestSupport.h"
#include "data/Schema.h"

#include <gtest/gtest.h>

#include <vector>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using test::DatabaseRoot;
using test::rawRows;
using test::Rows;
using Ids = std::vector<std::int64_t>;

struct Tree {
    std::int64_t id;
    std::int64_t list;
    const char16_t* species;
    std::int64_t bhd;
};

// Stored order differs from ID order, so "stored order" and "ordered by ID" are told apart.
const Tree kTrees[] = {
    {3, 1, u"FI", 30}, {1, 1, u"KI", 45}, {5, 2, u"FI", 22},
    {2, 1, u"FI", 45}, {4, 2, u"BU", 60}, {6, 1, u"FI", 12},
};

class DatasetTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(db.open()) << db.lastError().toStdString(); }

    void addTrees()
    {
        Dataset rows(db, schema::Holzdaten);
        for (const Tree& t : kTrees) {
            rows.clearFields();
            rows.setInt(u"ID", t.id);
            rows.setInt(u"ID_FILE", t.list);
            rows.setText(u"BAUMART", QString::fromUtf16(t.species));
            rows.setInt(u"BHD", t.bhd);
            ASSERT_TRUE(rows.insert()) << db.lastError().toStdString();
        }
    }

    // The IDs from the first record to the last, and back; a cursor that never reaches an end
    // shows up as one record too many instead of a hang.
    static Ids forward(Dataset& rows)
    {
        Ids ids;
        for (bool ok = rows.moveFirst(); ok && !rows.eof() && ids.size() <= size_t(rows.count());
             ok = rows.moveNext())
            ids.push_back(rows.loadInt(u"ID"));
        return ids;
    }
    static Ids backward(Dataset& rows)
    {
        Ids ids;
        for (bool ok = rows.moveLast(); ok && !rows.eof() && ids.size() <= size_t(rows.count());
             ok = rows.movePrevious())
            ids.push_back(rows.loadInt(u"ID"));
        return ids;
    }

    Rows stored(const QString& sql)
    {
        db.close();
        Rows rows = rawRows(dir.file, sql);
        EXPECT_TRUE(db.open());
        return rows;
    }

    DatabaseRoot dir;
    Database db{dir.file};
};

TEST_F(DatasetTest, FiltersSelectAndOrderTheRecords)
{
    addTrees();
    struct Row {
        const char* label;
        Filter filter;
        Ids ids;
    };
    const Row rows[] = {
        {"all_in_stored_order", Filter::all(), {3, 1, 5, 2, 4, 6}},
        {"ordered", Filter::ordered(u"ID"_s), {1, 2, 3, 4, 5, 6}},
        {"ties_keep_stored_order", Filter::ordered(u"BHD DESC"_s), {4, 1, 2, 3, 5, 6}},
        {"one_list", Filter::byList(2), {5, 4}},
        {"bound_values",
         {u"BAUMART = ? AND BHD >= ?"_s,
          {FieldValue(u"FI"_s), FieldValue(std::int64_t(22))},
          u"BHD"_s},
         {5, 3, 2}},
        {"value_looking_like_sql", {u"BAUMART = ?"_s, {FieldValue(u"FI' OR '1'='1"_s)}, {}}, {}},
        {"no_match", Filter::byList(99), {}},
    };
    Dataset trees(db, schema::Holzdaten);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        ASSERT_TRUE(trees.reset(row.filter)) << db.lastError().toStdString();
        EXPECT_EQ(trees.count(), int(row.ids.size()));
        EXPECT_EQ(trees.eof(), row.ids.empty()) << "after reset";
        if (!row.ids.empty()) {
            EXPECT_EQ(trees.loadInt(u"ID"), row.ids.front()) << "reset stands on the first";
        }
        EXPECT_EQ(forward(trees), row.ids);
        EXPECT_TRUE(trees.eof()) << "past the last record";
        EXPECT_EQ(backward(trees), Ids(row.ids.rbegin(), row.ids.rend()));
    }
}

TEST_F(DatasetTest, BadConditionFailsAndLeavesNoRecord)
{
    addTrees();
    Dataset trees(db, schema::Holzdaten);
    EXPECT_FALSE(trees.reset({u"NO_SUCH_FIELD = ?"_s, {FieldValue(std::int64_t(1))}, {}}));
    EXPECT_TRUE(trees.eof());
    EXPECT_TRUE(trees.loadIsEmpty(u"ID"));
}

TEST_F(DatasetTest, CursorStopsAtBothEnds)
{
    addTrees();
    Dataset trees(db, schema::Holzdaten);
    ASSERT_TRUE(trees.reset(Filter::byList(2))); // IDs 5, 4
    EXPECT_TRUE(trees.moveNext());
    EXPECT_EQ(trees.loadInt(u"ID"), 4);
    EXPECT_FALSE(trees.moveNext());
    EXPECT_TRUE(trees.eof());
    EXPECT_FALSE(trees.moveNext()) << "stays past the end";
    EXPECT_TRUE(trees.eof());
    EXPECT_TRUE(trees.loadIsEmpty(u"BAUMART")) << "no record, no values";
    EXPECT_EQ(trees.loadInt(u"BHD"), 0);
    EXPECT_TRUE(trees.movePrevious());
    EXPECT_EQ(trees.loadInt(u"ID"), 4);
    EXPECT_TRUE(trees.moveFirst());
    EXPECT_FALSE(trees.movePrevious());
    EXPECT_TRUE(trees.eof()) << "before the first";

    Dataset empty(db, schema::Region);
    ASSERT_TRUE(empty.reset());
    EXPECT_TRUE(empty.eof());
    EXPECT_FALSE(empty.moveFirst());
    EXPECT_FALSE(empty.moveLast());
    EXPECT_TRUE(empty.eof());
}

TEST_F(DatasetTest, InsertAppendsAndBecomesCurrent)
{
    addTrees();
    Dataset trees(db, schema::Holzdaten);
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    trees.moveTo(2);
    trees.clearFields();
    trees.setInt(u"ID", 7);
    trees.setInt(u"ID_FILE", 2);
    trees.setText(u"BAUMART", u"TA"_s);
    trees.setInt(u"KUBATUR", 135);
    ASSERT_TRUE(trees.insert());
    EXPECT_EQ(trees.count(), 7);
    EXPECT_EQ(trees.position(), 6);
    EXPECT_FALSE(trees.eof());
    EXPECT_EQ(trees.loadInt(u"ID"), 7);
    EXPECT_EQ(trees.loadFormatted(u"KUBATUR"), u"   1.35"_s);
    EXPECT_TRUE(trees.loadIsEmpty(u"PARZ")) << "cleared fields stay empty";
    EXPECT_TRUE(trees.movePrevious());
    EXPECT_EQ(trees.loadInt(u"ID"), 6);

    EXPECT_EQ(stored(u"SELECT ID, ID_FILE, BAUMART, KUBATUR, PARZ FROM Brov_Holzdaten "
                     "WHERE rowid = (SELECT MAX(rowid) FROM Brov_Holzdaten)"_s),
              Rows({{u"7"_s, u"2"_s, u"TA"_s, u"135"_s, u"<null>"_s}}));
}

TEST_F(DatasetTest, SaveChangesOnlyTheCurrentRecord)
{
    addTrees();
    Dataset trees(db, schema::Holzdaten);
    ASSERT_TRUE(trees.reset(Filter::byList(1))); // IDs 3, 1, 2, 6
    ASSERT_TRUE(trees.moveNext());
    trees.setInt(u"BHD", 99);
    trees.setText(u"BAUMART", u"DOU"_s);
    ASSERT_TRUE(trees.save());
    EXPECT_EQ(trees.loadInt(u"ID"), 1) << "the cursor stays";
    ASSERT_TRUE(trees.moveLast());
    trees.setInt(u"BHD", 13);
    ASSERT_TRUE(trees.save());

    EXPECT_EQ(stored(u"SELECT ID, BAUMART, BHD FROM Brov_Holzdaten ORDER BY ID"_s),
              Rows({{u"1"_s, u"DOU"_s, u"99"_s},
                    {u"2"_s, u"FI"_s, u"45"_s},
                    {u"3"_s, u"FI"_s, u"30"_s},
                    {u"4"_s, u"BU"_s, u"60"_s},
                    {u"5"_s, u"FI"_s, u"22"_s},
                    {u"6"_s, u"FI"_s, u"13"_s}}));
    Dataset none(db, schema::Holzdaten);
    ASSERT_TRUE(none.reset(Filter::byList(99)));
    none.setInt(u"BHD", 1);
    EXPECT_FALSE(none.save()) << "no current record";
}

TEST_F(DatasetTest, DeleteMovesToTheFollowingRecord)
{
    struct Row {
        const char* label;
        int position;
        Ids remaining;        // in cursor order
        std::int64_t current; // 0: past the end
    };
    const Row rows[] = {
        {"first", 0, {2, 3, 4, 5, 6}, 2},
        {"middle", 2, {1, 2, 4, 5, 6}, 4},
        {"last", 5, {1, 2, 3, 4, 5}, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        ASSERT_TRUE(db.deleteAll(schema::Holzdaten));
        addTrees();
        Dataset trees(db, schema::Holzdaten);
        ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
        ASSERT_TRUE(trees.moveTo(row.position));
        ASSERT_TRUE(trees.deleteCurrent());
        EXPECT_EQ(trees.count(), 5);
        EXPECT_EQ(trees.eof(), row.current == 0);
        EXPECT_EQ(trees.loadInt(u"ID"), row.current);
        EXPECT_EQ(forward(trees), row.remaining);
        ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
        EXPECT_EQ(forward(trees), row.remaining) << "as stored";
    }
    Dataset none(db, schema::Holzdaten);
    ASSERT_TRUE(none.reset(Filter::byList(99)));
    EXPECT_FALSE(none.deleteCurrent());
}

TEST_F(DatasetTest, TextLongerThanItsFieldIsCut)
{
    struct Row {
        const TableDescriptor* table;
        const char* field;
        QString text;
        QString kept;
    };
    const QString hundred = QString(99, u'x') + u'ö';
    const Row rows[] = {
        {&schema::Holzdaten, "BAUMART", u"FICHTE"_s, u"FIC"_s},
        {&schema::Holzdaten, "BAUMART", u"ÄÖÜß"_s, u"ÄÖÜ"_s},
        {&schema::Holzdaten, "PARZ", u"12345"_s, u"12345"_s},
        {&schema::Kopfdaten, "LISTE_NR", u"1234567890"_s, u"12345678"_s},
        {&schema::Kopfdaten, "STRUKTUR", u"T00300x"_s, u"T00300"_s},
        {&schema::Konfiguration, "FTP_SERVER", hundred + u"yz"_s, hundred},
        {&schema::LastRegion, "REGION_A", u"Süd-Östlich"_s, u"Süd-Östl"_s},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.field);
        const QString field = QString::fromLatin1(row.field);
        Dataset records(db, *row.table);
        ASSERT_TRUE(db.deleteAll(*row.table));
        ASSERT_TRUE(records.reset());
        records.setText(field, row.text);
        ASSERT_TRUE(records.insert());
        EXPECT_EQ(records.loadText(field), row.kept);
        ASSERT_TRUE(records.reset());
        EXPECT_EQ(records.loadText(field), row.kept) << "as stored";
        // Through save as well: the field takes the long text again on the stored record.
        records.setText(field, u"-"_s + row.text);
        ASSERT_TRUE(records.save());
        ASSERT_TRUE(records.reset());
        EXPECT_EQ(records.loadText(field), (u"-"_s + row.text).left(row.kept.size()));
        auto length =
            db.query(u"SELECT length(%1) FROM %2"_s.arg(field, QLatin1StringView(row.table->name)));
        ASSERT_TRUE(length.next());
        EXPECT_EQ(length.integer(0), row.kept.size()) << "characters, not bytes";
    }
}

TEST_F(DatasetTest, TablesWithoutKeyUpdateTheCurrentRecord)
{
    // Three identical records: only the cursor tells them apart.
    Dataset last(db, schema::LastRegion);
    for (int i = 0; i < 3; ++i) {
        last.clearFields();
        last.setText(u"REGION_A", u"WR 1"_s);
        last.setText(u"BAUMART", u"FI"_s);
        ASSERT_TRUE(last.insert());
    }
    ASSERT_TRUE(last.reset());
    ASSERT_TRUE(last.moveNext());
    last.setText(u"TARIF", u"T2"_s);
    ASSERT_TRUE(last.save());
    ASSERT_TRUE(last.moveNext());
    ASSERT_TRUE(last.deleteCurrent());

    Dataset config(db, schema::Konfiguration);
    ASSERT_TRUE(config.reset());
    config.setText(u"INIT_A", u"ATZ"_s);
    ASSERT_TRUE(config.insert());
    ASSERT_TRUE(config.reset());
    config.setText(u"FTP_NAME", u"förster"_s);
    ASSERT_TRUE(config.save());

    EXPECT_EQ(stored(u"SELECT REGION_A, BAUMART, TARIF FROM Brov_LastRegion ORDER BY rowid"_s),
              Rows({{u"WR 1"_s, u"FI"_s, u"<null>"_s}, {u"WR 1"_s, u"FI"_s, u"T2"_s}}));
    EXPECT_EQ(stored(u"SELECT INIT_A, FTP_NAME FROM Brov_Konfiguration"_s),
              Rows({{u"ATZ"_s, u"förster"_s}}));
}

TEST_F(DatasetTest, EmptyFieldsDifferFromBlankTextAndZero)
{
    Dataset rows(db, schema::Einstellungen);
    rows.setInt(u"ID", 1);
    rows.setText(u"DMSTUFE", u"  "_s);
    rows.setInt(u"BHD", 0);
    ASSERT_TRUE(rows.insert());
    rows.clearFields();
    rows.setInt(u"ID", 2);
    ASSERT_TRUE(rows.insert());
    ASSERT_TRUE(rows.reset(Filter::ordered(u"ID"_s)));

    EXPECT_FALSE(rows.loadIsEmpty(u"DMSTUFE")) << "blank text is a value";
    EXPECT_EQ(rows.loadText(u"DMSTUFE"), u"  "_s);
    EXPECT_FALSE(rows.loadIsEmpty(u"BHD")) << "zero is a value";
    EXPECT_TRUE(rows.loadIsEmpty(u"TARIF"));
    EXPECT_TRUE(rows.loadIsEmpty(u"KUBATUR"));
    EXPECT_EQ(rows.loadFormatted(u"KUBATUR"), u"   0.00"_s);
    EXPECT_EQ(rows.loadFormatted(u"TARIF"), u"     "_s);
    ASSERT_TRUE(rows.moveNext());
    EXPECT_TRUE(rows.loadIsEmpty(u"DMSTUFE"));
    EXPECT_TRUE(rows.loadIsEmpty(u"BHD"));
    EXPECT_EQ(rows.loadInt(u"ID"), 2);
}

TEST_F(DatasetTest, LoadFormattedUsesTheFieldDescriptor)
{
    Dataset rows(db, schema::Einstellungen);
    rows.setInt(u"ID", 12);
    rows.setInt(u"KUBATUR", -45);
    rows.setInt(u"HS3", 250);
    rows.setInt(u"BHDBIS", 7);
    rows.setText(u"REGION_A", u"Süd"_s);
    rows.setText(u"TARIF", u" 42"_s);
    ASSERT_TRUE(rows.insert());
    ASSERT_TRUE(rows.reset());
    struct Row {
        const char16_t* field;
        QString formatted;
    };
    const Row expected[] = {
        {u"ID", u"    12"_s},  {u"KUBATUR", u"  -0.45"_s},    {u"HS3", u"  2.50"_s},
        {u"BHDBIS", u"  7"_s}, {u"REGION_A", u"Süd     "_s},  {u"TARIF", u" 42  "_s},
        {u"HS4", u"  0.00"_s}, {u"NO_SUCH_FIELD", QString()},
    };
    for (const Row& row : expected)
        EXPECT_EQ(rows.loadFormatted(row.field), row.formatted)
            << QString::fromUtf16(row.field).toStdString();
}

TEST_F(DatasetTest, UnknownFieldsAreNeitherReadNorWritten)
{
    Dataset rows(db, schema::Region);
    rows.setInt(u"ID", 1);
    rows.setText(u"NO_SUCH_FIELD", u"x"_s);
    rows.setText(u"baumart", u"KI"_s);
    ASSERT_TRUE(rows.insert());
    EXPECT_TRUE(rows.loadIsEmpty(u"NO_SUCH_FIELD"));
    EXPECT_EQ(stored(u"SELECT ID, BAUMART FROM Brov_Region"_s), Rows({{u"1"_s, u"KI"_s}}));
}

} // namespace
} // namespace brovant
