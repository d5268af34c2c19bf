// Platform layer: the emulated device registry (HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE).
// Owns keys, typed values (DWORD, SZ) and their storage as one .reg text file per hive, written
// atomically. It does not know the program's settings layout (that is the settings store's).
#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <map>
#include <memory>
#include <optional>
#include <variant>

namespace brovant {

enum class Hive { CurrentUser, LocalMachine };

class Registry {
public:
    enum class Create { No, IfMissing };

    // `folder` holds "HKEY_CURRENT_USER.reg" and "HKEY_LOCAL_MACHINE.reg". A hive file that does
    // not parse is renamed to "<name>.corrupt" and that hive starts empty.
    explicit Registry(QString folder);
    ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    static QString hiveName(Hive hive); // "HKEY_CURRENT_USER" / "HKEY_LOCAL_MACHINE"

    // Key paths use backslashes ("Software\NORVA\Brovant"); names compare case-insensitively and
    // keep the spelling they were created with. The empty value name is the key's default value.
    bool keyExists(Hive hive, const QString& key) const;
    bool createKey(Hive hive, const QString& key);
    bool deleteKey(Hive hive, const QString& key); // with all its subkeys; false when missing
    QStringList subkeys(Hive hive, const QString& key) const;
    QStringList valueNames(Hive hive, const QString& key) const;

    // nullopt when the key or value is missing or has the other type.
    std::optional<quint32> dword(Hive hive, const QString& key, const QString& name) const;
    std::optional<QString> string(Hive hive, const QString& key, const QString& name) const;

    // With Create::No a missing key makes the write fail (the device only opens such keys).
    bool setDword(Hive hive, const QString& key, const QString& name, quint32 value,
                  Create create = Create::IfMissing);
    bool setString(Hive hive, const QString& key, const QString& name, const QString& value,
                   Create create = Create::IfMissing);
    bool deleteValue(Hive hive, const QString& key, const QString& name);

    // Both hives in the Windows .reg export format ("Windows Registry Editor Version 5.00").
    QString exportText() const;
    // One hive in the same format (what its file holds).
    QString exportHive(Hive hive) const;

    // Every change is saved at once unless a Batch is alive; then the hives are saved once when
    // the outermost Batch ends. Bulk writers (the configuration import) use it.
    class Batch {
    public:
        explicit Batch(Registry& registry);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        Registry& m_registry;
    };

    // Saves dirty hives now; false when a file could not be written.
    bool flush();

    // Hive files that were set aside as corrupt since construction (host paths).
    const QStringList& setAside() const { return m_setAside; }

private:
    struct Key;
    struct HiveData;
    Key* find(Hive hive, const QString& key) const;
    Key* findOrCreate(Hive hive, const QString& key);
    bool setData(Hive hive, const QString& key, const QString& name,
                 const std::variant<quint32, QString>& value, Create create);
    void changed(Hive hive);
    // True when the change is on disk or waits for the batch to end.
    bool saved(Hive hive) const;
    void load(Hive hive);
    bool save(Hive hive);
    QString hiveFile(Hive hive) const;

    QString m_folder;
    std::unique_ptr<HiveData> m_hives[2];
    int m_batchDepth = 0;
    QStringList m_setAside;
};

} // namespace brovant
