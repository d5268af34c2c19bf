// Device services: backup and restore of the database file. Owns the choice of the backup folder
// (storage card or program folder, by device family), the numbering over automatic and manual
// backups with their limits, the copy as a consistent snapshot, and the restore of a chosen
// backup. When backups are made (screens, tally, start-up) is the callers' business.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace brovant {

class Clock;
class DeviceSession;
class MessageDialogs;

class BackupService {
public:
    enum class Kind { Automatic, Manual };

    // Backups of each kind kept when they are made one by one (the test is for equality).
    static constexpr int kAutomaticLimit = 30;
    static constexpr int kManualLimit = 20;
    // The counter runs to this number, then every backup goes and it starts again at 1.
    static constexpr int kLastNumber = 9999;
    static constexpr const char16_t* kPattern = u"????_????.cdb";
    // Where a restore stages the chosen backup while checking it.
    static constexpr const char16_t* kRestoreStaging = u"\\Brovant\\Brovant.cdb.restore";

    struct Entry {
        QString name; // "0001_Auto.cdb"
        QDateTime modified;
        // "%s %02d.%02d.%04d, %02d:%02d" as the restore screen lists it.
        QString display() const;
    };

    // Told after every step of the copy how many pages of how many are done; returning false
    // abandons the copy (a progress display, or a test's injected fault).
    using CopyProgress = std::function<bool(int done, int total)>;

    BackupService(DeviceSession& session, MessageDialogs& dialogs, bool getac);

    // The application object keeps these in step with the messages and the device flag in force.
    void setDialogs(MessageDialogs& dialogs) { m_dialogs = &dialogs; }
    void setGetac(bool getac) { m_getac = getac; }
    void setCopyProgress(CopyProgress progress) { m_progress = std::move(progress); }
    // New backups carry this clock's time rather than the file system's: the program's clock
    // may run apart from the system's when the user's date could not be set there.
    void setClock(const Clock* clock) { m_clock = clock; }

    // The question asked before a manual backup and before automatic backups are turned on.
    static QStringList question();
    // "0001_Auto.cdb": one plain name of the backups' shape.
    static bool isBackupName(const QString& name);

    // The backup folder for the settings in force ("\Storage Card\Brovant_Save",
    // "\Brovant\Save", ...), or empty when a card is wanted and none is there.
    QString folder() const;
    // The same, telling the user when the card is missing.
    QString folderOrNotice();

    // Makes one backup; shows the system's messages on failure. The database is open again
    // afterwards in every outcome.
    bool backup(Kind kind);
    // An automatic backup when Backup/Auto is 1; nothing otherwise. True when one was made.
    bool automaticIfEnabled();
    // The name of the backup this service made last ("0031_Auto.cdb"), empty before the first.
    const QString& lastBackup() const { return m_lastBackup; }

    // The backups of the folder in force, sorted by name.
    std::vector<Entry> entries() const;
    // An automatic backup first, then the chosen backup over the database. A name that is not a
    // plain backup file name, or a file that is not a database of this structure, is refused and
    // the database stays as it is. The database is open again afterwards in every outcome.
    bool restore(const QString& name);

private:
    QString backupTarget(const QString& folder, Kind kind);
    bool writeSnapshot(const QString& folder, const QString& name);
    bool replaceDatabase(const QString& staged);
    void removeStaged();
    bool reopen();

    DeviceSession& m_session;
    MessageDialogs* m_dialogs;
    bool m_getac;
    CopyProgress m_progress;
    const Clock* m_clock = nullptr;
    QString m_lastBackup;
};

} // namespace brovant
