// "brovant-tool new-list" on the demo configuration: the command line's own checks, each way a
// message of the list header's checks reaches standard error (the checks themselves:
// ListHeaderLogicTest), and what a successful run leaves in the database.
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <QDate>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

// The demo configuration makes Forstamt (1), Revier (2), Abteilung (3) and Aufnehmer (12)
// mandatory and assigns tariffs to WR01, WR02, OSTALB, RHEINEB and SCHWARZW.
QStringList complete(const char* name, const QStringList& more = {})
{
    return QStringList{"new-list", QString::fromUtf8(name),
                       "--region", "WR01",
                       "--date",   "01.06.2026",
                       "--field",  "1=Forstamt Musterwald",
                       "--field",  "2=Revier Hirschberg",
                       "--field",  "3=12",
                       "--field",  "12=Anna Probe"}
           + more;
}

TEST(ToolNewList, ChecksInOrderAndWritesOnlyAListThatPassesAll)
{
    TempRoot root;
    const ToolRun imported =
        tool(root.path(), {QStringLiteral("import-config"),
                           QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr")});
    ASSERT_EQ(imported.status, 0) << imported.err.toStdString();

    struct Case {
        const char* name;
        QStringList args;
        int status;
        const char* out;
        const char* err; // what stderr holds, in full
    } const cases[] = {
        {"first list", complete("HIEB01"), 0, "1\n", ""},
        {"name taken", complete("HIEB01"), 1, "",
         "Listenname existiert bereits!\nBitte verwenden Sie einen\nanderen Listennamen.\n"},
        {"mandatory fields missing",
         {"new-list", "L2", "--region", "WR01", "--field", "1=A", "--field", "3=C"},
         1,
         "",
         "Es wurden nicht alle\nPflicht-Kopfdaten eingegeben!\n"
         "Fehlende Felder: 2 Revier, 12 Aufnehmer\n"},
        {"option without its value", complete("L2", {"--factor", "150", "--date"}), 2, "", nullptr},
        {"factor 150", complete("L2", {"--factor", "150", "--field", "16=Bemerkung"}), 0, "2\n",
         ""},
        {"model list exempt", {"new-list", "MODELL"}, 0, "3\n", ""},
        {"field number 17", complete("L3", {"--field", "17=x"}), 2, "", nullptr},
        {"field without number", complete("L3", {"--field", "Revier"}), 2, "", nullptr},
        {"factor not a number", complete("L3", {"--factor", "1.0"}), 2, "", nullptr},
        {"name too long", complete("LANGERNAME"), 2, "", nullptr},
        {"field too long", complete("L3", {"--field", "4=" + QString(41, u'x')}), 2, "", nullptr},
        {"no name given", {"new-list"}, 2, "", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ToolRun r = tool(root.path(), c.args);
        EXPECT_EQ(r.status, c.status) << r.err.toStdString();
        EXPECT_EQ(r.out.toStdString(), c.out);
        if (c.err)
            EXPECT_EQ(r.err.toStdString(), c.err);
        else
            EXPECT_FALSE(r.err.isEmpty());
    }

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
            // Without --date the list is dated today.
            "3|MODELL|" + QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy")) + "|100||||||"
                + "|0|0|T00300",
        }));
}

} // namespace
} // namespace brovant::test
