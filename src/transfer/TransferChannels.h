// Data transfer: the ways files travel between the handheld and the office, as the screens see
// them. Receiving and fetching deliver into "\Import"; sending takes "\Export". The channels
// themselves (marker files, serial cable, modem, FTP) implement this interface.
#pragma once

namespace brovant {

class TransferChannels {
public:
    virtual ~TransferChannels() = default;
    // Files from the office into "\Import"; true when the transfer ended properly.
    virtual bool receive() = 0;
    // The configuration file from the FTP server into "\Import\STAMM.DAT".
    virtual bool fetchConfiguration() = 0;
    // The files of "\Export" to the office.
    virtual bool send() = 0;
};

// No channel at all: whatever already lies in "\Import" counts as received (copied there by
// hand or by the desktop), and nothing can be sent.
class NoChannel final : public TransferChannels {
public:
    bool receive() override;
    bool fetchConfiguration() override;
    bool send() override;
};

} // namespace brovant
