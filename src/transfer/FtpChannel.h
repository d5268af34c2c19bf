// Data transfer: the FTP channel (transfer mode 3). Sends the files of "\Export" to the office's
// FTP server and fetches the configuration file into "\Import\STAMM.DAT", through libcurl in
// passive, binary mode, with the dial-up connection "GPRS" around each operation. It does not
// choose the channel (the settings do) nor mark or import anything.
//
// Settings: section FTP (Server, Name, Password, Directory, Directory2). The default Server is
// "ftp.example.com", a name reserved for examples: a fresh device that was never configured
// cannot hand a forester's lists to somebody else's server, it fails with a notice instead.
//
// "Fehler:%ld" after a failed connect shows libcurl's error number (man libcurl-errors), which
// covers the cases where the server never answered: 3 bad Server setting, 6 host not found,
// 7 connection refused, 28 time-out, 42 "Abbruch" while logging in, 64 server without TLS for
// "ftps://", 67 login refused.
#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace brovant {

class Clock;
class DeviceRoot;
class MessageDialogs;
class SettingsStore;

// The dial-up step around a transfer. Its result is not checked: a device on a network that
// needs no dialling still transfers.
class Dialer {
public:
    virtual ~Dialer() = default;
    virtual void dial(const QString& entry) = 0;
    virtual void hangUp(const QString& entry) = 0;
};

// The entry is the NetworkManager connection of that name, brought up and down with nmcli where
// nmcli exists and NetworkManager runs; elsewhere both steps do nothing.
class NetworkManagerDialer final : public Dialer {
public:
    void dial(const QString& entry) override;
    void hangUp(const QString& entry) override;

private:
    bool m_dialled = false;
};

// Where the Server setting points: "host" (port 21), "host:port", "[v6]:port", each optionally
// after "ftp://", or after "ftps://" for explicit TLS (AUTH TLS on the FTP port, required).
struct FtpServer {
    QString host;
    int port = 21;
    bool tls = false;

    static std::optional<FtpServer> parse(const QString& setting);
    // "ftp://host:port/" as libcurl wants it (IPv6 hosts in brackets).
    QString baseUrl() const;

    bool operator==(const FtpServer&) const = default;
};

// GPRS cannot be told from a dead line quickly; these keep a lost or trickling server from
// hanging the screen, and a runaway file from filling the card, while allowing a slow but moving
// transfer. Reaching one ends the send or fetch with its usual notice.
struct FtpTimeouts {
    static constexpr int kMinBytesPerSecond = 10;
    int connectSeconds = 15;
    int responseSeconds = 30; // waiting for a reply on the control connection
    int stallSeconds = 30;    // below kMinBytesPerSecond this long aborts a transfer
    int totalMs = 30 * 60 * 1000;            // one whole send or fetch, logging in included
    qint64 maxFetchBytes = qint64(50) << 20; // far above any configuration file
};

class FtpChannel {
public:
    using Timeouts = FtpTimeouts;
    static constexpr const char16_t* kDialEntry = u"GPRS";

    // `dialer` null: the system's NetworkManagerDialer; `clock` null: the system's, for the
    // whole-transfer limit.
    FtpChannel(const DeviceRoot& root, const SettingsStore& settings, MessageDialogs& dialogs,
               Dialer* dialer = nullptr, Timeouts timeouts = {}, Clock* clock = nullptr);
    ~FtpChannel();
    FtpChannel(const FtpChannel&) = delete;
    FtpChannel& operator=(const FtpChannel&) = delete;

    // Every file of "\Export" but "export.tmp" to "<Directory>/<name>"; true when all were put.
    // Files already put stay on the server after a failure; "\Export" is left as it is. Both
    // operations offer "Abbruch" on the info window; a cancel ends them as a failure does.
    [[nodiscard]] bool send();
    // "<Directory2>/STAMM.DAT", else ".../stamm.dat", into "\Import\STAMM.DAT" after emptying
    // "\Import"; the file appears only when complete. True when it was fetched.
    [[nodiscard]] bool fetchConfiguration();

private:
    class Session;
    std::unique_ptr<Session> open();

    const DeviceRoot& m_root;
    const SettingsStore& m_settings;
    MessageDialogs& m_dialogs;
    std::unique_ptr<Dialer> m_ownDialer;
    Dialer& m_dialer;
    Timeouts m_timeouts;
    std::unique_ptr<Clock> m_ownClock;
    Clock& m_clock;
};

} // namespace brovant
