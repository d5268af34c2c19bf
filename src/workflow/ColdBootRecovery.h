// Workflow: the backup copies start-up offers after a cold boot: when the offer applies,
// where the backup lies (flash or one of the card folders), and copying it over the working
// database or aside as ".bak.cdb". Asking the user is the caller's; writing backups is not ours.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace brovant {

class DeviceRoot;

class ColdBootRecovery {
public:
    static constexpr const char16_t* kFlashFolder = u"\\Built-in Storage";
    static constexpr const char16_t* kFlashBackup = u"\\Built-in Storage\\Brovant.cdb";
    // A clock reset by a cold boot starts in the device's factory year, before this one.
    static constexpr int kFirstTrustedYear = 2005;

    // `onCard` is the profile's Backup/Karte == 1.
    ColdBootRecovery(const DeviceRoot& root, bool onCard);

    // Only a device with flash storage whose clock has been reset gets the offer.
    static bool applies(const DeviceRoot& root, const QDateTime& now);

    // Tried after the device's own paths: the newest numbered backup the program wrote.
    void addCandidate(const QString& devicePath) { m_candidates << devicePath; }

    // The backup paths in the order they are tried.
    const QStringList& candidates() const { return m_candidates; }
    // The first candidate that exists, or empty when there is none.
    QString locate() const;

    // Copies the backup over the working database (the connection must be closed); the first
    // candidate that copies wins. False when none did.
    bool restore() const;
    // Copies the backup to its ".bak.cdb" neighbour on the same medium, so the next automatic
    // backup cannot overwrite the only copy of the old data.
    bool keepAside() const;

    // "\Speicherkarte\Brovant.cdb" -> "\Speicherkarte\Brovant.bak.cdb".
    static QString asideName(const QString& backupPath);

private:
    const DeviceRoot& m_root;
    QStringList m_candidates;
};

} // namespace brovant
