// Data transfer: the office PC's end of the ActiveSync handshake, the peer of ActiveSyncChannel,
// on the handheld's folders as the PC sees them. It waits for the handheld's request, answers
// "start.tmp", copies the list files out of "\Export" or into "\Import" and ends with "end.tmp".
// Choosing the folders and telling the user are the caller's.
#pragma once

#include <QString>
#include <QStringList>

namespace brovant {

class Clock;
class DeviceRoot;

class ActiveSyncOffice {
public:
    struct Result {
        bool ok = false;
        QString error;     // why not, for the user
        QStringList files; // copied, in order
    };

    // Both must outlive the peer.
    ActiveSyncOffice(const DeviceRoot& root, Clock& clock);

    // The device paths of the requests that collect and deliver wait for.
    static QString collectRequest();
    static QString deliverRequest();

    // Waits up to waitMs for the handheld's send, then copies its list files into targetDir. One
    // name no list can have (listname::isFileName) fails the collect before anything is copied;
    // without "end.tmp" the handheld's send fails and its lists stay marked.
    Result collect(const QString& targetDir, int waitMs);
    // Waits up to waitMs for the handheld's receive, then copies `files` into its "\Import".
    Result deliver(const QStringList& files, int waitMs);

private:
    // Waits for the request and answers "start.tmp"; false with the error in `result`.
    bool begin(const QString& folder, const QString& request, int waitMs, Result& result);
    // Creates the marker `name` in `folder`; false with the error in `result`.
    bool answer(const QString& folder, const char16_t* name, Result& result);

    const DeviceRoot& m_root;
    Clock& m_clock;
};

} // namespace brovant
