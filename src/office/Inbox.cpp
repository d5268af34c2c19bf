#include "office/Inbox.h"

#include "office/ListReading.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <future>

namespace brovant::office {
namespace {

// A name that is free in `folder`: the name itself, else NAME_2.EXT, NAME_3.EXT, ...
QString freeName(const QDir& folder, const QString& name)
{
    if (!folder.exists(name))
        return name;
    const QFileInfo info(name);
    const QString suffix = info.suffix().isEmpty() ? QString() : u'.' + info.suffix();
    for (int n = 2;; ++n) {
        const QString candidate = info.completeBaseName() + QStringLiteral("_%1").arg(n) + suffix;
        if (!folder.exists(candidate))
            return candidate;
    }
}

bool moveInto(const QString& path, const QString& folder, const QString& reason)
{
    QDir target(folder);
    if (!target.mkpath(QStringLiteral(".")))
        return false;
    const QString name = freeName(target, QFileInfo(path).fileName());
    if (!reason.isNull()) {
        QSaveFile why(target.filePath(name + QStringLiteral(".reason")));
        if (why.open(QIODevice::WriteOnly)) {
            why.write(reason.toUtf8() + '\n');
            why.commit();
        }
    }
    return QFile::rename(path, target.filePath(name));
}

} // namespace

namespace {

// A file's bytes and what they say, read without the store.
struct ReadFile {
    bool opened = true; // false: taken on a later scan
    QByteArray bytes;
    std::variant<ListContent, QString> read;
};

ReadFile readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {false, {}, QString()};
    if (file.size() > kMaxListFileBytes)
        return {true, {}, QStringLiteral("Datei zu groß")};
    ReadFile out;
    out.bytes = file.readAll();
    out.read = readListFile(out.bytes);
    return out;
}

IntakeResult intakeRead(OfficeStore& store, const QByteArray& bytes,
                        const std::variant<ListContent, QString>& read, const QString& fileName)
{
    IntakeResult result;
    result.file = fileName;
    if (auto* reason = std::get_if<QString>(&read)) {
        result.reason = *reason;
        return result;
    }
    const ListContent& content = std::get<ListContent>(read);
    result.listNumber = content.listNumber;
    const auto added = store.add(bytes, QFileInfo(fileName).fileName(), content);
    switch (added.added) {
    case OfficeStore::Added::Imported:
        result.kind = IntakeResult::Kind::Imported;
        break;
    case OfficeStore::Added::Duplicate:
        result.kind = IntakeResult::Kind::Duplicate;
        break;
    case OfficeStore::Added::Failed:
        result.reason = QStringLiteral("Datenbankfehler: ") + store.lastError();
        return result;
    }
    result.id = added.id;
    return result;
}

} // namespace

IntakeResult intakeBytes(OfficeStore& store, const QByteArray& bytes, const QString& fileName)
{
    return intakeRead(store, bytes, readListFile(bytes), fileName);
}

QString describe(const IntakeResult& result)
{
    switch (result.kind) {
    case IntakeResult::Kind::Imported:
        return QStringLiteral("imported %1 %2").arg(result.listNumber).arg(result.id);
    case IntakeResult::Kind::Duplicate:
        return QStringLiteral("duplicate %1 %2").arg(result.listNumber).arg(result.id);
    case IntakeResult::Kind::Rejected:
        break;
    }
    return QStringLiteral("rejected %1: %2").arg(result.file, result.reason);
}

Inbox::Inbox(OfficeStore& store, QString folder, std::function<QDateTime()> now)
    : m_store(store), m_folder(std::move(folder)), m_now(std::move(now))
{
    if (!m_now)
        m_now = [] { return QDateTime::currentDateTimeUtc(); };
}

std::vector<IntakeResult> Inbox::scan()
{
    std::vector<IntakeResult> results;
    QDir dir(m_folder);
    // Hidden names are uploads in progress (and our own temporaries); folders are done/, rejected/.
    const QFileInfoList files = dir.entryInfoList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    const QDateTime now = m_now();
    QFileInfoList settled;
    for (const QFileInfo& info : files) {
        if (info.fileName().startsWith(u'.') || info.isSymLink())
            continue;
        if (info.lastModified().msecsTo(now) >= kSettleMs)
            settled << info;
    }
    // The next file is read while the store takes this one: reading needs no store, and a
    // database server commits in the meantime.
    std::future<ReadFile> next;
    if (!settled.isEmpty())
        next = std::async(std::launch::async, readFile, settled.front().filePath());
    for (qsizetype i = 0; i < settled.size(); ++i) {
        const QFileInfo& info = settled[i];
        const ReadFile file = next.get();
        if (i + 1 < settled.size())
            next = std::async(std::launch::async, readFile, settled[i + 1].filePath());
        // A file that cannot be opened (yet) is taken on a later scan.
        if (!file.opened)
            continue;
        const IntakeResult result = intakeRead(m_store, file.bytes, file.read, info.fileName());
        // A database that failed leaves the file where it is, to be taken again.
        if (result.kind == IntakeResult::Kind::Rejected &&
            result.reason.startsWith(QStringLiteral("Datenbankfehler")))
            continue;
        const bool rejected = result.kind == IntakeResult::Kind::Rejected;
        moveInto(info.filePath(), dir.filePath(rejected ? QStringLiteral("rejected") : QStringLiteral("done")),
                 rejected ? result.reason : QString());
        results.push_back(result);
    }
    return results;
}

} // namespace brovant::office
