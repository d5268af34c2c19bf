// Platform layer: the program's profile, the registry key "Software\NORVA\Brovant" under
// HKEY_CURRENT_USER, read and written as section (subkey) and entry (value name). What each
// section means belongs to the settings store, not here.
#pragma once

#include "platform/Registry.h"

#include <QString>

namespace brovant {

class Profile {
public:
    static constexpr const char16_t* kAppKey = u"Software\\NORVA\\Brovant";

    explicit Profile(Registry& registry)
        : m_registry(registry)
    {
    }

    // Absent values, and values of the other type, read as the default.
    int readInt(const QString& section, const QString& entry, int defaultValue) const;
    QString readString(const QString& section, const QString& entry,
                       const QString& defaultValue = {}) const;
    bool hasValue(const QString& section, const QString& entry) const;

    void writeInt(const QString& section, const QString& entry, int value);
    void writeString(const QString& section, const QString& entry, const QString& value);

    // Deletes one section with everything below it; a missing section is no error.
    void deleteSection(const QString& section);
    // Deletes the whole application key: every setting reads as its default afterwards.
    void deleteAll();

    Registry& registry() const { return m_registry; }

private:
    QString keyOf(const QString& section) const;
    Registry& m_registry;
};

} // namespace brovant
