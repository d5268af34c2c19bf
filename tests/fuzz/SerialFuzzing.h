// The device's cable receive fed by a scripted far end (SerialScript.h), and what must hold for
// any script: nothing written outside "\Import", only plain-named files there, each begun by its
// header line, one ACK per accepted line, success only after an EOT. Shared by the corpus test and
// the libFuzzer target, so an input the fuzzer finds becomes a test case by dropping it into
// tests/fuzz/corpus/serial_receive.
#pragma once

#include "platform/DeviceRoot.h"
#include "transfer/CableChannel.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QMap>
#include <QString>
#include <QStringList>

namespace brovant::test {

class SerialReceiveProbe {
public:
    // Links left in "\Import" before every receive: one to a file outside the root, one to a
    // file that does not exist (a receive must replace them, never write through them).
    static constexpr const char* kLiveLink = "LINK.DAT";
    static constexpr const char* kDanglingLink = "DANGLE.DAT";

    // What one receive did.
    struct Outcome {
        bool ok = false;
        CableChannel::Summary summary;
        QByteArray written; // the device's bytes to the far end
        bool offeredEot = false;
        QStringList notices;
    };

    // Lays out a device root below `dir` (an existing, empty folder), with files outside
    // "\Import" and one outside the root, and reuses it for every input.
    explicit SerialReceiveProbe(const QString& dir);

    Outcome receive(QByteArrayView input);
    // Empty when everything that must hold after `outcome` holds, else the first that did not.
    QString verify(const Outcome& outcome) const;
    QString check(QByteArrayView input) { return verify(receive(input)); }

    const DeviceRoot& root() const { return m_root; }
    QString outside() const { return m_dir + QStringLiteral("/outside"); }

private:
    QString plantLinks() const;

    QString m_dir;
    DeviceRoot m_root;
    QString m_import;
    QMap<QString, QByteArray> m_before;
    QString m_setupError;
};

} // namespace brovant::test
