#include "masterdata/MasterTables.h"

#include "data/MasterRows.h"
#include "data/Schema.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace brovant {

VolumeIndex::Key VolumeIndex::keyOf(QStringView tariff, QStringView diameterClass)
{
    std::array<char16_t, 8> units;
    units.fill(u' ');
    units[7] = 0;
    for (qsizetype i = 0; i < std::min<qsizetype>(5, tariff.size()); ++i)
        units[size_t(i)] = tariff[i].unicode();
    for (qsizetype i = 0; i < std::min<qsizetype>(2, diameterClass.size()); ++i)
        units[size_t(5 + i)] = diameterClass[i].unicode();
    Key key;
    for (size_t i = 0; i < 4; ++i) {
        key.high = key.high << 16 | units[i];
        key.low = key.low << 16 | units[4 + i];
    }
    return key;
}

void VolumeIndex::add(QStringView tariff, QStringView diameterClass, int volume)
{
    const Key key = keyOf(tariff, diameterClass);
    if (!m_entries.empty() && key < m_entries.back().key)
        m_sorted = false;
    m_entries.push_back({key, volume});
}

void VolumeIndex::addUtf8(std::string_view tariff, std::string_view diameterClass, int volume)
{
    const auto ascii = [](std::string_view text) {
        return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
    };
    if (ascii(tariff) && ascii(diameterClass)) {
        // ASCII bytes are their own UTF-16 units.
        std::array<char16_t, 7> units;
        std::copy(tariff.begin(), tariff.begin() + std::min<size_t>(5, tariff.size()), units.begin());
        std::copy(diameterClass.begin(),
                  diameterClass.begin() + std::min<size_t>(2, diameterClass.size()),
                  units.begin() + 5);
        add(QStringView(units.data(), std::min<qsizetype>(5, qsizetype(tariff.size()))),
            QStringView(units.data() + 5, std::min<qsizetype>(2, qsizetype(diameterClass.size()))),
            volume);
        return;
    }
    add(QString::fromUtf8(tariff.data(), qsizetype(tariff.size())),
        QString::fromUtf8(diameterClass.data(), qsizetype(diameterClass.size())), volume);
}

void VolumeIndex::finish()
{
    const auto byKey = [](const Entry& a, const Entry& b) { return a.key < b.key; };
    if (!m_sorted)
        std::stable_sort(m_entries.begin(), m_entries.end(), byKey);
    m_sorted = true;
    // Stable order keeps the first added of equal keys in front, and unique keeps the front one.
    const auto end = std::unique(m_entries.begin(), m_entries.end(),
                                 [](const Entry& a, const Entry& b) { return a.key == b.key; });
    m_entries.erase(end, m_entries.end());
}

std::optional<int> VolumeIndex::find(QStringView tariff, QStringView diameterClass) const
{
    const Key key = keyOf(tariff, diameterClass);
    const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), key,
                                     [](const Entry& e, const Key& k) { return e.key < k; });
    if (at == m_entries.end() || at->key != key)
        return std::nullopt;
    return at->volume;
}

int MasterTables::speciesIndex(const QString& code) const
{
    // Codes come padded from the database and unpadded from the registry.
    const QStringView key = QStringView(code).left(3).trimmed();
    if (key.isEmpty())
        return -1;
    for (int i = 0; i < kSpecies; ++i) {
        if (QStringView(species[size_t(i)]).left(3).trimmed() == key)
            return i;
    }
    return -1;
}

