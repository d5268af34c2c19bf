#include "tool/ToolReport.h"

#include "data/FieldDescriptor.h"
#include "tool/ToolCommands.h"

#include "workflow/ListSelectionLogic.h"
#include "evaluation/Reports.h"
#include "evaluation/Totals.h"
#include "evaluation/print/ReportPrinter.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QGuiApplication>

#include <optional>

namespace brovant {
namespace {

const QString kListingOption = QStringLiteral("listing");
const QString kClassesOption = QStringLiteral("classes");
const QString kTestPageOption = QStringLiteral("test-page");
const QString kCommand = QStringLiteral("report");

std::optional<std::int64_t> findList(Database& db, const QString& name, QTextStream& err)
{
    const QString wanted = withoutTrailingBlanks(name);
    for (const auto& row : ListSelectionLogic::readRows(db)) {
        if (withoutTrailingBlanks(row.listNo) == wanted)
            return row.idFile;
    }
    err << "Liste nicht gefunden: " << name << '\n';
    return std::nullopt;
}

} // namespace

QString reportCommandHelp()
{
    return QStringLiteral(
        "\n  report LISTE_NR (--listing|--classes) OUT.pdf"
        "\n                       the list's printout as PDF: --listing the listing by species and"
        "\n                       class with the assortments (\"Ausdruck\"), --classes the class"
        "\n                       table (\"Sortiment\")"
        "\n  report --test-page OUT.pdf"
        "\n                       the printer test page as PDF");
}

void addReportOptions(QCommandLineParser& parser)
{
    parser.addOption({kListingOption, QStringLiteral("report: the listing (\"Ausdruck\").")});
    parser.addOption({kClassesOption, QStringLiteral("report: the class table (\"Sortiment\").")});
    parser.addOption({kTestPageOption, QStringLiteral("report: the printer test page.")});
}

int runReportCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                     QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    if (args.isEmpty() || args.first() != kCommand)
        return -1;
    const int kinds = int(parser.isSet(kListingOption)) + int(parser.isSet(kClassesOption))
                      + int(parser.isSet(kTestPageOption));
    const bool testPage = parser.isSet(kTestPageOption);
    if (kinds != 1 || (testPage ? args.size() < 2 || args.size() > 3 : args.size() != 3)) {
        err << "report: LISTE_NR, genau eine der Angaben --listing, --classes, --test-page"
               " und die PDF-Datei angeben\n";
        return 2;
    }
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        err << "report: PDF-Ausgabe braucht Qt Gui\n";
        return 1;
    }
    if (!openDatabaseOrReport(session, err))
        return 1;
    const MasterTables tables = loadSettings(session.store(), session.database(), nullptr, nullptr);
    std::int64_t listId = -1;
    if (!testPage) {
        const auto found = findList(session.database(), args[1], err);
        if (!found)
            return 1;
        // As on the screens: a list without trees has nothing to print.
        if (!hasTrees(session.database(), *found)) {
            err << "Keine Daten vorhanden!\n";
            return 1;
        }
        listId = *found;
    }
    const ReportKind kind = testPage                       ? ReportKind::TestPage
                            : parser.isSet(kListingOption) ? ReportKind::Listing
                                                           : ReportKind::ClassTable;
    const ReportSources sources{session.database(), session.store(), tables,
                                QDateTime::currentDateTime()};
    const auto report = reports::build(kind, sources, listId);
    if (!report) {
        err << "Datenbank nicht lesbar!\n";
        return 1;
    }
    const QString file = args.last();
    const int pageLength = reports::pageLength(tables);
    QString error;
    if (!ReportPrinter::writePdf(*report, pageLength, file, &error)) {
        err << "Datei kann nicht erzeugt werden: " << file << " (" << error << ")\n";
        return 1;
    }
    const auto pages = ReportLayout::paginate(*report, pageLength).size();
    out << QFileInfo(file).fileName() << ": " << pages << (pages == 1 ? " Seite" : " Seiten")
        << ", " << ReportLayout::effectivePageLength(pageLength) << " Zeilen je Seite\n";
    return 0;
}

bool isReportCommand(const QStringList& arguments)
{
    // Only the options a report command line may hold; any other makes it another command.
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("root"), QString(), QStringLiteral("DIR")});
    addReportOptions(parser);
    return parser.parse(QStringList{QStringLiteral("brovant-tool")} + arguments)
           && !parser.positionalArguments().isEmpty()
           && parser.positionalArguments().first() == kCommand;
}

std::unique_ptr<QCoreApplication> makeToolApplication(int& argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (!isReportCommand(arguments))
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    return std::make_unique<QGuiApplication>(argc, argv);
}

} // namespace brovant
