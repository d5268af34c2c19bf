#include "tool/ToolChannels.h"

#include "data/FieldDescriptor.h"
#include "platform/SerialDevice.h"
#include "tool/ToolCommands.h"

#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"
#include "workflow/ListSelectionLogic.h"
#include "workflow/SettingsLogic.h"
#include "data/ListStore.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/PosixSerialLine.h"
#include "tool/ConsoleDialogs.h"
#include "transfer/SettingsChannels.h"

#include <QCommandLineParser>

#include <unistd.h>

namespace brovant {
namespace {

// The console, with two changes for a transfer: the information window's line is shown once and
// not for every transferred line, and the questions the command itself answers (`confirmations`
// of them, in order) are answered yes.
class TransferDialogs final : public MessageDialogs {
public:
    TransferDialogs(QTextStream& err, int confirmations = 0)
        : m_err(err)
        , m_console(err, isatty(STDERR_FILENO))
        , m_confirmations(confirmations)
    {
    }
    int notices() const { return m_console.notices(); }

    void notice(const QString& line1, const QString& line2, const QString& line3,
                const QString& caption, bool sound) override
    {
        m_console.notice(line1, line2, line3, caption, sound);
    }
    Answer yesNo(const QString& line1, const QString& line2, const QString& line3,
                 const QString& yesCaption, const QString& noCaption) override
    {
        if (m_confirmations == 0)
            return m_console.yesNo(line1, line2, line3, yesCaption, noCaption);
        --m_confirmations;
        for (const QString& line : {line1, line2, line3}) {
            if (!line.isEmpty())
                m_err << line << '\n';
        }
        m_err << "-> " << yesCaption << '\n';
        m_err.flush();
        return Answer::Yes;
    }
    Answer question(const QString& line1, const QString& line2, const QString& line3,
                    const QString& caption1, const QString& caption2,
                    const QString& caption3) override
    {
        return m_console.question(line1, line2, line3, caption1, caption2, caption3);
    }
    void info(int showCommand, const QString& line1, const QString& line2,
              const QString& line3) override
    {
        if (showCommand == m_lastShow && line1 == m_lastLine)
            return;
        m_lastShow = showCommand;
        m_lastLine = line1;
        m_console.info(showCommand, line1, line2, line3);
    }
    void progress(double percent) override { m_console.progress(percent); }

private:
    QTextStream& m_err;
    ConsoleDialogs m_console;
    int m_confirmations;
    int m_lastShow = -1;
    QString m_lastLine;
};

// The screens repaint and show the wait cursor; a console has neither.
class ConsoleHost final : public ScreenHost {
public:
    void showMainMenu() override {}
    void setMainMenuActive(bool) override {}
    void createScreens() override {}
    void destroyScreens() override {}
    void setWaitCursor(bool) override {}
    void repaint() override {}
};

// The reload asks for a transfer into "\Import"; here that is always the FTP fetch, whatever
// transfer mode is set, since fetching is what the command was asked for.
class FtpFetchOnly final : public TransferChannels {
public:
    explicit FtpFetchOnly(TransferChannels& channels)
        : m_channels(channels)
    {
    }
    bool receive() override { return m_channels.fetchConfiguration(); }
    bool fetchConfiguration() override { return m_channels.fetchConfiguration(); }
    bool send() override { return false; }

private:
    TransferChannels& m_channels;
};

// The numbers of `lists`, in their order; with `dueOnly` those whose DUE_MARK is 1.
QStringList listNumbers(const std::vector<TableRow>& lists, bool dueOnly = false)
{
    QStringList names;
    for (const TableRow& list : lists) {
        if (!dueOnly || list.number(u"DUE_MARK") == 1)
            names << withoutTrailingBlanks(list.text(u"LISTE_NR"));
    }
    return names;
}

// The list screen's side of a transfer: its logic over the channels the settings choose.
struct ListTransfer {
    explicit ListTransfer(DeviceSession& session, QTextStream& err)
        : dialogs(err)
        , channels(session.root(), session.store(), dialogs, clock, &session.keepAwake(),
                   posixSerialOpener(session.root(), session.store(), dialogs))
        , logic(session.root(), session.database(), session.store(), app, dialogs, clock)
    {
    }

