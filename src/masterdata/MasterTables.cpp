#include "masterdata/MasterTables.h"

#include "data/Database.h"
#include "data/Schema.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace brovant {

std::u16string MasterTables::volumeKey(QStringView tariff, QStringView diameterClass)
{
    std::u16string key(7, u' ');
    const auto put = [&key](QStringView text, size_t at, qsizetype width) {
        for (qsizetype i = 0; i < std::min(width, text.size()); ++i)
            key[at + size_t(i)] = text[i].unicode();
    };
    put(tariff, 0, 5);
    put(diameterClass, 5, 2);
    return key;
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

// The class, volume and species-tariff rows in table order, one query for all three kinds.
void loadLookupRows(Database& db, MasterTables& t)
{
    auto rows = db.query(QStringLiteral(
        "SELECT ID_TYPE, BHDBIS, DMSTUFE, BHD, TARIF, KUBATUR, BAUMART FROM Brov_Einstellungen "
        "WHERE ID_TYPE IN (?, ?, ?) ORDER BY rowid"));
    rows.bind(1, std::int64_t(schema::DiameterClassRow))
        .bind(2, std::int64_t(schema::TariffVolumeRow))
        .bind(3, std::int64_t(schema::TariffAssignmentRow));
    const FieldDescriptor& classField = einstellungenField(u"DMSTUFE");
    const FieldDescriptor& speciesField = einstellungenField(u"BAUMART");
    int reach = std::numeric_limits<int>::min();
    while (rows.next()) {
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
        case schema::TariffVolumeRow:
            ++t.volumeRows;
            // The first row of a pair wins, as a walk from the top would find it.
            t.volumes.try_emplace(MasterTables::volumeKey(rows.text(4), rows.text(2)),
                                  int(rows.integer(5)));
            break;
        case schema::TariffAssignmentRow: {
            QStringList& choices = t.speciesTariffChoices[formatValue(speciesField, rows.value(6))];
            if (choices.size() < MasterTables::kMaxTariffs) {
                // Offered on keys and typed into the edit as they read, without padding.
                choices << withoutTrailingBlanks(rows.text(4));
            }
            break;
        }
        default:
            break;
        }
    }
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

    // The volume rows in ID order give the tariff table; one query, not a walk row by row.
    auto volumeRows = db.query(QStringLiteral(
        "SELECT TARIF FROM Brov_Einstellungen WHERE ID_TYPE = ? ORDER BY ID, rowid"));
    volumeRows.bind(1, std::int64_t(schema::TariffVolumeRow));
    if (dialogs)
        dialogs->progress(10);
    const FieldDescriptor& tariffField =
        schema::Einstellungen.fields[size_t(schema::Einstellungen.indexOf(u"TARIF"))];
    QString previousTariff;
    bool haveVolumeRow = false;
    while (volumeRows.next() && t.tariffs.size() < MasterTables::kMaxTariffs) {
        const QString tariff = formatValue(tariffField, volumeRows.value(0));
        if (!haveVolumeRow || tariff != previousTariff)
            t.tariffs << tariff;
        previousTariff = tariff;
        haveVolumeRow = true;
    }

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
