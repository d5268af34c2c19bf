// The tool's command forms are relied on from outside.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

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

TEST(Tool, ImportConfigRefusesOtherStructuresAndShowsTheLoadedOne)
{
    TempRoot root;
    root.writeFile(QStringLiteral("bad.dtr"), "TD0STAMM299.DAT\r\na15FI \r\n");
    // The copy it stages and loads: the kill soak's import-config runs.
    expectCommands(QStringLiteral("tool/data/config.txt"), root.path());
}

TEST(Tool, CommandLines)
{
    TempRoot root;
    expectCommands(QStringLiteral("tool/data/command_lines.txt"), root.path(), false);
}

} // namespace
} // namespace brovant::test