namespace {

const FieldDescriptor& einstellungenField(QStringView name)
{
    return schema::Einstellungen.fields[size_t(schema::Einstellungen.indexOf(name))];
}

// TARIF as its field formats it: five characters, blank-padded.
std::array<char16_t, 5> formattedTariff(std::string_view utf8)
{
    std::array<char16_t, 5> out;
    out.fill(u' ');
    if (std::all_of(utf8.begin(), utf8.end(), [](char c) { return (c & 0x80) == 0; })) {
        std::copy(utf8.begin(), utf8.begin() + std::min<size_t>(5, utf8.size()), out.begin());
        return out;
    }
    const QString text = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    for (qsizetype i = 0; i < std::min<qsizetype>(5, text.size()); ++i)
        out[size_t(i)] = text[i].unicode();
    return out;
}

// The distinct tariffs of the volume rows in ID order (table order among equal IDs): a new entry
// whenever the tariff differs from the previous row's. Imports write IDs ascending, so the rows
// usually arrive in ID order during the one scan; when they do not, a sorted query gives the
// table instead.
class TariffTableBuilder {
public:
    void add(Database::Query::Type idType, std::int64_t id, std::string_view tariff)
    {
        if (!m_inOrder)
            return;
        // NULL sorts before numbers; other ID types are left to SQLite's own ordering.
        const bool null = idType == Database::Query::Type::Null;
        if (!null && idType != Database::Query::Type::Integer) {
            m_inOrder = false;
            return;
        }
        const std::pair<bool, std::int64_t> key(!null, null ? 0 : id);
        if (m_haveRow && key < m_lastKey) {
            m_inOrder = false;
            return;
        }
        m_lastKey = key;
        if (m_tariffs.size() >= MasterTables::kMaxTariffs) {
            m_haveRow = true;
            return;
        }
        const std::array<char16_t, 5> formatted = formattedTariff(tariff);
        if (!m_haveRow || formatted != m_previous)
            m_tariffs << QString(reinterpret_cast<const QChar*>(formatted.data()), 5);
        m_previous = formatted;
        m_haveRow = true;
    }

    QStringList finish(Database& db) const
    {
        return m_inOrder ? m_tariffs : sortedByQuery(db);
    }

private:
    static QStringList sortedByQuery(Database& db)
    {
        const FieldDescriptor& tariffField = einstellungenField(u"TARIF");
        QStringList tariffs;
        QString previous;
        bool haveRow = false;
        MasterRows(db).scan({schema::TariffVolumeRow}, MasterRows::Order::ById, {"TARIF"},
                            [&](const Database::Query& row) {
                                if (tariffs.size() >= MasterTables::kMaxTariffs)
                                    return false;
                                const QString tariff = formatValue(tariffField, row.value(0));
                                if (!haveRow || tariff != previous)
                                    tariffs << tariff;
                                previous = tariff;
                                haveRow = true;
                                return true;
                            });
        return tariffs;
    }

