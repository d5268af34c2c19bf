#include "device/BackupService.h"

#include "data/DatabaseSnapshot.h"
#include "data/StructureCheck.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MediumFile.h"
#include "platform/MessageDialogs.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <initializer_list>

namespace brovant {

namespace {

const QString kTempSuffix = QStringLiteral(".tmp");

QString str(const char16_t* text)
{
    return QString::fromUtf16(text);
}

// The first existing folder of the list, or empty.
QString firstExisting(const DeviceRoot& root, std::initializer_list<const char16_t*> folders)
{
    for (const char16_t* folder : folders) {
        // The device takes whatever its file search finds under that name.
        if (root.exists(str(folder)))
            return str(folder);
    }
    return {};
}

QString onCard(const QString& card)
{
    return card.isEmpty() ? QString() : DeviceRoot::join(card, QStringLiteral("Brovant_Save"));
}

QString backupName(int number, BackupService::Kind kind)
{
    return QStringLiteral("%1_%2.cdb")
        .arg(number, 4, 10, QChar(u'0'))
        .arg(kind == BackupService::Kind::Automatic ? QStringLiteral("Auto")
                                                    : QStringLiteral("Manu"));
}

// The number in a backup's first four characters, read as "%lu" reads it; -1 when there is none.
int leadingNumber(const QString& name)
{
    const QString head = name.left(4).trimmed();
    int digits = 0;
    while (digits < head.size() && head[digits].isDigit() && head[digits].unicode() < 128)
        ++digits;
    return digits == 0 ? -1 : head.left(digits).toInt();
}

struct Scan {
    int smallest = BackupService::kLastNumber + 1;
    int count = 0;
};

// One kind's backups in the folder; `largest` goes on over both kinds.
Scan scan(const DeviceRoot& root, const QString& folder, const QString& pattern, int& largest)
{
    Scan result;
    for (const QString& name :
         root.find(DeviceRoot::join(folder, pattern), DeviceRoot::Kind::Files)) {
        ++result.count;
        const int number = leadingNumber(name);
        if (number < 0)
            continue;
        result.smallest = std::min(result.smallest, number);
        largest = std::max(largest, number);
    }
    return result;
}

// The chosen backup copied for the restore: like any copy of the database it is the owner's
// alone, from its first byte, and takes its name only when complete.
bool stageOwnerOnly(const QString& from, const QString& to)
{
    QFile source(from);
    QSaveFile target(to);
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly)
        || !target.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return false;
    QByteArray buffer(64 * 1024, Qt::Uninitialized);
    for (;;) {
        const qint64 got = source.read(buffer.data(), buffer.size());
        if (got == 0)
            break;
        if (got < 0 || target.write(buffer.constData(), got) != got) {
            target.cancelWriting();
            break;
        }
    }
    return commitToMedium(target);
}

} // namespace

QString BackupService::Entry::display() const
{
    const QDate d = modified.date();
    const QTime t = modified.time();
    const auto two = [](int n) {
        return QStringLiteral("%1").arg(n, 2, 10, QChar(u'0'));
    };
    return QStringLiteral("%1 %2.%3.%4, %5:%6")
        .arg(name, two(d.day()), two(d.month()))
        .arg(d.year(), 4, 10, QChar(u'0'))
        .arg(two(t.hour()), two(t.minute()));
}

BackupService::BackupService(DeviceSession& session, MessageDialogs& dialogs, bool getac)
    : m_session(session)
    , m_dialogs(&dialogs)
    , m_getac(getac)
{
}

QStringList BackupService::question()
{
    return {QStringLiteral("Hiermit werden nur Holzlisten gesichert, für"),
            QStringLiteral("die Konfiguration muss ein Backup gemacht"),
            QStringLiteral("werden. Wollen Sie die Listen sichern?")};
}

bool BackupService::isBackupName(const QString& name)
{
    return DeviceRoot::isSafeFileName(name) && DeviceRoot::wildcardMatch(str(kPattern), name);
}

QString BackupService::folder() const
{
    const DeviceRoot& root = m_session.root();
    const bool card = m_session.store().readInt(Setting::BackupKarte) == 1;
    const QString program = QStringLiteral("\\Brovant\\Save");
    if (!m_getac) {
        if (!card)
            return program;
        return onCard(firstExisting(root, {u"\\Speicherkarte2", u"\\Speicherkarte",
                                           u"\\Storage Card2", u"\\Storage Card"}));
    }
    const bool extended = root.exists(QStringLiteral("\\Extended Storage"));
    if (card && extended)
        return onCard(firstExisting(root, {u"\\Speicherkarte", u"\\Storage Card"}));
    if (card)
        return onCard(firstExisting(root, {u"\\Speicherkarte2", u"\\Storage Card2"}));
    if (extended)
        return onCard(QStringLiteral("\\Extended Storage"));
    const QString found = onCard(firstExisting(root, {u"\\Speicherkarte", u"\\Storage Card"}));
    return found.isEmpty() ? program : found;
}

QString BackupService::folderOrNotice()
{
    const QString result = folder();
    if (result.isEmpty())
        m_dialogs->notice(QStringLiteral("Kein Zugriff auf externe"),
                          QStringLiteral("Speicherkarte möglich!"));
    return result;
}

