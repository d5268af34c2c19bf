#include "tool/ToolLists.h"
#include "tool/ToolCommands.h"

#include "workflow/ListSelectionLogic.h"
#include "masterdata/DeviceSession.h"

#include <QCommandLineParser>

namespace brovant {
namespace {

// One line per list: blanks that only pad the field go, and a tab or line break typed into a
// text cannot split the line.
QString cell(const QString& text)
{
    QString out = text;
    for (QChar& c : out) {
        if (c == u'\t' || c == u'\n' || c == u'\r')
            c = u' ';
    }
    qsizetype end = out.size();
    while (end > 0 && out[end - 1] == u' ')
        --end;
    return out.left(end);
}

} // namespace

QString listsCommandHelp()
{
    return QStringLiteral(
        "\n  lists                every list: ID_FILE, LISTE_NR, DÜ column, ZUSATZ_A "
        "(tab-separated)");
}

int runListsCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                    QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    if (args.size() != 1 || args.first() != QLatin1StringView("lists"))
        return -1;
    if (!openDatabaseOrReport(session, err))
        return 1;
    // The "DÜ" text keeps its leading blanks: it is the column exactly as the screen shows it.
    for (const auto& row : ListSelectionLogic::readRows(session.database())) {
        out << row.idFile << '\t' << cell(row.listNo) << '\t' << row.mark << '\t'
            << cell(row.addition) << '\n';
    }
    return 0;
}

} // namespace brovant
