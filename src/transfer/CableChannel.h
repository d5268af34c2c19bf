// Data transfer: list files over the serial cable, and over a dial-up modem for sending. Sends
// "\Export\*.dat" line by line in frames (SerialFrames) and receives frames into "\Import".
// Opening the port is the opener's (Qt SerialPort on the device, a scripted line in tests);
// choosing this channel, ActiveSync or FTP from the settings is the caller's.
#pragma once

#include "platform/SerialLine.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace brovant {

class Clock;
class DeviceRoot;
class KeepAwake;
class MessageDialogs;
class SettingsStore;

// The line settings of section DUE, resolved from their indexes.
struct CableSettings {
    int port = 10; // 1 to 9: "COMn:"; 10 is ActiveSync, not a serial port
    qint32 baudRate = 38400;
    int dataBits = 8;
    int stopBits = 1;

    static CableSettings fromStore(const SettingsStore& store);
    // Index tables of the settings screen; out-of-range indexes give the defaults.
    static qint32 baudRateAt(int index);
    static int dataBitsAt(int index);
    static int stopBitsAt(int index);
};

// What a send dials first.
struct ModemSettings {
    QString init;   // MODEM/Init
    QString number; // MODEM/Number%d of the selected entry

    static ModemSettings fromStore(const SettingsStore& store, int selectedEntry);
};

class CableChannel {
public:
    // Opens "COMn:" for a transfer; null when it did not open (the opener shows the notice).
    using PortOpener = std::function<std::unique_ptr<SerialLine>(int port)>;
    // The opener with the line settings of section DUE as they are when the port is opened, so a
    // channel held for the program's lifetime follows the settings screen. `store` must outlive it.
    static PortOpener settingsOpener(const SettingsStore& store, SerialLineOpener open);

    static constexpr const char16_t* kExportPattern = u"\\Export\\*.dat";
    static constexpr const char16_t* kImportFolder = u"\\Import";

    // Rounds and limits of the protocol.
    static constexpr int kEnqRounds = 50;
    static constexpr int kAnswerRounds = 10;
    static constexpr int kMaxRepeats = 10;
    static constexpr int kMaxNaks = 15;
    static constexpr int kNakPauseMs = 100;
    static constexpr int kModemAnswerMs = 1000;
    static constexpr int kConnectRounds = 30;
    static constexpr int kConnectRoundMs = 100;
    static constexpr int kPollMs = 10;
    // A read of up to n bytes waited on the device port for 100 ms plus 1 ms per byte before it
    // gave up; the stated pauses come on top. Reads return as soon as a byte is there.
    static constexpr int readWaitMs(int pauseMs, int maxBytes = 1000)
    {
        return pauseMs + 100 + maxBytes;
    }

    CableChannel(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock, PortOpener opener,
                 int port);

    // Sending dials this modem first (transfer mode 2); receiving never dials.
    void dialFirst(ModemSettings modem) { m_modem = std::move(modem); }
    // Suspend stays off while a transfer runs.
    void setKeepAwake(KeepAwake* keepAwake) { m_keepAwake = keepAwake; }

    // "\Export\*.dat" to the office; true when every line was accepted and EOT went out.
    bool send();
    // Empties "\Import" and fills it from the office; true when the transfer ended with EOT. A
    // header naming a file no list can have (listname::isFileName) gets NAK and ends it.
    bool receive();

    // About the last transfer.
    struct Summary {
        quint64 lines = 0;        // accepted lines, header lines included
        QStringList files;        // files written into "\Import" (receive)
        QStringList refusedNames; // a header name that was refused: the receive failed on it
    };
    const Summary& summary() const { return m_summary; }

private:
    bool dial(SerialLine& line);
    bool sendFiles(SerialLine& line);
    bool sendLine(SerialLine& line, const QByteArray& frame);
    bool receiveFiles(SerialLine& line);
    void showLine(const QString& caption, quint64 line);
    bool fail();

    const DeviceRoot& m_root;
    MessageDialogs& m_dialogs;
    Clock& m_clock;
    PortOpener m_opener;
    int m_port;
    std::optional<ModemSettings> m_modem;
    KeepAwake* m_keepAwake = nullptr;
    Summary m_summary;
};

} // namespace brovant