QString BackupService::backupTarget(const QString& folder, Kind kind)
{
    DeviceRoot& root = m_session.root();
    int largest = 0;
    const Scan automatic = scan(root, folder, QStringLiteral("????_Auto.cdb"), largest);
    if (kind == Kind::Automatic && automatic.count == kAutomaticLimit)
        root.removeFile(DeviceRoot::join(folder, backupName(automatic.smallest, Kind::Automatic)));
    const Scan manual = scan(root, folder, QStringLiteral("????_Manu.cdb"), largest);
    if (kind == Kind::Manual && manual.count == kManualLimit)
        root.removeFile(DeviceRoot::join(folder, backupName(manual.smallest, Kind::Manual)));
    if (largest >= kLastNumber) {
        largest = 0;
        root.removeMatching(DeviceRoot::join(folder, str(kPattern)));
    }
    return backupName(largest + 1, kind);
}

bool BackupService::writeSnapshot(const QString& folder, const QString& name)
{
    DeviceRoot& root = m_session.root();
    // The copy only gets its backup name once it is complete and on the medium.
    const QString temp = DeviceRoot::join(folder, name + kTempSuffix);
    if (!DatabaseSnapshot::copy(m_session.database().file(), root.hostPath(temp), m_progress))
        return false;
    if (m_clock) {
        QFile file(root.hostPath(temp));
        if (file.open(QIODevice::ReadOnly))
            file.setFileTime(m_clock->now(), QFileDevice::FileModificationTime);
    }
    if (root.moveFile(temp, DeviceRoot::join(folder, name)))
        return true;
    root.removeFile(temp);
    return false;
}

bool BackupService::reopen()
{
    return m_session.database().open();
}

bool BackupService::backup(Kind kind)
{
    const KeepAwake::Scope awake(m_session.keepAwake());
    const QString folder = folderOrNotice();
    if (folder.isEmpty()) {
        reopen();
        return false;
    }
    DeviceRoot& root = m_session.root();
    bool ok = root.makeFolder(folder) && root.isFolder(folder);
    if (ok) {
        // What a crash in the middle of an earlier copy left behind.
        root.removeMatching(DeviceRoot::join(folder, str(kPattern) + kTempSuffix));
        const QString name = backupTarget(folder, kind);
        ok = writeSnapshot(folder, name);
        if (ok)
            m_lastBackup = name;
    }
    ok = reopen() && ok;
    if (!ok)
        m_dialogs->notice(QStringLiteral("Fehler bei der Datensicherung!"));
    return ok;
}

bool BackupService::automaticIfEnabled()
{
    if (m_session.store().readInt(Setting::BackupAuto) != 1)
        return false;
    return backup(Kind::Automatic);
}

std::vector<BackupService::Entry> BackupService::entries() const
{
    std::vector<Entry> result;
    const QString folder = this->folder();
    if (folder.isEmpty())
        return result;
    const DeviceRoot& root = m_session.root();
    for (const QString& name :
         root.find(DeviceRoot::join(folder, str(kPattern)), DeviceRoot::Kind::Files)) {
        const QFileInfo info(root.hostPath(DeviceRoot::join(folder, name)));
        result.push_back({name, info.lastModified()});
    }
    return result;
}

bool BackupService::replaceDatabase(const QString& staged)
{
    DeviceRoot& root = m_session.root();
    const QString database = str(kDatabasePath);
    m_session.database().close();
    // A journal beside the file belongs to the old database; opening the restored one next to
    // it would roll old pages into it.
    for (const char* suffix : {"-journal", "-wal", "-shm"})
        root.removeFile(database + QLatin1StringView(suffix));
    return root.moveFile(staged, database);
}

void BackupService::removeStaged()
{
    DeviceRoot& root = m_session.root();
    const QString staged = str(kRestoreStaging);
    root.removeFile(staged);
    // Checking the copy may have left SQLite's files beside it.
    for (const char* suffix : {"-journal", "-wal", "-shm"})
        root.removeFile(staged + QLatin1StringView(suffix));
}

bool BackupService::restore(const QString& name)
{
    const KeepAwake::Scope awake(m_session.keepAwake());
    DeviceRoot& root = m_session.root();
    const QString staged = str(kRestoreStaging);
    const auto fail = [&](const QString& line1, const QString& line2) {
        removeStaged();
        reopen();
        m_dialogs->notice(line1, line2);
        return false;
    };
    const QString failed = QStringLiteral("Fehler beim Wiederherstellen!");
    if (!isBackupName(name))
        return fail(failed, {});
    const QString folder = folderOrNotice();
    if (folder.isEmpty()) {
        reopen();
        return false;
    }
    // Checked on a copy of its own: the automatic backup below may delete the chosen file (the
    // oldest of 30, or all of them after 9999).
    const QString source = DeviceRoot::join(folder, name);
    const QString stagedFile = root.hostPath(staged);
    if (!root.isFile(source) || !stageOwnerOnly(root.hostPath(source), stagedFile))
        return fail(failed, {});
    if (!DatabaseSnapshot::isIntact(stagedFile)
        || StructureCheck::inspect(stagedFile) != StructureCheck::Verdict::Accepted)
        return fail(QStringLiteral("Datensicherung ist keine"),
                    QStringLiteral("gültige Datenbank!"));
    // Without the state just before the restore there is no way back, so no restore either.
    if (!backup(Kind::Automatic)) {
        removeStaged();
        return false;
    }
    const bool replaced = replaceDatabase(staged);
    removeStaged();
    if (!reopen() || !replaced) {
        m_dialogs->notice(failed);
        return false;
    }
    return true;
}

} // namespace brovant
