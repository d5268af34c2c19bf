#include "tool/ToolBackup.h"
#include "tool/ToolCommands.h"

#include "device/BackupService.h"
#include "device/DeviceRoutes.h"
#include "masterdata/DeviceSession.h"
#include "tool/ConsoleDialogs.h"

#include <QCommandLineParser>

namespace brovant {

namespace {

const QString kAuto = QStringLiteral("auto");
const QString kManual = QStringLiteral("manual");

} // namespace

QString backupCommandsHelp()
{
    return QStringLiteral("\n  backup [--auto|--manual]"
                          "\n                       make a backup (manual unless --auto)"
                          "\n  backups              list the backups as the restore screen does"
                          "\n  restore NAME         restore the backup NAME (0001_Auto.cdb)");
}

void addBackupOptions(QCommandLineParser& parser)
{
    parser.addOption({kAuto, QStringLiteral("backup: an automatic backup.")});
    parser.addOption({kManual, QStringLiteral("backup: a manual backup (the default).")});
}

int runBackupCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                     QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    const QString command = args.value(0);
    const bool backup = command == QLatin1StringView("backup") && args.size() == 1;
    const bool list = command == QLatin1StringView("backups") && args.size() == 1;
    const bool restore = command == QLatin1StringView("restore") && args.size() == 2;
    if (!backup && !list && !restore)
        return -1;
    if (!backup && (parser.isSet(kAuto) || parser.isSet(kManual))) {
        err << "--auto und --manual gelten nur für backup\n";
        return 2;
    }
    if (parser.isSet(kAuto) && parser.isSet(kManual)) {
        err << "--auto oder --manual, nicht beides\n";
        return 2;
    }

    ConsoleDialogs dialogs(err, false);
    // Decided as start-up decides it.
    const bool getac = session.root().isFile(QString::fromUtf16(DeviceRoutes::kGetacLibrary));
    BackupService service(session, dialogs, getac);
    if (list) {
        if (service.folderOrNotice().isEmpty())
            return 1;
        for (const BackupService::Entry& entry : service.entries())
            out << entry.display() << '\n';
        return 0;
    }
    if (!openDatabaseOrReport(session, err))
        return 1;
    if (backup) {
        const auto kind =
            parser.isSet(kAuto) ? BackupService::Kind::Automatic : BackupService::Kind::Manual;
        if (!service.backup(kind))
            return 1;
        out << DeviceRoot::join(service.folder(), service.lastBackup()) << '\n';
        return 0;
    }
    return service.restore(args[1]) ? 0 : 1;
}

} // namespace brovant
