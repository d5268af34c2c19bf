// Data transfer: the ActiveSync channel. The handheld and the office PC's program meet in the
// handheld's "\Export" and "\Import" through empty marker files: the handheld asks with
// "export.tmp" or "import.tmp", the PC answers "start.tmp" when it begins and "end.tmp" when it
// has taken or delivered the list files. Writing and reading the list files, and choosing the
// channel, are other classes' business.
#pragma once

#include <QString>

namespace brovant {

class Clock;
class DeviceRoot;
class KeepAwake;
class MessageDialogs;

class ActiveSyncChannel {
public:
    // The markers: the request in "\Export" for a send, in "\Import" for a receive; the PC's
    // two answers in the same folder.
    static constexpr const char16_t* kSendRequest = u"export.tmp";
    static constexpr const char16_t* kReceiveRequest = u"import.tmp";
    static constexpr const char16_t* kStartMarker = u"start.tmp";
    static constexpr const char16_t* kEndMarker = u"end.tmp";

    // The PC gets this many rounds to start, then this many to finish.
    static constexpr int kRoundMs = 1000;
    static constexpr int kStartRounds = 60;
    static constexpr int kEndRounds = 120;
    // Within a round the markers are looked for this often, so a transfer goes on as soon as
    // the PC has answered; the time-outs stay the same.
    static constexpr int kStepMs = 50;

    // `keepAwake` (may be null) keeps the handheld from suspending while it waits for the PC.
    // Everything passed must outlive the channel.
    ActiveSyncChannel(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock,
                      KeepAwake* keepAwake = nullptr);

    // The files of "\Export" to the PC; true when the PC confirmed. "\Export" is emptied in
    // either case: after a failure the lists are still marked and the next send writes them
    // again.
    bool send();
    // The PC's files into an emptied "\Import"; true when the PC confirmed. After a failure
    // "\Import" is emptied again, so half a delivery is never imported.
    bool receive();

private:
    // Looks for the file every step until `rounds` rounds have been waited.
    bool waitFor(const QString& devicePath, int rounds);
    void createMarker(const QString& devicePath);
    void emptyFolder(const QString& deviceFolder);
    void showFailure();

    const DeviceRoot& m_root;
    MessageDialogs& m_dialogs;
    Clock& m_clock;
    KeepAwake* m_keepAwake;
};

} // namespace brovant
