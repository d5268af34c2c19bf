#include "workflow/TallyLogic.h"

#include "data/ListStore.h"
#include "data/MasterRows.h"
#include "data/Schema.h"
#include "masterdata/MasterTables.h"
#include "platform/MessageDialogs.h"
#include "tally/Lookup.h"

namespace brovant {
namespace {

const FieldDescriptor& treeField(QStringView name)
{
    return schema::Holzdaten.fields[size_t(schema::Holzdaten.indexOf(name))];
}

QString cut(QStringView field, const QString& text)
{
    return text.left(treeField(field).length);
}

std::int64_t number(const QString& text)
{
    return text.trimmed().toLongLong();
}

} // namespace

TallyLogic::TallyLogic(Database& db, const MasterTables& tables,
                       std::array<QString, kSpeciesSlots>& speciesTariffs, MessageDialogs& dialogs)
    : m_db(db)
    , m_tables(tables)
    , m_speciesTariffs(speciesTariffs)
    , m_dialogs(dialogs)
    , m_rows(db, schema::Holzdaten)
{
}

void TallyLogic::recallSpeciesTariffs(Database& db, const MasterTables& tables,
                                      std::array<QString, kSpeciesSlots>& speciesTariffs)
{
    // BHD 1 flags the tariff a species had at the last shutdown.
    for (const TableRow& row :
         MasterRows(db).ofType(schema::TariffAssignmentRow, MasterRows::Order::ById)) {
        if (row.number(u"BHD") != 1)
            continue;
        const int slot = tables.speciesIndex(row.text(u"BAUMART"));
        if (slot >= 0 && speciesTariffs[size_t(slot)].isEmpty())
            speciesTariffs[size_t(slot)] = withoutTrailingBlanks(row.text(u"TARIF")).left(5);
    }
}

bool TallyLogic::open(std::int64_t listId)
{
    const auto head = ListStore(m_db).byId(listId);
    if (!head)
        return false;
    m_title = QStringLiteral("Liste: %1 - %2")
                  .arg(withoutTrailingBlanks(head->text(u"LISTE_NR")),
                       withoutTrailingBlanks(head->text(u"ZUSATZ_A")));
    m_factor = int(head->number(u"KOR_FAKTOR_N"));
    m_listId = listId;
    m_tree = Tree{};
    m_lastSpecies.clear();
    m_choices.clear();
    if (!m_rows.reset(Filter::byList(listId)))
        return false;
    end();
    return true;
}

QString TallyLogic::text(Field field) const
{
    switch (field) {
    case Field::Tariff:
        return m_tree.tariff;
    case Field::Species:
        return m_tree.species;
    case Field::Quality:
        return m_tree.quality;
    case Field::CaliperClass:
        return m_tree.caliperClass;
    case Field::Count:
        return QString::number(m_tree.count);
    case Field::DiameterClass:
        return m_tree.diameterClass;
    case Field::Diameter:
        return QString::number(m_tree.diameter);
    }
    return {};
}

void TallyLogic::setField(Field field, const QString& text)
{
    const Tree before = m_tree;
    switch (field) {
    case Field::Tariff:
        m_tree.tariff = cut(u"TARIF", text);
        break;
    case Field::Species:
        m_tree.species = cut(u"BAUMART", text);
        refreshChoices(true);
        break;
    case Field::Quality:
        m_tree.quality = cut(u"NA", text);
        break;
    case Field::CaliperClass:
        m_tree.caliperClass = cut(u"KA", text);
        break;
    case Field::Count:
        m_tree.count = number(text);
        break;
    case Field::DiameterClass:
        m_tree.diameterClass = cut(u"DMSTUFE", text);
        break;
    case Field::Diameter:
        m_tree.diameter = number(text);
        diameterChanged();
        break;
    }
    if (field != Field::Quality && field != Field::CaliperClass)
        computeVolume();
    const auto same = [](const Tree& a, const Tree& b) {
        return a.tariff == b.tariff && a.species == b.species && a.quality == b.quality
               && a.caliperClass == b.caliperClass && a.count == b.count && a.diameter == b.diameter
               && a.diameterClass == b.diameterClass && a.idType == b.idType;
    };
    if (!same(before, m_tree))
        m_changed = true;
}

void TallyLogic::setMainSpecies(int slot)
{
    if (slot >= 0 && slot < MasterTables::kMainSpecies)
        setField(Field::Species, m_tables.mainSpecies[size_t(slot)]);
}

void TallyLogic::diameterChanged()
{
    if (m_tree.diameter > 0) {
        if (const auto found = lookup::classOf(m_tables, int(m_tree.diameter))) {
            m_tree.diameterClass = found->code;
            m_tree.diameter = found->diameter;
        } else {
            // No class rows at all: nothing sensible to show.
            m_tree.diameterClass.clear();
            m_tree.diameter = 0;
        }
    }
    m_tree.idType = 1;
}

void TallyLogic::refreshChoices(bool setDefault)
{
    const QString species = lookup::speciesCode(m_tree.species);
    if (species == m_lastSpecies)
        return;
    m_lastSpecies = species;
    if (setDefault) {
        m_tree.tariff.clear();
        const int slot = m_tables.speciesIndex(species);
        if (slot >= 0)
            m_tree.tariff = m_speciesTariffs[size_t(slot)];
    }
    m_choices = lookup::tariffChoices(m_tables, species);
}

void TallyLogic::computeVolume()
{
    m_tree.volume = 0;
    if (m_tree.diameterClass.trimmed().isEmpty() || m_tree.diameter == 0 || m_tree.count == 0
        || m_tree.species.trimmed().isEmpty())
        return;
    m_tree.volume =
        lookup::recordVolume(m_tables, m_tree.tariff, m_tree.diameterClass, m_tree.count);
}

bool TallyLogic::validate()
{
    const auto refuse = [this](Field focus, const QString& line1, const QString& line2 = {}) {
        m_dialogs.notice(line1, line2);
        m_focus = focus;
        return false;
    };
    if (m_tree.species.trimmed().isEmpty())
        return refuse(Field::Species, QStringLiteral("Holzart fehlt !!!"));
    if (m_tree.tariff.trimmed().isEmpty())
        return refuse(Field::Tariff, QStringLiteral("Tarif fehlt !!!"));
    if (m_tree.diameter == 0)
        return refuse(Field::Diameter, QStringLiteral("Eingabe fehlt !!!"));
    if (m_tree.count == 0)
        return refuse(Field::Count, QStringLiteral("Eingabe fehlt !!!"));
    if (m_tree.volume == 0)
        return refuse(Field::Diameter, QStringLiteral("Keine Kubatur vorhanden,"),
                      QStringLiteral("bitte Stammdaten korrigieren!"));
    m_focus = Field::Diameter;
    return true;
}

bool TallyLogic::store()
{
    if (!validate())
        return false;
    const bool fresh = isNew();
    m_rows.setInt(u"ID_FILE", m_listId);
    m_rows.setInt(u"ID", m_tree.id);
    m_rows.setInt(u"ID_TYPE", m_tree.idType);
    m_rows.setText(u"TARIF", m_tree.tariff);
    m_rows.setText(u"BAUMART", m_tree.species);
    m_rows.setText(u"NA", m_tree.quality);
    m_rows.setText(u"KA", m_tree.caliperClass);
    m_rows.setText(u"PARZ", m_tree.parcel);
    m_rows.setInt(u"STK", m_tree.count);
    m_rows.setInt(u"BHD", m_tree.diameter);
    m_rows.setText(u"DMSTUFE", m_tree.diameterClass);
    m_rows.setInt(u"KUBATUR", m_tree.volume);
    // One statement outside any transaction: committed (and flushed) when it returns.
    if (!(fresh ? m_rows.insert() : m_rows.save())) {
        m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
        m_focus = Field::Diameter;
        return false;
    }
    m_changed = false;
    const int slot = m_tables.speciesIndex(m_tree.species);
    if (slot >= 0)
        m_speciesTariffs[size_t(slot)] = m_tree.tariff.left(5);
    return true;
}

bool TallyLogic::save()
{
    if (!store())
        return false;
    const Tree saved = m_tree;
    m_rows.moveNext();
    m_preview2 = m_preview1.left(kPreviewLength);
    m_preview1 = lineOf(saved);
    if (!m_rows.eof()) {
        // An older record was corrected: the next one comes up.
        load();
        return true;
    }
    if (saved.id % kBackupEvery == 0 && m_backupHook) {
        m_backupHook();
        // The backup closes and reopens the database.
        reopen();
    }
    startNew();
    return true;
}

bool TallyLogic::takeMeasurement(int speciesKey, int diameter)
{
    if (speciesKey >= 0 && speciesKey < 7)
        setMainSpecies(speciesKey);
    else if (speciesKey == 7 && !m_tables.caliperSpecies.trimmed().isEmpty())
        setField(Field::Species, m_tables.caliperSpecies);
    setField(Field::Diameter, QString::number(diameter));
    return save();
}

void TallyLogic::startNew()
{
    const int stored = m_rows.count();
    Tree next;
    if (stored > 0) {
        m_rows.moveTo(stored - 1);
        next = readCurrent();
        next.id += 1;
    } else {
        next.id = 1;
        next.idType = 1;
    }
    m_rows.moveTo(stored);
    next.count = 1;
    next.diameter = 0;
    next.diameterClass = QStringLiteral("  ");
    next.volume = 0;
    m_tree = next;
    refreshChoices(true);
    // A species without a default of its own keeps the copied tariff: a list from the office
    // holds tariffs this device never used, and a blank one would refuse the next tree.
    if (m_tree.tariff.trimmed().isEmpty())
        m_tree.tariff = next.tariff;
    m_changed = false;
    m_focus = Field::Diameter;
}

void TallyLogic::load()
{
    m_tree = readCurrent();
    refreshChoices(false);
    m_changed = false;
    m_focus = Field::Diameter;
}

TallyLogic::Tree TallyLogic::readCurrent() const
{
    Tree t;
    t.id = m_rows.loadInt(u"ID");
    t.idType = int(m_rows.loadInt(u"ID_TYPE"));
    t.tariff = m_rows.loadText(u"TARIF");
    t.species = m_rows.loadText(u"BAUMART");
    t.quality = m_rows.loadText(u"NA");
    t.caliperClass = m_rows.loadText(u"KA");
    t.parcel = m_rows.loadText(u"PARZ");
    t.count = m_rows.loadInt(u"STK");
    t.diameter = m_rows.loadInt(u"BHD");
    t.diameterClass = m_rows.loadText(u"DMSTUFE");
    t.volume = m_rows.loadInt(u"KUBATUR");
    return t;
}

QString TallyLogic::lineOf(const Tree& tree) const
{
    return QStringLiteral("%1     %2      %3")
        .arg(formatValue(treeField(u"STK"), FieldValue(tree.count)),
             formatValue(treeField(u"BHD"), FieldValue(tree.diameter)),
             formatValue(treeField(u"KUBATUR"), FieldValue(tree.volume)));
}

QString TallyLogic::storedLine(int position)
{
    const int back = m_rows.position();
    QString line;
    if (position >= 0 && position < m_rows.count() && m_rows.moveTo(position))
        line = lineOf(readCurrent());
    m_rows.moveTo(back);
    return line;
}

void TallyLogic::showRecordsBefore(int position)
{
    // Read back rather than shifted: a new record saved on the way up has just become one of the
    // records before, and shifting would show the wrong one.
    m_preview1 = storedLine(position - 1);
    m_preview2 = storedLine(position - 2).left(kPreviewLength);
}

bool TallyLogic::reopen()
{
    const bool ok = m_rows.reset(Filter::byList(m_listId));
    m_rows.moveTo(m_rows.count());
    return ok;
}

void TallyLogic::end()
{
    const int stored = m_rows.count();
    showRecordsBefore(stored);
    m_rows.moveTo(stored);
    startNew();
}

bool TallyLogic::first()
{
    m_preview1.clear();
    m_preview2.clear();
    if (m_rows.count() == 0) {
        m_dialogs.beep();
        m_focus = Field::Diameter;
        return false;
    }
    m_rows.moveFirst();
    load();
    return true;
}

bool TallyLogic::removeCurrent()
{
    if (isNew()) {
        m_dialogs.beep();
        m_focus = Field::Diameter;
        return false;
    }
    if (m_dialogs.yesNo(QStringLiteral("Aktuellen Satz wirklich löschen?")) != Answer::Yes)
        return false;
    if (!m_rows.deleteCurrent()) {
        m_dialogs.notice(QStringLiteral("Satz nicht gelöscht!"));
        return false;
    }
    if (m_rows.eof())
        end();
    else
        load();
    return true;
}

bool TallyLogic::askToSave()
{
    if (!m_changed)
        return true;
    if (m_dialogs.yesNo(QStringLiteral("Abspeichern?")) != Answer::Yes)
        return true;
    const bool fresh = isNew();
    if (!store())
        return false;
    // A new record just written counts as the last one: the cursor stands behind it again.
    if (fresh)
        m_rows.moveNext();
    return true;
}

bool TallyLogic::down()
{
    if (isNew()) {
        m_dialogs.beep();
        m_focus = Field::Diameter;
        return false;
    }
    if (!askToSave())
        return false;
    m_rows.moveNext();
    showRecordsBefore(m_rows.position());
    if (m_rows.eof())
        startNew();
    else
        load();
    return true;
}

bool TallyLogic::up()
{
    if (m_rows.position() <= 0) {
        m_dialogs.beep();
        m_focus = Field::Diameter;
        return false;
    }
    if (!askToSave())
        return false;
    m_rows.movePrevious();
    showRecordsBefore(m_rows.position());
    load();
    return true;
}

bool TallyLogic::checkHasTrees()
{
    if (m_rows.count() > 0)
        return true;
    m_dialogs.notice(QStringLiteral("Keine Daten vorhanden!"));
    m_focus = Field::Diameter;
    return false;
}

} // namespace brovant
