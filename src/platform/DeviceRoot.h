// Platform layer: the device's file system below one host folder (the device root).
// Owns device-path mapping, case-insensitive name resolution and wildcard search; it is the only
// code that builds host paths. It does not know what any file means.
#pragma once

#include <QString>
#include <QStringList>

namespace brovant {

class DeviceRoot {
public:
    enum class Kind { Files, Folders, Any };

    explicit DeviceRoot(QString hostDir);

    const QString& hostDir() const { return m_hostDir; }

    // "\Brovant\Brovant.cdb" (or with forward slashes) -> host path below the root. Each component
    // that exists is matched case-insensitively and takes the spelling found on disk; missing
    // components keep the given spelling. "." and ".." never leave the root.
    QString hostPath(const QString& devicePath) const;

    bool exists(const QString& devicePath) const;
    bool isFile(const QString& devicePath) const;
    bool isFolder(const QString& devicePath) const;
    qint64 fileSize(const QString& devicePath) const; // -1 when missing

    // Creates the folder and its parents; an existing folder is no error.
    bool makeFolder(const QString& devicePath) const;
    bool removeFile(const QString& devicePath) const;
    // Copies a file; `overwrite` replaces an existing target. The target is written under a
    // temporary name and renamed into place, so a failed copy never leaves half a file.
    bool copyFile(const QString& fromDevicePath, const QString& toDevicePath, bool overwrite) const;
    bool moveFile(const QString& fromDevicePath, const QString& toDevicePath) const;

    // Names (not paths) in the pattern's folder that match its last component, as the device's
    // find-file does: "*" any run, "?" one character, case-insensitive, "*.*" everything.
    // Sorted by name, so "directory order" is stable.
    QStringList find(const QString& devicePattern, Kind kind = Kind::Any) const;

    // Deletes every file matching the pattern (folders are left); returns how many went.
    int removeMatching(const QString& devicePattern) const;

    static bool wildcardMatch(const QString& pattern, const QString& name);

    // A file name that arrived from outside (serial header line, FTP, list file) is one plain
    // component: no separators, no "." or "..", no control characters, at most 255 characters.
    static bool isSafeFileName(const QString& name);

    // Joins a device folder and a name with a backslash: ("\Import", "a.dat") -> "\Import\a.dat".
    static QString join(const QString& deviceFolder, const QString& name);

private:
    QString m_hostDir;
};

} // namespace brovant
