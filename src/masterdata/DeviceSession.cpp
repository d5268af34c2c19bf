#include "masterdata/DeviceSession.h"

#include "data/StructureCheck.h"

namespace brovant {

namespace {

QString registryFolder(const QString& rootDir)
{
    DeviceRoot root(rootDir);
    root.makeFolder(QString::fromUtf16(DeviceSession::kRegistryFolder));
    return root.hostPath(QString::fromUtf16(DeviceSession::kRegistryFolder));
}

} // namespace

DeviceSession::DeviceSession(const QString& rootDir, Database::Durability durability)
    : m_root(rootDir)
    , m_registry(registryFolder(rootDir))
    , m_profile(m_registry)
    , m_store(m_profile)
    , m_keepAwake(m_registry)
    , m_database(m_root.hostPath(QString::fromUtf16(kDatabasePath)), durability)
{
}

DeviceSession::DatabaseState
DeviceSession::openDatabase(const std::function<void()>& beforeRecreate)
{
    for (const char16_t* folder : {u"\\Brovant", u"\\Import", u"\\Export"})
        m_root.makeFolder(QString::fromUtf16(folder));
    m_database.close();
    const QString file = m_root.hostPath(QString::fromUtf16(kDatabasePath));
    switch (StructureCheck::inspect(file)) {
    case StructureCheck::Verdict::Foreign:
        if (beforeRecreate)
            beforeRecreate();
        if (!StructureCheck::recreate(m_database, m_root))
            return DatabaseState::Failed;
        m_store.deleteMasterData(true);
        return DatabaseState::Recreated;
    case StructureCheck::Verdict::Missing:
        if (!m_database.open() || !StructureCheck::ensureStructureRecord(m_database))
            return DatabaseState::Failed;
        return DatabaseState::Created;
    case StructureCheck::Verdict::Accepted:
        break;
    }
    if (!m_database.open() || !StructureCheck::ensureStructureRecord(m_database))
        return DatabaseState::Failed;
    return DatabaseState::Accepted;
}

} // namespace brovant
