#include "platform/DeviceRoot.h"

#include "platform/MediumFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace brovant {

namespace {

bool isSeparator(QChar c)
{
    return c == u'\\' || c == u'/';
}

// Components of a device path below the root; "." vanishes and ".." pops, never past the root.
QStringList deviceComponents(const QString& devicePath)
{
    QStringList components;
    QString current;
    const auto flush = [&] {
        if (current == u"..") {
            if (!components.isEmpty())
                components.removeLast();
        } else if (!current.isEmpty() && current != u".") {
            components.append(current);
        }
        current.clear();
    };
    for (const QChar c : devicePath) {
        if (isSeparator(c))
            flush();
        else
            current.append(c);
    }
    flush();
    return components;
}

QString childPath(const QString& folder, const QString& name)
{
    return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

// The on-disk spelling of `name` in `folder`, or an empty string when nothing matches.
// An exact entry wins; among entries that differ only in case the first in sorted order does.
QString resolveEntry(const QString& folder, const QString& name)
{
    const QFileInfo exact(childPath(folder, name));
    if (exact.exists() || exact.isSymLink())
        return name;
    const QDir dir(folder);
    if (!dir.exists())
        return {};
    QString best;
    const QStringList entries = dir.entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QString& entry : entries) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0 && (best.isEmpty() || entry < best))
            best = entry;
    }
    return best;
}

// Length of the folder part of a device pattern, up to and including its last separator.
qsizetype folderPartLength(const QString& devicePattern)
{
    qsizetype cut = devicePattern.size();
    while (cut > 0 && !isSeparator(devicePattern[cut - 1]))
        --cut;
    return cut;
}

bool lessForListing(const QString& a, const QString& b)
{
    const int folded = a.compare(b, Qt::CaseInsensitive);
    return folded != 0 ? folded < 0 : a < b;
}

std::filesystem::path nativePath(const QString& hostPath)
{
    return std::filesystem::path(QFile::encodeName(hostPath).toStdString());
}

bool sameFile(const QString& a, const QString& b)
{
    std::error_code ec;
    const bool same = std::filesystem::equivalent(nativePath(a), nativePath(b), ec);
    return !ec && same;
}

// Copies host file to host file through a temporary sibling of the target, so the target is
// either the old file or the complete new one.
bool copyHostFile(const QString& from, const QString& to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    QSaveFile target(to);
    if (!target.open(QIODevice::WriteOnly))
        return false;
    QByteArray buffer(64 * 1024, Qt::Uninitialized);
    for (;;) {
        const qint64 got = source.read(buffer.data(), buffer.size());
        if (got < 0) {
            target.cancelWriting();
            break;
        }
        if (got == 0)
            break;
        if (target.write(buffer.constData(), got) != got) {
            target.cancelWriting();
            break;
        }
    }
    // A restore moves this copy over the database next.
    return commitToMedium(target);
}

QList<uint> foldedCodePoints(const QString& s)
{
    return s.toCaseFolded().toUcs4();
}

