#include "tool/ToolCommands.h"

#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/MediumFile.h"
#include "platform/QtMessageLog.h"
#include "platform/RootLocation.h"
#include "tool/ConsoleDialogs.h"
#include "tool/ToolBackup.h"
#include "tool/ToolChannels.h"
#include "tool/ToolCsv.h"
#include "tool/ToolEvaluation.h"
#include "tool/ToolLists.h"
#include "tool/ToolNewList.h"
#include "tool/ToolOffice.h"
#include "tool/ToolReport.h"
#include "tool/ToolTransfer.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <unistd.h>

#ifndef BROVANT_VERSION
#define BROVANT_VERSION "0"
#endif

namespace brovant {
namespace {

constexpr const char* kCommands = R"(Commands:
  init                 create the device root's folders and the database
  import-config FILE   stage FILE as \Brovant\passive.dtr and import it
  registry             print both registry hives in .reg format
  settings             print the loaded settings and master tables)";

bool stage(DeviceSession& session, const QString& source, QTextStream& err)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        err << "Datei kann nicht gelesen werden: " << source << '\n';
        return false;
    }
    QSaveFile out(session.root().hostPath(QString::fromUtf16(ConfigImport::kStagedPath)));
    if (!out.open(QIODevice::WriteOnly)) {
        err << "Datei kann nicht erzeugt werden!\n";
        return false;
    }
    QByteArray chunk;
    while (!(chunk = in.read(1 << 16)).isEmpty()) {
        if (out.write(chunk) != chunk.size())
            break;
    }
    if (in.error() != QFileDevice::NoError || !commitToMedium(out)) {
        err << "Datei kann nicht erzeugt werden!\n";
        return false;
    }
    return true;
}

int importConfig(DeviceSession& session, const QString& file, QTextStream& err)
{
    if (!openDatabaseOrReport(session, err) || !stage(session, file, err))
        return 1;
    ConsoleDialogs dialogs(err, isatty(STDERR_FILENO));
    session.keepAwake().readSaved();
    ConfigImport import(session.root(), session.database(), session.store(), dialogs,
                        &session.keepAwake());
    const auto result = import.run();
    loadSettings(session.store(), session.database(), &dialogs, &session.keepAwake());
    if (result == ConfigImport::Result::NoFile)
        err << "Keine Konfiguration vorhanden!\n";
    return session.configurationLoaded() ? 0 : 1;
}

void printSettings(DeviceSession& session, QTextStream& out)
{
    const SettingsStore& store = session.store();
    const MasterTables tables = loadSettings(store, session.database(), nullptr, nullptr);
    out << "KONFIG/Loaded: " << store.readInt(Setting::KonfigLoaded) << '\n';
    out << "ALLG/Stufenanzahl: " << store.readInt(Setting::Stufenanzahl) << '\n';
    out << "Kopfzeilen:\n";
    for (int i = 0; i <= 19; ++i) {
        const QString label = store.readText(Setting::KopfLabel, i);
        out << QStringLiteral("  KOPF%1 \"%2\"").arg(i, 2, 10, QChar(u'0')).arg(label);
        if (i >= 4)
            out << " Pflicht " << store.readInt(Setting::Plausi, i - 3);
        out << '\n';
    }
    out << tables.describe();

    Dataset rows(session.database(), schema::Einstellungen);
    rows.reset(Filter::byId());
    int counts[5] = {};
    for (rows.moveFirst(); !rows.eof(); rows.moveNext()) {
        const auto type = rows.loadInt(u"ID_TYPE");
        counts[type >= 1 && type <= 4 ? type : 0]++;
    }
    out << "Stammdatensätze: Stufen " << counts[1] << ", Kubaturen " << counts[2]
        << ", Tarifzuordnungen " << counts[3] << ", Sortenkubaturen " << counts[4] << '\n';
    out << "Durchmesserstufen:";
    rows.reset(Filter::byType(schema::DiameterClassRow));
    for (rows.moveFirst(); !rows.eof(); rows.moveNext())
        out << " " << rows.loadFormatted(u"DMSTUFE") << "(≤" << rows.loadInt(u"BHDBIS") << ")";
    out << '\n';
}

} // namespace

