#include "workflow/TariffAssignmentLogic.h"

#include "data/MasterRows.h"
#include "data/Schema.h"
#include "platform/MessageDialogs.h"

#include <algorithm>

namespace brovant {
namespace {

constexpr char16_t kRegion[] = u"REGION_A";
constexpr char16_t kSpecies[] = u"BAUMART";
constexpr char16_t kTariff[] = u"TARIF";

const FieldDescriptor& fieldOf(QStringView name)
{
    return schema::Einstellungen.fields[size_t(schema::Einstellungen.indexOf(name))];
}

// Stored values are blank-padded to the field's length, as the configuration import stores them,
// so typed and imported rows look alike to every lookup.
QString padded(QStringView field, const QString& value)
{
    return formatValue(fieldOf(field), FieldValue(value));
}

} // namespace

TariffAssignmentLogic::TariffAssignmentLogic(Dataset& rows, MasterTables& tables,
                                             SpeciesTariffs& speciesTariffs,
                                             MessageDialogs& dialogs)
    : m_rows(rows)
    , m_tables(tables)
    , m_speciesTariffs(speciesTariffs)
    , m_dialogs(dialogs)
{
}

bool TariffAssignmentLogic::openAll()
{
    m_regionOnly = false;
    m_region.clear();
    return open(Filter::byTypeRegionFirst(schema::TariffAssignmentRow));
}

bool TariffAssignmentLogic::openRegion(const QString& region)
{
    m_regionOnly = true;
    m_region = withoutTrailingBlanks(region);
    return open(Filter::byTypeAndRegion(schema::TariffAssignmentRow, m_region));
}

bool TariffAssignmentLogic::open(const Filter& filter)
{
    const bool opened = m_rows.reset(filter);
    goTo(m_rows.count());
    if (!opened)
        m_dialogs.notice(QStringLiteral("Datenbank nicht lesbar!"));
    return opened;
}

TariffRow TariffAssignmentLogic::editLine() const
{
    return {withoutTrailingBlanks(m_rows.loadText(kRegion)),
            withoutTrailingBlanks(m_rows.loadText(kSpecies)),
            withoutTrailingBlanks(m_rows.loadText(kTariff))};
}

void TariffAssignmentLogic::setEditLine(const TariffRow& row)
{
    m_rows.setText(kRegion, row.region);
    m_rows.setText(kSpecies, row.species);
    m_rows.setText(kTariff, row.tariff);
}

void TariffAssignmentLogic::trimBuffers()
{
    setEditLine(editLine());
}

void TariffAssignmentLogic::goTo(int index)
{
    for (int line = 0; line < kHistoryLines; ++line) {
        const int at = index - (kHistoryLines - line);
        m_history[size_t(line)] =
            at >= 0 && m_rows.moveTo(at)
                ? QStringLiteral("%1    %2   %3")
                      .arg(m_rows.loadFormatted(kRegion), m_rows.loadFormatted(kSpecies),
                           m_rows.loadFormatted(kTariff))
                : QString();
    }
    m_rows.moveTo(index);
    trimBuffers();
    m_loaded = editLine();
}

bool TariffAssignmentLogic::check(const TariffRow& row) const
{
    if (row.region.isEmpty()) {
        m_dialogs.notice(QStringLiteral("Eingabe fehlt !!!"));
        return false;
    }
    // A table entry may carry the import's trailing blank or not.
    const bool knownSpecies = m_tables.speciesIndex(padded(kSpecies, row.species)) >= 0
                              || m_tables.speciesIndex(row.species) >= 0;
    if (row.species.isEmpty() || !knownSpecies) {
        m_dialogs.notice(QStringLiteral("Baumart fehlt !!!"));
        return false;
    }
    if (row.tariff.isEmpty()) {
        m_dialogs.notice(QStringLiteral("Eingabe fehlt !!!"));
        return false;
    }
    if (!m_tables.hasTariff(padded(kTariff, row.tariff)) && !m_tables.hasTariff(row.tariff)) {
        m_dialogs.notice(QStringLiteral("Tarif nicht in Stammdaten"),
                         QStringLiteral("vorhanden !!!"));
        return false;
    }
    const std::int64_t ownId = m_rows.loadInt(u"ID");
    for (const std::int64_t id :
         MasterRows(m_rows.database()).assignmentIds(row.region, row.species)) {
        if (onNewRow() || id != ownId) {
            m_dialogs.notice(QStringLiteral("Kombination WR/HA"),
                             QStringLiteral("existiert bereits!"));
            return false;
        }
    }
    return true;
}

std::int64_t TariffAssignmentLogic::nextId() const
{
    return MasterRows(m_rows.database()).nextId();
}

bool TariffAssignmentLogic::insertRow(const TariffRow& row)
{
    // The other fields as the configuration import leaves them for a "712" record.
    m_rows.clearFields();
    m_rows.setInt(u"ID", nextId());
    m_rows.setInt(u"ID_TYPE", schema::TariffAssignmentRow);
    m_rows.setText(u"DMSTUFE", QString());
    m_rows.setInt(u"BHDBIS", 0);
    m_rows.setInt(u"BHD", 0);
    m_rows.setInt(u"KUBATUR", 0);
    m_rows.setText(kRegion, padded(kRegion, row.region));
    m_rows.setText(kSpecies, padded(kSpecies, row.species));
    m_rows.setText(kTariff, padded(kTariff, row.tariff));
    return m_rows.insert();
}

bool TariffAssignmentLogic::write()
{
    const TariffRow row = editLine();
    if (!check(row))
        return false;
    const bool isNew = onNewRow();
    const int index = position();
    bool written = false;
    {
        Database::Transaction transaction(m_rows.database());
        if (transaction.active()) {
            if (isNew) {
                written = insertRow(row);
            } else {
                m_rows.setText(kRegion, padded(kRegion, row.region));
                m_rows.setText(kSpecies, padded(kSpecies, row.species));
                m_rows.setText(kTariff, padded(kTariff, row.tariff));
                written = m_rows.save();
            }
            written = written && transaction.commit();
        }
    }
    if (written)
        assignmentsChanged(isNew ? TariffRow{} : m_loaded, row);
    if (!written) {
        // The cursor may hold a row the rollback took back; read it again, keeping what was typed.
        m_rows.reset(m_rows.filter());
        goTo(std::min(index, m_rows.count()));
        setEditLine(row);
        m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
    }
    return written;
}

bool TariffAssignmentLogic::save()
{
    const bool wasNew = onNewRow();
    if (!write())
        return false;
    goTo(wasNew ? m_rows.count() : position());
    return true;
}

bool TariffAssignmentLogic::move(int step)
{
    const int target = position() + step;
    if (target < 0 || target > rowCount())
        return false;
    if (changed() && m_dialogs.yesNo(QStringLiteral("Abspeichern?")) == Answer::Yes && !write())
        return false;
    goTo(target);
    return true;
}

bool TariffAssignmentLogic::deleteCurrent()
{
    if (onNewRow()) {
        setEditLine({});
        return false;
    }
    if (m_dialogs.yesNo(QStringLiteral("Aktuellen Satz wirklich löschen?")) != Answer::Yes)
        return false;
    const int index = position();
    bool deleted = false;
    {
        Database::Transaction transaction(m_rows.database());
        deleted = transaction.active() && m_rows.deleteCurrent() && transaction.commit();
    }
    if (deleted) {
        assignmentsChanged(m_loaded, {});
    } else {
        m_rows.reset(m_rows.filter());
        m_dialogs.notice(QStringLiteral("Satz nicht gelöscht!"));
    }
    goTo(std::min(index, m_rows.count()));
    return deleted;
}

void TariffAssignmentLogic::assignmentsChanged(const TariffRow& removed, const TariffRow& added)
{
    m_tables.reloadTariffChoices(m_rows.database());
    // A tariff no longer assigned to its species is not proposed for it any more.
    const int before = m_tables.speciesIndex(removed.species);
    if (before >= 0 && withoutTrailingBlanks(m_speciesTariffs[size_t(before)]) == removed.tariff
        && !m_tables.speciesTariffChoices.value(padded(kSpecies, removed.species))
                .contains(removed.tariff))
        m_speciesTariffs[size_t(before)].clear();
    // The tariff just assigned is the one the tally proposes for the species from now on.
    const int after = m_tables.speciesIndex(added.species);
    if (after >= 0)
        m_speciesTariffs[size_t(after)] = added.tariff.left(5);
}

QStringList TariffAssignmentLogic::regions() const
{
    QStringList found;
    const auto rows =
        MasterRows(m_rows.database()).ofType(schema::TariffAssignmentRow, MasterRows::Order::ById);
    for (auto row = rows.begin(); found.size() < kMaxRegions && row != rows.end(); ++row) {
        const QString region = withoutTrailingBlanks(row->text(kRegion));
        if (!region.isEmpty() && !found.contains(padded(kRegion, region)))
            found << padded(kRegion, region);
    }
    std::sort(found.begin(), found.end());
    return found;
}

QStringList TariffAssignmentLogic::speciesCodes() const
{
    return QStringList(m_tables.species.begin(), m_tables.species.end());
}

} // namespace brovant