// Greedy match that only ever backtracks to the last '*': O(pattern * name), never exponential.
bool matchCodePoints(const QList<uint>& pattern, qsizetype patternEnd, const QList<uint>& name)
{
    constexpr qsizetype noStar = -1;
    qsizetype p = 0;
    qsizetype n = 0;
    qsizetype star = noStar;
    qsizetype starName = 0;
    while (n < name.size()) {
        if (p < patternEnd && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (p < patternEnd && pattern[p] == u'*') {
            star = p++;
            starName = n;
        } else if (star != noStar) {
            p = star + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < patternEnd && pattern[p] == u'*')
        ++p;
    return p == patternEnd;
}

} // namespace

DeviceRoot::DeviceRoot(QString hostDir)
    : m_hostDir(hostDir.isEmpty() ? QStringLiteral(".") : QDir::cleanPath(hostDir))
{
}

QString DeviceRoot::hostPath(const QString& devicePath) const
{
    QString result = m_hostDir;
    bool resolving = true;
    for (const QString& component : deviceComponents(devicePath)) {
        if (resolving) {
            const QString onDisk = resolveEntry(result, component);
            if (!onDisk.isEmpty()) {
                result = childPath(result, onDisk);
                continue;
            }
            resolving = false;
        }
        result = childPath(result, component);
    }
    return result;
}

bool DeviceRoot::exists(const QString& devicePath) const
{
    return QFileInfo::exists(hostPath(devicePath));
}

bool DeviceRoot::isFile(const QString& devicePath) const
{
    return QFileInfo(hostPath(devicePath)).isFile();
}

bool DeviceRoot::isFolder(const QString& devicePath) const
{
    return QFileInfo(hostPath(devicePath)).isDir();
}

qint64 DeviceRoot::fileSize(const QString& devicePath) const
{
    const QFileInfo info(hostPath(devicePath));
    return info.isFile() ? info.size() : -1;
}

bool DeviceRoot::makeFolder(const QString& devicePath) const
{
    return QDir().mkpath(hostPath(devicePath));
}

bool DeviceRoot::removeFile(const QString& devicePath) const
{
    const QString path = hostPath(devicePath);
    const QFileInfo info(path);
    if (info.isDir() || !(info.exists() || info.isSymLink()))
        return false;
    return QFile::remove(path);
}

bool DeviceRoot::copyFile(const QString& fromDevicePath, const QString& toDevicePath,
                          bool overwrite) const
{
    const QString from = hostPath(fromDevicePath);
    const QString to = hostPath(toDevicePath);
    if (!QFileInfo(from).isFile())
        return false;
    const QFileInfo target(to);
    if ((target.exists() || target.isSymLink()) && (!overwrite || target.isDir()))
        return false;
    // A copy onto itself is safe too: the source is read while a temporary sibling is written.
    return copyHostFile(from, to);
}

bool DeviceRoot::moveFile(const QString& fromDevicePath, const QString& toDevicePath) const
{
    const QString from = hostPath(fromDevicePath);
    const QString to = hostPath(toDevicePath);
    if (!QFileInfo(from).isFile() || QFileInfo(to).isDir())
        return false;
    if (from == to)
        return true;
    std::error_code ec;
    std::filesystem::rename(nativePath(from), nativePath(to), ec);
    if (!ec)
        return true;
    // A target that links back to the source would be the only copy once the source goes.
    if (ec != std::errc::cross_device_link || sameFile(from, to))
        return false;
    if (!copyHostFile(from, to))
        return false;
    if (QFile::remove(from))
        return true;
    // Keep exactly one copy when the source cannot go.
    QFile::remove(to);
    return false;
}

QStringList DeviceRoot::find(const QString& devicePattern, Kind kind) const
{
    const qsizetype cut = folderPartLength(devicePattern);
    const QString wildcard = devicePattern.mid(cut);
    if (wildcard.isEmpty())
        return {};
    const QString folder = hostPath(devicePattern.left(cut));
    if (!QFileInfo(folder).isDir())
        return {};

    QDir::Filters filters = QDir::Hidden | QDir::NoDotAndDotDot;
    if (kind != Kind::Folders)
        filters |= QDir::Files;
    if (kind != Kind::Files)
        filters |= QDir::Dirs;
    QStringList names;
    for (const QString& entry : QDir(folder).entryList(filters, QDir::NoSort)) {
        if (wildcardMatch(wildcard, entry))
            names.append(entry);
    }
    std::sort(names.begin(), names.end(), lessForListing);
    return names;
}

int DeviceRoot::removeMatching(const QString& devicePattern) const
{
    const QString folder = hostPath(devicePattern.left(folderPartLength(devicePattern)));
    int removed = 0;
    for (const QString& name : find(devicePattern, Kind::Files)) {
        if (QFile::remove(childPath(folder, name)))
            ++removed;
    }
    return removed;
}

bool DeviceRoot::wildcardMatch(const QString& pattern, const QString& name)
{
    const QList<uint> p = foldedCodePoints(pattern);
    const QList<uint> n = foldedCodePoints(name);
    if (matchCodePoints(p, p.size(), n))
        return true;
    // The device lets a trailing ".*" match an empty extension, so "*.*" also finds "README".
    const qsizetype size = p.size();
    return size >= 2 && p[size - 2] == u'.' && p[size - 1] == u'*'
           && matchCodePoints(p, size - 2, n);
}

bool DeviceRoot::isSafeFileName(const QString& name)
{
    if (name.isEmpty() || name.size() > 255 || name == u"." || name == u"..")
        return false;
    if (!name.isValidUtf16())
        return false;
    if (name.front().isSpace() || name.back().isSpace())
        return false;
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        if (u < 0x20 || u == 0x7F || u == u'/' || u == u'\\' || u == u':')
            return false;
    }
    return true;
}

QString DeviceRoot::join(const QString& deviceFolder, const QString& name)
{
    qsizetype end = deviceFolder.size();
    while (end > 0 && isSeparator(deviceFolder[end - 1]))
        --end;
    return deviceFolder.left(end) + u'\\' + name;
}

} // namespace brovant