    QStringList m_tariffs;
    std::array<char16_t, 5> m_previous{};
    std::pair<bool, std::int64_t> m_lastKey;
    bool m_haveRow = false;
    bool m_inOrder = true;
};

void addTariffChoice(MasterTables& t, const QString& species, const QString& tariff)
{
    QStringList& choices = t.speciesTariffChoices[species];
    // Offered on keys and typed into the edit as they read, without padding.
    if (choices.size() < MasterTables::kMaxTariffs)
        choices << withoutTrailingBlanks(tariff);
}

// The class, volume and species-tariff rows in table order: one scan of the table for all the
// master rows the tally and the tariff table need.
void loadLookupRows(Database& db, MasterTables& t)
{
    size_t expected = 0;
    expected = size_t(std::max(0, MasterRows(db).count()));
    t.volumes.reserve(expected);
    TariffTableBuilder tariffs;

    const FieldDescriptor& classField = einstellungenField(u"DMSTUFE");
    const FieldDescriptor& speciesField = einstellungenField(u"BAUMART");
    int reach = std::numeric_limits<int>::min();
    MasterRows(db).scan(
        {schema::DiameterClassRow, schema::TariffVolumeRow, schema::TariffAssignmentRow},
        MasterRows::Order::Stored,
        {"ID_TYPE", "BHDBIS", "DMSTUFE", "BHD", "TARIF", "KUBATUR", "BAUMART", "ID"},
        [&](const Database::Query& rows) {
            switch (rows.integer(0)) {
            case schema::DiameterClassRow: {
                MasterTables::DiameterClass c;
                c.upperBound = int(rows.integer(1));
                c.code = formatValue(classField, rows.value(2));
                c.diameter = int(rows.integer(3));
                reach = std::max(reach, c.upperBound);
                t.classes.push_back(std::move(c));
                t.classReach.push_back(reach);
                break;
            }
            case schema::TariffVolumeRow: {
                ++t.volumeRows;
                const std::string_view tariff = rows.utf8(4);
                tariffs.add(rows.type(7), rows.integer(7), tariff);
                t.volumes.addUtf8(tariff, rows.utf8(2), int(rows.integer(5)));
                break;
            }
            case schema::TariffAssignmentRow:
                addTariffChoice(t, formatValue(speciesField, rows.value(6)), rows.text(4));
                break;
            default:
                break;
            }
            return true;
        });
    t.volumes.finish();
    t.tariffs = tariffs.finish(db);
}

template <size_t N>
void appendList(QString& out, const char* title, const std::array<QString, N>& values)
{
    out += QStringLiteral("%1:\n").arg(QLatin1StringView(title));
    for (size_t i = 0; i < N; ++i)
        out += QStringLiteral("  %1 \"%2\"\n").arg(i + 1, 2, 10, QChar(u'0')).arg(values[i]);
}

} // namespace

QString MasterTables::describe() const
{
    QString out;
    out += QStringLiteral("Transfer: Port %1, DueMode %2\n").arg(duePort).arg(dueMode);
    out += QStringLiteral("Printer: Type %1, Port %2, Baudrate %3, Path \"%4\", Frage %5\n")
               .arg(printerType)
               .arg(printerPort)
               .arg(printerBaudrate)
               .arg(printerPath)
               .arg(activeAskBeforePrinting);
    out += QStringLiteral("Printer page lengths:");
    for (int length : pageLength)
        out += QStringLiteral(" %1").arg(length);
    out += QStringLiteral("\nPrinter ask flags:");
    for (int ask : askBeforePrinting)
        out += QStringLiteral(" %1").arg(ask);
    out += QStringLiteral(
               "\nFieldSoftware: %1, PrinterType %2, ComPort %3, Seitenlaenge %4, Frage %5\n")
               .arg(fieldSoftware)
               .arg(fieldSoftwarePrinterType)
               .arg(fieldSoftwareComPort)
               .arg(fieldSoftwarePageLength)
               .arg(fieldSoftwareAsk);
    out += QStringLiteral("Kluppe: Aktiv %1, Port %2\n").arg(caliperActive).arg(caliperPort);
    appendList(out, "Holzart", species);
    appendList(out, "HA_HAUPT", mainSpecies);
    appendList(out, "NA_Lang", naLong);
    appendList(out, "NA_Kurz", naShort);
    appendList(out, "KAL_Lang", kalLong);
    appendList(out, "KAL_Kurz", kalShort);
    out += QStringLiteral("Sorten:");
    for (const QString& s : sorten)
        out += QStringLiteral(" \"%1\"").arg(s);
    out += QStringLiteral("\nTarife (%1):").arg(tariffs.size());
    for (const QString& t : tariffs)
        out += QStringLiteral(" \"%1\"").arg(t);
    out += u'\n';
    return out;
}

void MasterTables::reloadTariffChoices(Database& db)
{
    speciesTariffChoices.clear();
    const FieldDescriptor& speciesField = einstellungenField(u"BAUMART");
    for (const TableRow& row :
         MasterRows(db).ofType(schema::TariffAssignmentRow, MasterRows::Order::Stored))
        addTariffChoice(*this, formatValue(speciesField, row.value(u"BAUMART")),
                        row.text(u"TARIF"));
}

