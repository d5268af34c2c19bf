// "brovant-tool lists": one line per list in table order, with the "DÜ" column as the list
// selection screen shows it (ListSelection.RowsInTableOrderWithTheirColumnTexts).
#include "data/Database.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

struct Head {
    int id;
    QString name;
    QString addition;
    int mark;
    int exported;
};

void addHeads(const QString& file, const std::vector<Head>& heads)
{
    Database db(file, Database::Durability::Relaxed);
    ASSERT_TRUE(db.open());
    Dataset rows(db, schema::Kopfdaten);
    for (const Head& h : heads) {
        rows.clearFields();
        rows.setInt(u"ID_FILE", h.id);
        rows.setText(u"LISTE_NR", h.name);
        rows.setText(u"ZUSATZ_A", h.addition);
        rows.setInt(u"DUE_MARK", h.mark);
        rows.setInt(u"EXPORTED_N_NI", h.exported);
        ASSERT_TRUE(rows.insert());
    }
}

TEST(ToolLists, OneLinePerListInTableOrder)
{
    TempRoot root;
    const QStringList lists = {QStringLiteral("lists")};
    // A fresh device: the database is made, and there is nothing to list.
    ToolRun r = tool(root.path(), lists);
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QString());

    const QString file = root.host(QStringLiteral("Brovant/Brovant.cdb"));
    addHeads(file, {
                       {5, QStringLiteral("WALD"), QStringLiteral("Am Hang"), 0, 0},
                       {2, QStringLiteral("MODELL  "), QString(), 1, 0},
                       {9, QStringLiteral("ALT"), QStringLiteral("zweimal   "), 1, 2},
                       {3, QStringLiteral("B 7"), QStringLiteral("Tab\tim Text"), 0, 4},
                   });
    r = tool(root.path(), lists);
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("5\tWALD\t   0\tAm Hang\n"
                                    "2\tMODELL\tA0\t\n"
                                    "9\tALT\tA2\tzweimal\n"
                                    "3\tB 7\t   4\tTab im Text\n"));
}

} // namespace
} // namespace brovant::test
