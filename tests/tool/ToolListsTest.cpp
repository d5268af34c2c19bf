// "brovant-tool lists": one line per list in table order, with the "DÜ" column as the list
// selection screen shows it (ListSelection.RowsInTableOrderWithTheirColumnTexts).
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <gtest/gtest.h>

namespace brovant::test {

TEST(ToolLists, OneLinePerListInTableOrder)
{
    TempRoot root;
    // A fresh device: the database is made, and there is nothing to list.
    ToolRun r = tool(root.path(), {"lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QString());
    ASSERT_EQ(sqlRows(root.host(QStringLiteral("Brovant/Brovant.cdb")),
                      "INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, ZUSATZ_A, DUE_MARK, "
                      "EXPORTED_N_NI) VALUES (5, 'WALD', 'Am Hang', 0, 0), (2, 'MODELL  ', '', 1, "
                      "0), (9, 'ALT', 'zweimal   ', 1, 2), (3, 'B 7', 'Tab' || char(9) || 'im "
                      "Text', 0, 4)"),
              QStringList());
    r = tool(root.path(), {"lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("5\tWALD\t   0\tAm Hang\n"
                                    "2\tMODELL\tA0\t\n"
                                    "9\tALT\tA2\tzweimal\n"
                                    "3\tB 7\t   4\tTab im Text\n"));
}

} // namespace brovant::test
