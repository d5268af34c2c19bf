#include "app/Printing.h"

#include "app/ScreenServices.h"
#include "evaluation/print/ReportPrinter.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"

namespace brovant {
namespace {

class WaitCursor {
public:
    explicit WaitCursor(ScreenHost& host)
        : m_host(host)
    {
        m_host.setWaitCursor(true);
    }
    ~WaitCursor() { m_host.setWaitCursor(false); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

private:
    ScreenHost& m_host;
};

} // namespace

std::optional<QString> Printing::run(const ScreenServices& services, ReportKind kind,
                                     std::int64_t listId)
{
    const MasterTables& tables = services.state.tables;
    MessageDialogs& dialogs = services.messages;
    if (reports::askBeforePrinting(tables)
        && dialogs.yesNo(QStringLiteral("Soll der Ausdruck"), QStringLiteral("gestartet werden?"))
               != Answer::Yes)
        return std::nullopt;

    DeviceSession& session = services.session;
    const QString folder = tables.printerPath.trimmed().isEmpty() ? QStringLiteral("\\My Documents")
                                                                  : tables.printerPath;
    std::optional<Report> report;
    QString file;
    bool written = false;
    bool printer = false;
    bool printed = false;
    {
        // The wait cursor and the info window while the pages are drawn, not under a message.
        WaitCursor wait(services.host);
        dialogs.info(MessageDialogs::Show, QStringLiteral("Ausdruck wird erstellt..."));
        const ReportSources sources{session.database(), session.store(), tables,
                                    services.clock.now()};
        report = reports::build(kind, sources, listId);
        dialogs.progress(30);
        if (report) {
            file = DeviceRoot::join(folder, reports::fileName(*report));
            const int pageLength = reports::pageLength(tables);
            written =
                session.root().makeFolder(folder)
                && ReportPrinter::writePdf(*report, pageLength, session.root().hostPath(file));
            dialogs.progress(70);
            // The PDF stays in the printer path either way: the office gets the same pages.
            printer = written && !ReportPrinter::systemPrinter().isEmpty();
            printed = printer && ReportPrinter::printOnSystemPrinter(*report, pageLength);
        }
        dialogs.progress(100);
        dialogs.info(MessageDialogs::Hide, QString());
    }

    if (!report) {
        dialogs.notice(QStringLiteral("Datenbank nicht lesbar!"));
        return std::nullopt;
    }
    if (!written) {
        dialogs.notice(QStringLiteral("Ausdruck kann nicht"), QStringLiteral("gespeichert werden!"),
                       file);
        return std::nullopt;
    }
    if (printer && !printed)
        dialogs.notice(QStringLiteral("Drucker nicht bereit!"), QStringLiteral("Ausdruck in"),
                       file);
    return file;
}

} // namespace brovant
