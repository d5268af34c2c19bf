// The tool's command forms are relied on from outside.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

const QString kSample = QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr");

QStringList structureRecords(const QString& file)
{
    return sqlRows(file, "SELECT STRUKTUR FROM Struktur");
}

TEST(Tool, InitCreatesFoldersAndDatabase)
{
    TempRoot root;
    const ToolRun r = tool(root.path(), {QStringLiteral("init")});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    for (const char* folder : {"Brovant", "Import", "Export"})
        EXPECT_TRUE(QDir(root.host(QLatin1StringView(folder))).exists()) << folder;
    // What init makes of an existing database: StructureCheckTest.
    EXPECT_EQ(structureRecords(root.host(QStringLiteral("Brovant/Brovant.cdb"))),
              QStringList{"T00300"});
}

TEST(Tool, InitReplacesAForeignDatabaseAndKeepsItAside)
{
    TempRoot root;
    root.writeFile(QStringLiteral("brovant/brovant.cdb"), "not a database at all");
    const ToolRun r = tool(root.path(), {QStringLiteral("init")});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Datenbank und Stammdaten")));
    // Set aside, not lost (the rest: StructureCheck's tests).
    EXPECT_EQ(root.readFile(QStringLiteral("brovant/Brovant.cdb.alt")), "not a database at all");
}

TEST(Tool, ImportConfigAndPrintRegistry)
{
    TempRoot root;
    const ToolRun import = tool(root.path(), {QStringLiteral("import-config"), kSample});
    // The copy it stages and loads: the kill soak's import-config runs.
    ASSERT_EQ(import.status, 0) << import.err.toStdString();

    const ToolRun reg = tool(root.path(), {QStringLiteral("registry")});
    EXPECT_EQ(reg.status, 0);
    EXPECT_TRUE(reg.out.startsWith(QStringLiteral("Windows Registry Editor Version 5.00\n")));
    for (const char* line : {
             "[HKEY_CURRENT_USER\\Software\\NORVA\\Brovant\\HDL_KOPF]\n",
             "\"KOPF00\"=\"Zusatz:             \"\n",
             "[HKEY_CURRENT_USER\\Software\\NORVA\\Brovant\\KONFIG]\n\"Loaded\"=dword:00000001\n",
             "\"Holzart05\"=\"LÄ \"\n",
         })
        EXPECT_TRUE(reg.out.contains(QString::fromUtf8(line))) << line;

    const ToolRun settings = tool(root.path(), {QStringLiteral("settings")});
    EXPECT_EQ(settings.status, 0);
    EXPECT_TRUE(settings.out.contains(QStringLiteral("KONFIG/Loaded: 1")));
    EXPECT_TRUE(settings.out.contains(QStringLiteral("05 \"LÄ \"")));
}

TEST(Tool, ImportConfigWithWrongStructureFails)
{
    TempRoot root;
    root.writeFile(QStringLiteral("bad.dtr"), "TD0STAMM299.DAT\r\na15FI \r\n");
    const ToolRun r =
        tool(root.path(), {QStringLiteral("import-config"), root.host(QStringLiteral("bad.dtr"))});
    EXPECT_NE(r.status, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Falsche Struktur der Konfigura-\ntion!")))
        << r.err.toStdString();
    const ToolRun reg = tool(root.path(), {QStringLiteral("registry")});
    EXPECT_TRUE(reg.out.contains(QStringLiteral("\"Loaded\"=dword:00000000")));

    const ToolRun missing = tool(
        root.path(), {QStringLiteral("import-config"), root.host(QStringLiteral("nowhere.dtr"))});
    EXPECT_NE(missing.status, 0);
}

TEST(Tool, CommandLines)
{
    TempRoot root;
    expectCommands(QStringLiteral("tool/data/command_lines.txt"), root.path(), false);
}

} // namespace
} // namespace brovant::test
