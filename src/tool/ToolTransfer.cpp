#include "tool/ToolTransfer.h"

#include "data/FieldDescriptor.h"
#include "tool/ToolCommands.h"

#include "workflow/AppState.h"
#include "workflow/ListSelectionLogic.h"
#include "data/ListStore.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "tool/ConsoleDialogs.h"
#include "transfer/ListFileExport.h"
#include "platform/KeepAwake.h"
#include "transfer/ListFileImport.h"

#include <QCommandLineParser>

#include <unistd.h>

namespace brovant {
namespace {

int exportLists(DeviceSession& session, QTextStream& out, QTextStream& err)
{
    Database& db = session.database();
    ConsoleDialogs dialogs(err, isatty(STDERR_FILENO));
    ListFileExport exporter(session.root(), db, session.store(), dialogs);
    std::vector<std::int64_t> marked;
    for (const TableRow& list : ListStore(db).marked())
        marked.push_back(list.number(u"ID_FILE"));
    if (marked.empty()) {
        err << "Keine Liste für DÜ markiert!\n";
        return 0;
    }
    exporter.writeMarked();
    // In table order; two lists of the same number share one file.
    QStringList printed;
    for (const std::int64_t id : marked) {
        const QString path = exporter.filePath(id);
        if (path.isEmpty() || !session.root().isFile(path))
            continue;
        const QString name = path.section(u'\\', -1);
        if (printed.contains(name, Qt::CaseInsensitive))
            continue;
        printed << name;
        out << name << '\n';
    }
    return dialogs.notices() == 0 ? 0 : 1;
}

int importLists(DeviceSession& session, QTextStream& out, QTextStream& err)
{
    Database& db = session.database();
    ListStore lists(db);
    const std::int64_t lastRow = lists.lastRowId();
    ConsoleDialogs dialogs(err, isatty(STDERR_FILENO));
    const KeepAwake::Scope awake(session.keepAwake());
    const ListFileImport::Outcome outcome = ListFileImport(session.root(), db, dialogs).run();
    // The lists made before a file that failed stay, so they are named in every case.
    for (const TableRow& list : lists.after(lastRow))
        out << withoutTrailingBlanks(list.text(u"LISTE_NR")) << '\n';
    return outcome.result == ListFileImport::Result::Imported ? 0 : 1;
}

int toggleMark(DeviceSession& session, const QString& name, QTextStream& out, QTextStream& err)
{
    Database& db = session.database();
    const QString wanted = withoutTrailingBlanks(name);
    const auto rows = ListSelectionLogic::readRows(db);
    int index = -1;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (withoutTrailingBlanks(rows[i].listNo) == wanted) {
            index = int(i);
            break;
        }
    }
    if (index < 0) {
        err << "Liste nicht gefunden: " << name << '\n';
        return 1;
    }
    AppState app;
    SystemClock clock;
    ConsoleDialogs dialogs(err, false);
    ListSelectionLogic logic(session.root(), db, session.store(), app, dialogs, clock);
    logic.build();
    logic.setSelectedRow(index);
    if (!logic.toggleMark())
        return 1;
    const auto list = ListStore(db).at(index);
    if (!list) {
        err << "Datenbank nicht lesbar!\n";
        return 1;
    }
    out << (list->number(u"DUE_MARK") != 0 ? "1" : "0") << '\n';
    return 0;
}

} // namespace

QString transferCommandsHelp()
{
    return QStringLiteral(
        "\n  export-lists         write the files of the marked lists into \\Export (no transfer,"
        "\n                       marks kept); prints the file names"
        "\n  import-lists         read the list files in \\Import as new lists; prints their names"
        "\n  mark LISTE_NR        flip the list's transfer mark; prints the new mark (1 or 0)");
}

int runTransferCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                       QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    const QString command = args.value(0);
    const bool exporting = command == QLatin1StringView("export-lists") && args.size() == 1;
    const bool importing = command == QLatin1StringView("import-lists") && args.size() == 1;
    const bool marking = command == QLatin1StringView("mark") && args.size() == 2;
    if (!exporting && !importing && !marking)
        return -1;
    if (!openDatabaseOrReport(session, err))
        return 1;
    if (exporting)
        return exportLists(session, out, err);
    if (importing)
        return importLists(session, out, err);
    return toggleMark(session, args[1], out, err);
}

} // namespace brovant
