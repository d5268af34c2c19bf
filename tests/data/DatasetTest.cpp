#include "data/Dataset.h"
#include "data/DataTestSupport.h"
#include "data/Schema.h"

#include <gtest/gtest.h>

#include <vector>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using Ids = std::vector<std::int64_t>;

class DatasetTest : public test::OpenDatabase {
protected:
    using Values = std::initializer_list<std::pair<const char16_t*, FieldValue>>;
    // Sets the named buffers; `fresh` empties all others first.
    static void put(Dataset& d, Values values, bool fresh = true)
    {
        if (fresh)
            d.clearFields();
        for (const auto& [field, value] : values)
            d.setValue(field, value);
    }

    // ID, list, species, BHD; stored order differs from ID order, so the two are told apart.
    void addTrees()
    {
        const std::tuple<int, int, QString, int> trees[] = {{3, 1, "FI", 30}, {1, 1, "KI", 45},
                                                            {5, 2, "FI", 22}, {2, 1, "FI", 45},
                                                            {4, 2, "BU", 60}, {6, 1, "FI", 12}};
        Dataset rows(db, schema::Holzdaten);
        for (const auto& [id, list, species, bhd] : trees) {
            put(rows, {{u"ID", id}, {u"ID_FILE", list}, {u"BAUMART", species}, {u"BHD", bhd}});
            ASSERT_TRUE(rows.insert()) << db.lastError().toStdString();
        }
    }

    // The IDs from the first record to the last (or back); bounded, so a loop cannot hang.
    static Ids walk(Dataset& rows, bool back = false)
    {
        Ids ids;
        for (bool ok = back ? rows.moveLast() : rows.moveFirst();
             ok && !rows.eof() && ids.size() <= size_t(rows.count());
             ok = back ? rows.movePrevious() : rows.moveNext())
            ids.push_back(rows.loadInt(u"ID"));
        return ids;
    }

    // Rows as read by SQLite itself: cells joined by blanks, rows by '|'.
    QString stored(const QString& sql)
    {
        db.close();
        QStringList rows;
        for (const QStringList& row : test::rawRows(dir.file, sql))
            rows << row.join(u' ');
        EXPECT_TRUE(db.open());
        return rows.join(u'|');
    }
};

TEST_F(DatasetTest, FiltersSelectAndOrderTheRecordsAndTheCursorStopsAtBothEnds)
{
    addTrees();
    const std::tuple<const char*, Filter, Ids> rows[] = {
        {"all in stored order", Filter::all(), {3, 1, 5, 2, 4, 6}},
        {"ordered", Filter::ordered(u"ID"_s), {1, 2, 3, 4, 5, 6}},
        {"ties keep stored order", Filter::ordered(u"BHD DESC"_s), {4, 1, 2, 3, 5, 6}},
        {"one list", Filter::byList(2), {5, 4}},
        {"bound values",
         {u"BAUMART = ? AND BHD >= ?"_s, {FieldValue(u"FI"_s), FieldValue(22)}, u"BHD"_s},
         {5, 3, 2}},
        {"value looking like sql", {u"BAUMART = ?"_s, {FieldValue(u"FI' OR '1'='1"_s)}, {}}, {}},
        {"no match", Filter::byList(99), {}}};
    Dataset trees(db, schema::Holzdaten);
    for (const auto& [label, filter, ids] : rows) {
        SCOPED_TRACE(label);
        ASSERT_TRUE(trees.reset(filter)) << db.lastError().toStdString();
        EXPECT_EQ(trees.count(), int(ids.size()));
        EXPECT_EQ(trees.eof(), ids.empty()) << "after reset";
        EXPECT_EQ(trees.loadInt(u"ID"), ids.empty() ? 0 : ids.front()) << "stands on the first";
        EXPECT_EQ(walk(trees), ids);
        EXPECT_TRUE(trees.eof()) << "past the last record";
        EXPECT_EQ(walk(trees, true), Ids(ids.rbegin(), ids.rend()));
        EXPECT_EQ(trees.moveFirst(), !ids.empty());
        EXPECT_EQ(trees.moveLast(), !ids.empty());
    }
    EXPECT_FALSE(trees.reset({u"NO_SUCH_FIELD = ?"_s, {FieldValue(1)}, {}}));
    EXPECT_TRUE(trees.eof());
    EXPECT_TRUE(trees.loadIsEmpty(u"ID")) << "a failed reset leaves no record";

    ASSERT_TRUE(trees.reset(Filter::byList(2))); // IDs 5, 4
    // Each move with the ID it lands on; 0: off either end, where no values are left.
    const std::pair<char, int> steps[] = {{'N', 4}, {'N', 0}, {'N', 0}, {'P', 4},
                                          {'F', 5}, {'P', 0}, {'L', 4}, {'P', 5}};
    for (const auto& [move, id] : steps) {
        SCOPED_TRACE(move);
        const bool ok = move == 'N'   ? trees.moveNext()
                        : move == 'P' ? trees.movePrevious()
                        : move == 'F' ? trees.moveFirst()
                                      : trees.moveLast();
        EXPECT_EQ(std::tuple(ok, trees.eof(), trees.loadInt(u"ID"), trees.loadIsEmpty(u"BAUMART")),
                  std::tuple(id != 0, id == 0, id, id == 0));
    }
}