bool openDatabaseOrReport(DeviceSession& session, QTextStream& err)
{
    const auto state =
        session.openDatabase([&] { err << "Datenbank und Stammdaten\nwerden gelöscht!\n"; });
    if (state == DeviceSession::DatabaseState::Failed) {
        err << "Datenbank kann nicht geöffnet werden: " << session.database().lastError() << '\n';
        return false;
    }
    return true;
}

int runTool(const QStringList& arguments, QTextStream& out, QTextStream& err,
            SleepInhibitor* inhibitor)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Brovant admin tool\n\n")
                                     + QLatin1StringView(kCommands) + backupCommandsHelp()
                                     + newListCommandHelp() + listsCommandHelp()
                                     + evaluationCommandsHelp() + officeCommandsHelp()
                                     + transferCommandsHelp() + csvCommandHelp()
                                     + channelCommandsHelp());
    const QCommandLineOption rootOption(QStringLiteral("root"),
                                        QStringLiteral("Device root folder (else BROVANT_ROOT)."),
                                        QStringLiteral("DIR"));
    const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help")},
                                        QStringLiteral("Show this help."));
    const QCommandLineOption versionOption({QStringLiteral("v"), QStringLiteral("version")},
                                           QStringLiteral("Show the version."));
    parser.addOption(rootOption);
    parser.addOption(helpOption);
    parser.addOption(versionOption);
    addBackupOptions(parser);
    addNewListOptions(parser);
    addEvaluationOptions(parser);
    addOfficeOptions(parser);
    addReportOptions(parser);
    parser.setApplicationDescription(parser.applicationDescription() + reportCommandHelp());
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("What to do."));

    if (!parser.parse(QStringList{QStringLiteral("brovant-tool")} + arguments)) {
        err << parser.errorText() << '\n';
        return 2;
    }
    if (parser.isSet(helpOption)) {
        out << parser.helpText();
        return 0;
    }
    if (parser.isSet(versionOption)) {
        out << "brovant-tool " << BROVANT_VERSION << '\n';
        return 0;
    }
    const QStringList args = parser.positionalArguments();
    if (args.isEmpty()) {
        err << parser.helpText();
        return 2;
    }
    const QString command = args.first();
    // The office end has no device session of its own.
    if (const int status = runOfficeCommand(parser, out, err); status >= 0)
        return status;
    DeviceSession session(resolveRootDir(parser.value(rootOption)));
    session.keepAwake().setInhibitor(inhibitor);
    qtlog::setFile(session.root().hostPath(QString::fromUtf16(qtlog::kLogFile)));
    for (const QString& aside : session.registry().setAside())
        err << "Registry-Datei beschädigt, beiseitegelegt: " << aside << '\n';

    if (command == QLatin1StringView("init") && args.size() == 1)
        return openDatabaseOrReport(session, err) ? 0 : 1;
    if (command == QLatin1StringView("import-config") && args.size() == 2)
        return importConfig(session, args[1], err);
    if (const int status = runBackupCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runNewListCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runListsCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runEvaluationCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runReportCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runTransferCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runChannelCommand(session, parser, out, err); status >= 0)
        return status;
    if (const int status = runCsvCommand(session, parser, out, err); status >= 0)
        return status;
    if (command == QLatin1StringView("registry") && args.size() == 1) {
        out << session.registry().exportText();
        return 0;
    }
    if (command == QLatin1StringView("settings") && args.size() == 1) {
        if (!openDatabaseOrReport(session, err))
            return 1;
        printSettings(session, out);
        return 0;
    }
    err << "Unbekannter Befehl: " << args.join(u' ') << "\n\n" << parser.helpText();
    return 2;
}

} // namespace brovant
