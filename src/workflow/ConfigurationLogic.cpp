#include "workflow/ConfigurationLogic.h"

#include "platform/Registry.h"

#include <QList>

#include <algorithm>

namespace brovant {
namespace {

using enum ConfigPage;

// Grouped by page, in the order the screen shows the fields.
constexpr ConfigBinding kBindings[] = {
    {CompanyHeader, "FIRMENKOPF1_A", Setting::Firmenkopf, 1, "Zeile 1:"},
    {CompanyHeader, "FIRMENKOPF2_A", Setting::Firmenkopf, 2, "Zeile 2:"},
    {CompanyHeader, "FIRMENKOPF3_A", Setting::Firmenkopf, 3, "Zeile 3:"},
    {CompanyHeader, "FIRMENKOPF4_A", Setting::Firmenkopf, 4, "Zeile 4:"},
    {CompanyHeader, "FIRMENKOPF5_A", Setting::Firmenkopf, 5, "Zeile 5:"},
    {Modem, "NAME1_A", Setting::ModemName, 1, "Name 1:"},
    {Modem, "NUMBER1_A", Setting::ModemNumber, 1, "Nr. 1:"},
    {Modem, "NAME2_A", Setting::ModemName, 2, "Name 2:"},
    {Modem, "NUMBER2_A", Setting::ModemNumber, 2, "Nr. 2:"},
    {Modem, "NAME3_A", Setting::ModemName, 3, "Name 3:"},
    {Modem, "NUMBER3_A", Setting::ModemNumber, 3, "Nr. 3:"},
    {Modem, "NAME4_A", Setting::ModemName, 4, "Name 4:"},
    {Modem, "NUMBER4_A", Setting::ModemNumber, 4, "Nr. 4:"},
    // Without an initialisation string the modem transfer could not dial at all.
    {Modem, "INIT_A", Setting::ModemInit, 0, "Init:", true},
    {Ftp, "FTP_SERVER", Setting::FtpServer, 0, "Server:"},
    {Ftp, "FTP_NAME", Setting::FtpName, 0, "Benutzer:"},
    {Ftp, "FTP_PASSWORD", Setting::FtpPassword, 0, "Passwort:", false, true},
    {Ftp, "FTP_DIRECTORY", Setting::FtpDirectory, 0, "Verzeichnis:"},
    {Ftp, "FTP_DIRECTORY2", Setting::FtpDirectory2, 0, "Verz. Holen:"},
};

QString columnOf(const ConfigBinding& binding)
{
    return QString::fromLatin1(binding.column);
}

ConfigResult failed()
{
    return {QStringLiteral("Konfiguration nicht gespeichert!")};
}

} // namespace

ConfigurationLogic::ConfigurationLogic(SettingsStore& store, Dataset& row)
    : m_store(store)
    , m_row(row)
{
}

std::span<const ConfigBinding> ConfigurationLogic::bindings()
{
    return kBindings;
}

std::span<const ConfigBinding> ConfigurationLogic::bindings(ConfigPage page)
{
    const auto onPage = [page](const ConfigBinding& b) {
        return b.page == page;
    };
    const auto* first = std::find_if(std::begin(kBindings), std::end(kBindings), onPage);
    const auto* last = std::find_if_not(first, std::end(kBindings), onPage);
    return {first, last};
}

QString ConfigurationLogic::pageTitle(ConfigPage page)
{
    switch (page) {
    case CompanyHeader:
        return QStringLiteral("Firmenkopf");
    case Modem:
        return QStringLiteral("Modem");
    case Ftp:
        return QStringLiteral("FTP");
    }
    return {};
}

bool ConfigurationLogic::selectSingleRow()
{
    if (!m_row.reset())
        return false;
    while (m_row.count() > 1) {
        m_row.moveLast();
        if (!m_row.deleteCurrent())
            return false;
    }
    if (m_row.count() == 0) {
        m_row.clearFields();
        if (!m_row.insert())
            return false;
    }
    return m_row.moveFirst();
}

QString ConfigurationLogic::registryValue(const ConfigBinding& binding)
{
    if (!binding.storeDefaultWhenEmpty)
        return m_store.readText(binding.setting, binding.index);
    const QString value = m_store.readText(binding.setting, binding.index, QString());
    if (!value.isEmpty())
        return value;
    m_store.writeText(binding.setting, binding.index, SettingsStore::defaultText(binding.setting));
    return m_store.readText(binding.setting, binding.index, QString());
}

bool ConfigurationLogic::saveWithoutRegistryOnly(ConfigPage page)
{
    QList<QString> kept;
    for (const ConfigBinding& binding : bindings(page)) {
        if (binding.registryOnly) {
            kept << m_row.loadText(columnOf(binding));
            m_row.setValue(columnOf(binding), FieldValue());
        }
    }
    if (!m_row.save())
        return false;
    for (const ConfigBinding& binding : bindings(page)) {
        if (binding.registryOnly)
            m_row.setText(columnOf(binding), kept.takeFirst());
    }
    return true;
}

ConfigResult ConfigurationLogic::open(ConfigPage page)
{
    Database::Transaction transaction(m_row.database());
    if (!transaction.active() || !selectSingleRow())
        return failed();
    for (const ConfigBinding& binding : bindings(page))
        m_row.setText(columnOf(binding), registryValue(binding));
    if (!saveWithoutRegistryOnly(page) || !transaction.commit())
        return failed();
    return {};
}

ConfigResult ConfigurationLogic::confirm(ConfigPage page)
{
    const std::span<const ConfigBinding> fields = bindings(page);
    // Re-selecting the row reloads the buffers, so the page's values are taken first.
    QList<QString> values;
    for (const ConfigBinding& binding : fields)
        values << m_row.loadText(columnOf(binding));

    Database::Transaction transaction(m_row.database());
    if (!transaction.active() || !selectSingleRow())
        return failed();
    for (size_t i = 0; i < fields.size(); ++i)
        m_row.setText(columnOf(fields[i]), values[qsizetype(i)]);
    if (!saveWithoutRegistryOnly(page) || !transaction.commit())
        return failed();

    Registry::Batch batch(m_store.profile().registry());
    for (const ConfigBinding& binding : fields)
        m_store.writeText(binding.setting, binding.index, m_row.loadText(columnOf(binding)));
    return {};
}

} // namespace brovant
