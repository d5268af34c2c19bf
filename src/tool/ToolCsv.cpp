#include "tool/ToolCsv.h"

#include "data/FieldDescriptor.h"
#include "tool/ToolCommands.h"

#include "workflow/ListSelectionLogic.h"
#include "masterdata/DeviceSession.h"
#include "tool/ConsoleDialogs.h"
#include "transfer/ListCsvExport.h"

#include <QCommandLineParser>

namespace brovant {
namespace {

int exportCsv(DeviceSession& session, const QString& name, QTextStream& out, QTextStream& err)
{
    // The first list in table order whose number, without its padding, is the one asked for.
    const QString wanted = withoutTrailingBlanks(name);
    std::optional<std::int64_t> listId;
    for (const auto& row : ListSelectionLogic::readRows(session.database())) {
        if (withoutTrailingBlanks(row.listNo) == wanted) {
            listId = row.idFile;
            break;
        }
    }
    if (!listId) {
        err << "Liste nicht gefunden: " << name << '\n';
        return 1;
    }
    ConsoleDialogs dialogs(err, false);
    const std::optional<QString> path =
        ListCsvExport(session.root(), session.database(), session.store(), dialogs).write(*listId);
    if (!path)
        return 1;
    out << *path << '\n';
    return 0;
}

} // namespace

QString csvCommandHelp()
{
    return QStringLiteral("\n  export-csv LISTE_NR  write the list as <LISTE_NR>.csv (UTF-8, "
                          "semicolons) for a spreadsheet"
                          "\n                       into the printer folder (\\My Documents); "
                          "prints its device path");
}

int runCsvCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                  QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    if (args.value(0) != QLatin1StringView("export-csv") || args.size() != 2)
        return -1;
    if (!openDatabaseOrReport(session, err))
        return 1;
    return exportCsv(session, args[1], out, err);
}

} // namespace brovant
