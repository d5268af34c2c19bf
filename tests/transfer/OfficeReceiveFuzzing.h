// The office peer's receive (CableOffice, behind brovant-tool office-receive) fed by a scripted
// device (transfer/SerialScript.h), and what must hold for any script: nothing written outside the
// output folder, and there only after EOT and only plain-named files, each begun by its header
// line; one ACK per accepted line. Shared by the corpus test and the libFuzzer target, so an input
// the fuzzer finds becomes a test case by dropping it into tests/fuzz/corpus/office_receive.
#pragma once

#include "transfer/CableOffice.h"

#include <QByteArrayView>
#include <QMap>
#include <QString>

namespace brovant::test {

class OfficeReceiveProbe {
public:
    // Links left in the output folder before every receive, as in the device's probe.
    static constexpr const char* kLiveLink = "LINK.DAT";
    static constexpr const char* kDanglingLink = "DANGLE.DAT";

    struct Outcome {
        OfficeResult result;
        QByteArray written; // the office's bytes to the device
        bool offeredEot = false;
    };

    // Makes the output folder and a folder beside it below `dir` (an existing, empty folder) and
    // reuses them for every input.
    explicit OfficeReceiveProbe(const QString& dir);

    Outcome receive(QByteArrayView input);
    // Empty when everything that must hold after `outcome` holds, else the first that did not.
    QString verify(const Outcome& outcome) const;
    QString check(QByteArrayView input) { return verify(receive(input)); }

    QString out() const { return m_dir + QStringLiteral("/out"); }
    QString outside() const { return m_dir + QStringLiteral("/outside"); }

private:
    QString m_dir;
    QMap<QString, QByteArray> m_before;
    QString m_setupError;
};

} // namespace brovant::test
