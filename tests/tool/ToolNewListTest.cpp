// "brovant-tool new-list" on the demo configuration: the command line's own checks, each way a
// message of the list header's checks reaches standard error (the checks themselves:
// ListHeaderLogicTest), and what a successful run leaves in the database.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QDate>

#include <gtest/gtest.h>

namespace brovant::test {

TEST(ToolNewList, ChecksInOrderAndWritesOnlyAListThatPassesAll)
{
    TempRoot root;
    ASSERT_EQ(demoDevice(root.path(), {}), "");
    expectCommands(QStringLiteral("tool/data/new_list.txt"), root.path());
    const QString db = root.host(QStringLiteral("Brovant/Brovant.cdb"));
    EXPECT_EQ(
        sqlRows(db, "SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, KOPF1_A, KOPF2_A, "
                    "KOPF3_A, KOPF12_A, KOPF16_A, DUE_MARK, EXPORTED_N_NI, STRUKTUR FROM "
                    "Brov_Kopfdaten"),
        (QStringList{
            "1|HIEB01|01.06.2026|100|WR01|Forstamt Musterwald|Revier Hirschberg|12|Anna "
            "Probe||0|0|T00300",
            "2|L2|01.06.2026|150|WR01|Forstamt Musterwald|Revier Hirschberg|12|Anna "
            "Probe|Bemerkung|0|0|T00300",
            "3|MODELL|" + QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy")) + "|100||||||"
                + "|0|0|T00300",
        }));
}

} // namespace brovant::test
