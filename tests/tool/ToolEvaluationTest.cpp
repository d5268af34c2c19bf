// "brovant-tool tally" and "brovant-tool totals" on the demo configuration: trees saved through
// the tally's checks, refused ones leaving the list as it was, and the totals screen's rows.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <gtest/gtest.h>

namespace brovant::test {

TEST(ToolEvaluation, TalliedTreesShowInTheTotalsRefusedOnesNowhere)
{
    TempRoot root;
    // Correction factor 90, so the totals show each record truncated on its own.
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}, {"--factor", "90"}), "");
    ASSERT_EQ(newList(root.path(), "LEER"), "");
    expectCommands(QStringLiteral("tool/data/evaluation.txt"), root.path());
    EXPECT_EQ(sqlRows(root.host(QStringLiteral("Brovant/Brovant.cdb")),
                      "SELECT ID_FILE, ID, BAUMART, TARIF, STK, BHD, DMSTUFE, KUBATUR"
                      " FROM Brov_Holzdaten ORDER BY rowid"),
              (QStringList{"1|1|FI|FI01|1|26|26|59", "1|2|FI|FI01|1|26|26|59"}));
}

} // namespace brovant::test