    TransferDialogs dialogs;
    SystemClock clock;
    AppState app;
    SettingsChannels channels;
    ListSelectionLogic logic;
};

int sendLists(DeviceSession& session, QTextStream& out, QTextStream& err)
{
    ListTransfer transfer(session, err);
    const QStringList marked = listNumbers(ListStore(session.database()).all(), true);
    switch (transfer.logic.send(transfer.channels)) {
    case ListSelectionLogic::Transfer::NotStarted:
        return 0; // nothing marked: the notice said so, and nothing failed
    case ListSelectionLogic::Transfer::Failed:
        return 1;
    case ListSelectionLogic::Transfer::Done:
        break;
    }
    for (const QString& name : marked)
        out << name << '\n';
    return transfer.dialogs.notices() == 0 ? 0 : 1;
}

int receiveLists(DeviceSession& session, QTextStream& out, QTextStream& err)
{
    ListTransfer transfer(session, err);
    const std::int64_t before = ListStore(session.database()).lastRowId();
    if (transfer.logic.receive(transfer.channels) != ListSelectionLogic::Transfer::Done)
        return 1;
    // The lists made before a file the import refused stay, so they are named in every case.
    for (const QString& name : listNumbers(ListStore(session.database()).after(before)))
        out << name << '\n';
    return transfer.dialogs.notices() == 0 ? 0 : 1;
}

int fetchConfiguration(DeviceSession& session, QTextStream& err)
{
    // The reload's question is answered by running the command.
    TransferDialogs dialogs(err, 1);
    SystemClock clock;
    AppState app;
    SettingsChannels channels(session.root(), session.store(), dialogs, clock,
                              &session.keepAwake());
    FtpFetchOnly fetch(channels);
    ConsoleHost host;
    SettingsLogic logic(session, app, dialogs);
    return logic.reloadConfiguration(fetch, host) ? 0 : 1;
}

} // namespace

CableChannel::PortOpener posixSerialOpener(const DeviceRoot& root, const SettingsStore& store,
                                           MessageDialogs& dialogs)
{
    // A copy of the root: the opener may outlive the caller's.
    auto open = [root, &dialogs](int port, qint32 baudRate, int dataBits,
                                 int stopBits) -> std::unique_ptr<SerialLine> {
        const QString portName = serialPortName(port);
        const QString device = serialDeviceFile(root, portName);
        QString reason = QStringLiteral("keine Verknüpfung dev/COM%1").arg(port);
        std::unique_ptr<SerialLine> line;
        if (!device.isEmpty())
            line = PosixSerialLine::open(device, baudRate, dataBits, stopBits, &reason);
        if (!line) {
            // The device's notice; the host's reason below it, for whoever set up the link.
            dialogs.notice(
                (QStringLiteral("Schnittstelle ") + portName + QStringLiteral(" kann nicht"))
                    .left(30),
                QStringLiteral("geöffnet werden!"), reason);
        }
        return line;
    };
    return CableChannel::settingsOpener(store, std::move(open));
}

QString channelCommandsHelp()
{
    return QStringLiteral(
        "\n  send                 the list screen's Send over the configured channel: the marked"
        "\n                       lists' files, unmarked only when delivered; prints the lists"
        "\n  receive              the list screen's Receive over the configured channel: the"
        "\n                       office's files into \\Import, then imported; prints the new lists"
        "\n  fetch-config         STAMM.DAT by FTP into \\Import, then loaded as the settings"
        "\n                       screen's reload does (serial ports: the root's dev/COMn links)");
}

int runChannelCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                      QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    if (args.size() != 1)
        return -1;
    const QString command = args.first();
    const bool sending = command == QLatin1StringView("send");
    const bool receiving = command == QLatin1StringView("receive");
    const bool fetching = command == QLatin1StringView("fetch-config");
    if (!sending && !receiving && !fetching)
        return -1;
    if (!openDatabaseOrReport(session, err))
        return 1;
    // What "suspend back" restores after the transfer, as start-up reads it on the device.
    session.keepAwake().readSaved();
    if (sending)
        return sendLists(session, out, err);
    if (receiving)
        return receiveLists(session, out, err);
    return fetchConfiguration(session, err);
}

} // namespace brovant