MasterTables loadSettings(const SettingsStore& store, Database& db, MessageDialogs* dialogs,
                          KeepAwake* keepAwake)
{
    std::optional<KeepAwake::Scope> awake;
    if (keepAwake)
        awake.emplace(*keepAwake);
    if (dialogs)
        dialogs->info(MessageDialogs::Show, QStringLiteral("Konfiguration wird initialisiert..."));

    MasterTables t;
    t.duePort = store.readInt(Setting::DuePort);
    t.dueMode = store.readInt(Setting::DueMode);

    if (dialogs)
        dialogs->progress(10);
    loadLookupRows(db, t);

    t.printerType = store.readInt(Setting::PrinterType);
    t.printerPort = static_cast<quint8>(store.readInt(Setting::PrinterPort));
    for (int type = 0; type < SettingsStore::kPrinterTypes; ++type) {
        t.pageLength[size_t(type)] =
            store.readInt(Setting::PrinterSeitenlaenge, type, t.pageLength[size_t(type)]);
        t.askBeforePrinting[size_t(type)] =
            store.readInt(Setting::PrinterFrage, type, t.askBeforePrinting[size_t(type)]);
    }
    if (t.printerType >= 0 && t.printerType < SettingsStore::kPrinterTypes)
        t.activeAskBeforePrinting = t.askBeforePrinting[size_t(t.printerType)];
    else
        t.activeAskBeforePrinting = store.readInt(Setting::PrinterFrage, t.printerType, 0);
    t.printerBaudrate = store.readInt(Setting::PrinterBaudrate);
    t.printerPath = store.readText(Setting::PrinterPath);
    t.caliperActive = store.readInt(Setting::KluppeAktiv);
    t.caliperPort = store.readInt(Setting::KluppePort);
    t.caliperSpecies = store.readText(Setting::KluppeHolzart);
    t.caliperFormat = store.readInt(Setting::KluppeFormat);
    if (dialogs)
        dialogs->progress(20);

    t.fieldSoftware = store.readInt(Setting::FieldSoftware, 0, t.fieldSoftware);
    t.fieldSoftwarePrinterType =
        store.readInt(Setting::FieldSoftwarePrinterType, 0, t.fieldSoftwarePrinterType);
    t.fieldSoftwareComPort =
        store.readInt(Setting::FieldSoftwareComPort, 0, t.fieldSoftwareComPort);
    t.fieldSoftwarePageLength =
        store.readInt(Setting::FieldSoftwareSeitenlaenge, 0, t.fieldSoftwarePageLength);
    t.fieldSoftwareAsk = store.readInt(Setting::FieldSoftwareFrage, 0, t.fieldSoftwareAsk);

    for (int i = 1; i <= MasterTables::kSpecies; ++i) {
        t.species[size_t(i - 1)] = store.readText(Setting::Holzart, i, QString());
        if (i <= MasterTables::kMainSpecies)
            t.mainSpecies[size_t(i - 1)] =
                store.readText(Setting::HauptHolzart, i, t.species[size_t(i - 1)]);
    }
    for (int i = 1; i <= MasterTables::kCodes; ++i) {
        t.naLong[size_t(i - 1)] = store.readText(Setting::NaLang, i, QString());
        t.naShort[size_t(i - 1)] = store.readText(Setting::NaKurz, i, QString());
    }
    for (int i = 1; i <= MasterTables::kCodes; ++i) {
        t.kalLong[size_t(i - 1)] = store.readText(Setting::KalLang, i, QString());
        t.kalShort[size_t(i - 1)] = store.readText(Setting::KalKurz, i, QString());
    }
    for (int i = MasterTables::kSorten - 1; i >= 0; --i)
        t.sorten[size_t(i)] = store.readText(Setting::Sorte, i, QString());

    if (dialogs)
        dialogs->info(MessageDialogs::Hide, QString());
    return t;
}

} // namespace brovant