TEST_F(DatasetTest, InsertSaveAndDeleteWorkOnTheCurrentRecord)
{
    addTrees();
    Dataset trees(db, schema::Holzdaten);
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    trees.moveTo(2);
    put(trees, {{u"ID", 7}, {u"ID_FILE", 2}, {u"BAUMART", u"TA"_s}, {u"KUBATUR", 135}});
    ASSERT_TRUE(trees.insert());
    // Appended, and the new record is the current one.
    EXPECT_EQ(std::tuple(trees.count(), trees.position(), trees.eof(), trees.loadInt(u"ID")),
              std::tuple(7, 6, false, 7));
    EXPECT_EQ(trees.loadFormatted(u"KUBATUR"), u"   1.35"_s);
    EXPECT_TRUE(trees.loadIsEmpty(u"PARZ")) << "cleared fields stay empty";
    EXPECT_TRUE(trees.movePrevious());
    EXPECT_EQ(trees.loadInt(u"ID"), 6);

    ASSERT_TRUE(trees.reset(Filter::byList(1))); // IDs 3, 1, 2, 6
    ASSERT_TRUE(trees.moveNext());
    put(trees, {{u"BHD", 99}, {u"BAUMART", u"DOU"_s}}, false);
    ASSERT_TRUE(trees.save());
    EXPECT_EQ(trees.loadInt(u"ID"), 1) << "the cursor stays";
    ASSERT_TRUE(trees.moveLast());
    trees.setInt(u"BHD", 13);
    ASSERT_TRUE(trees.save());
    EXPECT_EQ(stored(u"SELECT ID, ID_FILE, BAUMART, BHD, KUBATUR, PARZ FROM Brov_Holzdaten "
                     "ORDER BY rowid"_s),
              u"3 1 FI 30 <null> <null>|1 1 DOU 99 <null> <null>|5 2 FI 22 <null> <null>|"
              "2 1 FI 45 <null> <null>|4 2 BU 60 <null> <null>|6 1 FI 13 <null> <null>|"
              "7 2 TA <null> 135 <null>"_s);

    // Deleting moves to the record that followed: the last, the first, one in the middle.
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    const std::tuple<int, std::int64_t, Ids> deletes[] = {
        {6, 0, {1, 2, 3, 4, 5, 6}}, {0, 2, {2, 3, 4, 5, 6}}, {2, 5, {2, 3, 5, 6}}};
    for (const auto& [position, current, remaining] : deletes) {
        SCOPED_TRACE(position);
        ASSERT_TRUE(trees.moveTo(position));
        ASSERT_TRUE(trees.deleteCurrent());
        EXPECT_EQ(std::tuple(trees.count(), trees.eof(), trees.loadInt(u"ID")),
                  std::tuple(int(remaining.size()), current == 0, current));
        EXPECT_EQ(walk(trees), remaining);
    }
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    EXPECT_EQ(walk(trees), Ids({2, 3, 5, 6})) << "as stored";

    // Without a current record nothing is written.
    ASSERT_TRUE(trees.reset(Filter::byList(99)));
    trees.setInt(u"BHD", 1);
    EXPECT_FALSE(trees.save());
    EXPECT_FALSE(trees.deleteCurrent());
}

