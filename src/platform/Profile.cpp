#include "platform/Profile.h"

namespace brovant {

QString Profile::keyOf(const QString& section) const
{
    return QString::fromUtf16(kAppKey) + u'\\' + section;
}

int Profile::readInt(const QString& section, const QString& entry, int defaultValue) const
{
    const auto value = m_registry.dword(Hive::CurrentUser, keyOf(section), entry);
    return value ? static_cast<int>(*value) : defaultValue;
}

QString Profile::readString(const QString& section, const QString& entry,
                            const QString& defaultValue) const
{
    const auto value = m_registry.string(Hive::CurrentUser, keyOf(section), entry);
    return value ? *value : defaultValue;
}

bool Profile::hasValue(const QString& section, const QString& entry) const
{
    const QString key = keyOf(section);
    return m_registry.dword(Hive::CurrentUser, key, entry).has_value()
           || m_registry.string(Hive::CurrentUser, key, entry).has_value();
}

void Profile::writeInt(const QString& section, const QString& entry, int value)
{
    m_registry.setDword(Hive::CurrentUser, keyOf(section), entry, static_cast<quint32>(value));
}

void Profile::writeString(const QString& section, const QString& entry, const QString& value)
{
    m_registry.setString(Hive::CurrentUser, keyOf(section), entry, value);
}

void Profile::deleteSection(const QString& section)
{
    m_registry.deleteKey(Hive::CurrentUser, keyOf(section));
}

void Profile::deleteAll()
{
    m_registry.deleteKey(Hive::CurrentUser, QString::fromUtf16(kAppKey));
}

} // namespace brovant