TEST_F(DatasetTest, TextLongerThanItsFieldIsCutToItsCharacters)
{
    const QString hundred = QString(99, u'x') + u'ö';
    const std::tuple<const TableDescriptor*, const char16_t*, QString, QString> rows[] = {
        {&schema::Holzdaten, u"BAUMART", u"FICHTE"_s, u"FIC"_s},
        {&schema::Holzdaten, u"BAUMART", u"ÄÖÜß"_s, u"ÄÖÜ"_s},
        {&schema::Holzdaten, u"PARZ", u"12345"_s, u"12345"_s},
        {&schema::Kopfdaten, u"LISTE_NR", u"1234567890"_s, u"12345678"_s},
        {&schema::Kopfdaten, u"STRUKTUR", u"T00300x"_s, u"T00300"_s},
        {&schema::Konfiguration, u"FTP_SERVER", hundred + u"yz"_s, hundred},
        {&schema::LastRegion, u"REGION_A", u"Süd-Östlich"_s, u"Süd-Östl"_s}};
    for (const auto& [table, field, text, kept] : rows) {
        SCOPED_TRACE(kept.toStdString());
        Dataset records(db, *table);
        ASSERT_TRUE(db.deleteAll(*table));
        ASSERT_TRUE(records.reset());
        records.setText(field, text);
        ASSERT_TRUE(records.insert());
        EXPECT_EQ(records.loadText(field), kept);
        ASSERT_TRUE(records.reset());
        EXPECT_EQ(records.loadText(field), kept) << "as stored";
        records.setText(field, u"-"_s + text);
        ASSERT_TRUE(records.save());
        ASSERT_TRUE(records.reset());
        EXPECT_EQ(records.loadText(field), (u"-"_s + text).left(kept.size())) << "saved";
    }
}

TEST_F(DatasetTest, TablesWithoutKeyUpdateTheCurrentRecordAndFieldBuffersFormat)
{
    // Three identical records: only the cursor tells them apart.
    Dataset last(db, schema::LastRegion);
    for (int i = 0; i < 3; ++i) {
        put(last, {{u"REGION_A", u"WR 1"_s}, {u"BAUMART", u"FI"_s}});
        ASSERT_TRUE(last.insert());
    }
    ASSERT_TRUE(last.reset());
    ASSERT_TRUE(last.moveNext());
    last.setText(u"TARIF", u"T2"_s);
    ASSERT_TRUE(last.save());
    ASSERT_TRUE(last.moveNext());
    ASSERT_TRUE(last.deleteCurrent());

    EXPECT_EQ(stored(u"SELECT REGION_A, BAUMART, TARIF FROM Brov_LastRegion ORDER BY rowid"_s),
              u"WR 1 FI <null>|WR 1 FI T2"_s);

    // Field buffers format their values and tell empty from blank and zero.
    Dataset rows(db, schema::Einstellungen);
    put(rows, {{u"ID", 12},
               {u"KUBATUR", -45},
               {u"HS3", 250},
               {u"BHDBIS", 7},
               {u"region_a", u"Süd"_s},
               {u"TARIF", u" 42"_s},
               {u"DMSTUFE", u"  "_s},
               {u"BHD", 0},
               {u"NO_SUCH_FIELD", u"x"_s}});
    ASSERT_TRUE(rows.insert());
    put(rows, {{u"ID", 13}});
    ASSERT_TRUE(rows.insert());
    ASSERT_TRUE(rows.reset(Filter::ordered(u"ID"_s)));
    const auto empties = [&rows] {
        QStringList out;
        for (const char16_t* f : {u"DMSTUFE", u"BHD", u"HS4", u"BAUMART", u"NO_SUCH_FIELD"})
            out << (rows.loadIsEmpty(f) ? QString::fromUtf16(f) : QString());
        return out.join(u' ').simplified();
    };
    QStringList formatted;
    for (const char16_t* f : {u"ID", u"KUBATUR", u"HS3", u"BHDBIS", u"REGION_A", u"TARIF", u"HS4",
                              u"DMSTUFE", u"BHD", u"BAUMART"})
        formatted << rows.loadFormatted(f);
    EXPECT_EQ(formatted.join(u'|'),
              u"    12|  -0.45|  2.50|  7|Süd     | 42  |  0.00|  |  0|   "_s);
    EXPECT_TRUE(rows.loadFormatted(u"NO_SUCH_FIELD").isNull());
    EXPECT_EQ(rows.loadText(u"DMSTUFE"), u"  "_s);
    EXPECT_EQ(empties(), u"HS4 BAUMART NO_SUCH_FIELD"_s) << "blank text and zero are values";
    ASSERT_TRUE(rows.moveNext());
    EXPECT_EQ(rows.loadInt(u"ID"), 13);
    EXPECT_EQ(empties(), u"DMSTUFE BHD HS4 BAUMART NO_SUCH_FIELD"_s);
    EXPECT_EQ(stored(u"SELECT ID, REGION_A, BHD, TARIF FROM Brov_Einstellungen ORDER BY ID"_s),
              u"12 Süd 0  42|13 <null> <null> <null>"_s);
}

} // namespace
} // namespace brovant
