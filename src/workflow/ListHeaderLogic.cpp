#include "workflow/ListHeaderLogic.h"

#include "workflow/AppState.h"
#include "data/ListStore.h"
#include "data/MasterRows.h"
#include "data/Schema.h"
#include "masterdata/SettingsStore.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListName.h"

#include <algorithm>
#include <vector>

namespace brovant {
namespace {

constexpr char16_t kListId[] = u"ID_FILE";
constexpr char16_t kName[] = u"LISTE_NR";
constexpr char16_t kAddition[] = u"ZUSATZ_A";
constexpr char16_t kDate[] = u"DATUM_A";
constexpr char16_t kFactor[] = u"KOR_FAKTOR_N";
constexpr char16_t kRegion[] = u"REGION_A";

const FieldDescriptor& nameField()
{
    return schema::Kopfdaten.fields[size_t(schema::Kopfdaten.indexOf(kName))];
}

std::vector<FieldValue> buffersOf(const Dataset& rows)
{
    std::vector<FieldValue> values;
    for (const FieldDescriptor& f : rows.table().fields)
        values.push_back(rows.value(QString::fromLatin1(f.name)));
    return values;
}

void restoreBuffers(Dataset& rows, const std::vector<FieldValue>& values)
{
    for (size_t i = 0; i < values.size(); ++i)
        rows.setValue(QString::fromLatin1(rows.table().fields[i].name), values[i]);
}

} // namespace

ListHeaderLogic::ListHeaderLogic(Dataset& rows, const SettingsStore& store, AppState& state,
                                 const Clock& clock, MessageDialogs& dialogs)
    : m_rows(rows)
    , m_store(store)
    , m_state(state)
    , m_clock(clock)
    , m_dialogs(dialogs)
{
}

QString ListHeaderLogic::fixedLabel(const SettingsStore& store, int index)
{
    static const char* const kOwnTexts[] = {"Zusatz:", "Datum:", "Korr.-Faktor:", "Wuchsreg:"};
    if (index < 0 || index >= int(std::size(kOwnTexts)))
        return {};
    const QString label = withoutTrailingBlanks(store.readText(Setting::KopfLabel, index));
    return label.isEmpty() ? QString::fromUtf8(kOwnTexts[index]) : label;
}

QString ListHeaderLogic::freeLabel(const SettingsStore& store, int field)
{
    const QString label = withoutTrailingBlanks(store.readText(Setting::KopfLabel, field + 3));
    // Without a configuration the field still needs a name the user can tell apart.
    return label.isEmpty() ? QStringLiteral("Feld %1:").arg(field) : label;
}

bool ListHeaderLogic::mandatory(const SettingsStore& store, int field)
{
    return store.readInt(Setting::Plausi, field) == 1;
}

QStringList ListHeaderLogic::choices(const SettingsStore& store, int field)
{
    QStringList out;
    for (int entry = 1; entry <= kChoiceEntries; ++entry) {
        const QString choice = withoutTrailingBlanks(store.choice(field, entry));
        if (!choice.trimmed().isEmpty())
            out << choice;
    }
    return out;
}

QString ListHeaderLogic::freeFieldName(int field)
{
    return QStringLiteral("KOPF%1_A").arg(field);
}

bool ListHeaderLogic::isModelName(const QString& name)
{
    return formatValue(nameField(), FieldValue(name)) == QLatin1StringView(kModelName);
}

QString ListHeaderLogic::dateText(const QDate& date)
{
    return QString::asprintf("%02d.%02d.%4d", date.day(), date.month(), date.year());
}

QStringList ListHeaderLogic::regions(Database& db)
{
    QStringList found;
    for (const TableRow& row :
         MasterRows(db).ofType(schema::TariffAssignmentRow, MasterRows::Order::ById)) {
        const QString region = withoutTrailingBlanks(row.text(kRegion));
        if (!region.isEmpty() && !found.contains(region))
            found << region;
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool ListHeaderLogic::prepareNew(const QString& presetName)
{
    m_page = 1;
    m_modelId = -1;
    m_nameReadOnly = false;
    if (!m_rows.reset(Filter::all()))
        return false;
    // The number follows the last row in table order, not the largest one.
    std::int64_t id = 1;
    if (m_rows.moveLast())
        id = m_rows.loadInt(kListId) + 1;
    m_rows.moveTo(m_rows.count());
    m_rows.clearFields();
    for (const FieldDescriptor& f : m_rows.table().fields) {
        if (f.type == FieldType::Text)
            m_rows.setText(QString::fromLatin1(f.name), QString());
        else
            m_rows.setInt(QString::fromLatin1(f.name), 0);
    }
    m_rows.setInt(kListId, id);
    m_rows.setText(kDate, dateText(m_clock.now().date()));
    m_rows.setText(kName, presetName);
    m_rows.setInt(kFactor, kDefaultFactor);
    m_rows.setText(u"STRUKTUR", QString::fromLatin1(schema::kStructureVersion));
    return true;
}

bool ListHeaderLogic::findModel(Dataset& at) const
{
    if (!at.reset(Filter::all()))
        return false;
    for (; !at.eof(); at.moveNext()) {
        if (isModelName(at.loadText(kName)))
            return true;
    }
    return false;
}

void ListHeaderLogic::seedFrom(const Dataset& model)
{
    // The new list keeps its own number, name and date; everything the list describes (the
    // addition, factor, region and free fields) comes from the model.
    m_rows.setValue(kAddition, model.value(kAddition));
    m_rows.setValue(kFactor, model.value(kFactor));
    m_rows.setValue(kRegion, model.value(kRegion));
    for (int field = 1; field <= kFreeFields; ++field)
        m_rows.setValue(freeFieldName(field), model.value(freeFieldName(field)));
    m_modelId = model.loadInt(kListId);
}

bool ListHeaderLogic::openNew(const QString& presetName)
{
    if (!prepareNew(presetName))
        return false;
    offerModel();
    return true;
}

bool ListHeaderLogic::offerModel()
{
    Dataset model(m_rows.database(), schema::Kopfdaten);
    if (!isNew() || !findModel(model)
        || m_dialogs.yesNo(QStringLiteral("Soll neue Liste mit Angaben"),
                           QStringLiteral("aus der Modell-Liste"),
                           QStringLiteral("vorbelegt werden?"))
               != Answer::Yes)
        return false;
    seedFrom(model);
    return true;
}

bool ListHeaderLogic::startNew(const QString& presetName, bool fromModel)
{
    if (!prepareNew(presetName))
        return false;
    Dataset model(m_rows.database(), schema::Kopfdaten);
    if (fromModel && findModel(model))
        seedFrom(model);
    return true;
}

bool ListHeaderLogic::openExisting(std::int64_t listId)
{
    m_page = 1;
    m_modelId = -1;
    m_nameReadOnly = false;
    if (!m_rows.reset(Filter::all()))
        return false;
    for (; !m_rows.eof(); m_rows.moveNext()) {
        if (m_rows.loadInt(kListId) == listId) {
            m_nameReadOnly = isModel();
            return true;
        }
    }
    return false;
}

bool ListHeaderLogic::isModel() const
{
    return isModelName(m_rows.loadText(kName));
}

std::int64_t ListHeaderLogic::listId() const
{
    return m_rows.loadInt(kListId);
}

QString ListHeaderLogic::title() const
{
    return QStringLiteral("Liste: %1").arg(withoutTrailingBlanks(m_rows.loadText(kName)));
}

QString ListHeaderLogic::region() const
{
    return withoutTrailingBlanks(m_rows.loadText(kRegion));
}

bool ListHeaderLogic::fieldEmpty(QStringView field) const
{
    return m_rows.loadText(field).trimmed().isEmpty();
}

bool ListHeaderLogic::nameTaken(const QString& name) const
{
    const QString wanted = formatValue(nameField(), FieldValue(name));
    const std::int64_t own = listId();
    for (const TableRow& list : ListStore(m_rows.database()).all()) {
        if (list.number(kListId) != own && list.formatted(kName) == wanted)
            return true;
    }
    return false;
}

bool ListHeaderLogic::hasTariffs(Database& db, const QString& region)
{
    return MasterRows(db).hasAssignments(region);
}

bool ListHeaderLogic::askToAssignTariffs(MessageDialogs& dialogs)
{
    return dialogs.question(QStringLiteral("Wuchsregion nicht vorhanden!"),
                            QStringLiteral("Wollen Sie die Tarife selbst"),
                            QStringLiteral("zuordnen?"), QStringLiteral("Zuordnen"),
                            QStringLiteral("Abbruch"), QString())
           == Answer::First;
}

PageExit ListHeaderLogic::checkFirstPage()
{
    if (fieldEmpty(kName)) {
        const Answer answer = m_dialogs.yesNo(QStringLiteral("Kein Listenname angegeben!"),
                                              QStringLiteral("Soll die Listenanlage"),
                                              QStringLiteral("abgebrochen werden?"));
        return answer == Answer::No ? PageExit::Stay : PageExit::Abandon;
    }
    // The name becomes the list's file name on every way to the office.
    if (!listname::canTravel(formatValue(nameField(), m_rows.value(kName)))) {
        m_dialogs.notice(QStringLiteral("Listenname nicht zulässig!"),
                         QStringLiteral("Erlaubt: Buchstaben, Ziffern,"),
                         QStringLiteral("Leerzeichen und _ - . , ( ) &"));
        return PageExit::Stay;
    }
    if (nameTaken(m_rows.loadText(kName))) {
        m_dialogs.notice(QStringLiteral("Listenname existiert bereits!"),
                         QStringLiteral("Bitte verwenden Sie einen"),
                         QStringLiteral("anderen Listennamen."));
        return PageExit::Stay;
    }
    const bool model = isModel();
    if (!model && fieldEmpty(kDate)) {
        m_dialogs.notice(QStringLiteral("Eingabe fehlt !!!"));
        return PageExit::Stay;
    }
    const std::int64_t factor = m_rows.loadInt(kFactor);
    if (factor < kMinFactor || factor > kMaxFactor) {
        m_dialogs.notice(QStringLiteral("K-Faktor falsch !!!"));
        return PageExit::Stay;
    }
    if (!model && fieldEmpty(kRegion)) {
        m_dialogs.notice(QStringLiteral("Eingabe fehlt !!!"));
        return PageExit::Stay;
    }
    // The model may leave its region empty; a region it names must still be known.
    if ((!model || !fieldEmpty(kRegion)) && !hasTariffs(m_rows.database(), region()))
        return askToAssignTariffs(m_dialogs) ? PageExit::AssignTariffs : PageExit::Stay;
    return PageExit::NextPage;
}

QList<int> ListHeaderLogic::missingMandatory() const
{
    QList<int> missing;
    if (isModel())
        return missing;
    for (int field = 1; field <= kFreeFields; ++field) {
        if (mandatory(m_store, field) && fieldEmpty(freeFieldName(field)))
            missing << field;
    }
    return missing;
}

bool ListHeaderLogic::checkAllMandatory()
{
    if (missingMandatory().isEmpty())
        return true;
    m_dialogs.notice(QStringLiteral("Es wurden nicht alle"),
                     QStringLiteral("Pflicht-Kopfdaten eingegeben!"));
    return false;
}

PageExit ListHeaderLogic::leavePage()
{
    if (m_page == 1) {
        const PageExit checked = checkFirstPage();
        if (checked == PageExit::Stay || checked == PageExit::Abandon)
            return checked;
        if (!saveOrTell())
            return PageExit::Stay;
        // Also before the tariff assignment: coming back, the screen reopens this list.
        m_state.currentList = int(listId());
        if (checked == PageExit::AssignTariffs)
            return checked;
        m_page = 2;
        return PageExit::NextPage;
    }
    if (!isModel()) {
        for (int field = firstFieldOf(m_page); field <= firstFieldOf(m_page) + 1; ++field) {
            if (mandatory(m_store, field) && fieldEmpty(freeFieldName(field))) {
                m_dialogs.notice(QStringLiteral("Eingabe fehlt !!!"));
                return PageExit::Stay;
            }
        }
    }
    if (!saveOrTell())
        return PageExit::Stay;
    if (m_page < kPages) {
        ++m_page;
        return PageExit::NextPage;
    }
    return checkAllMandatory() ? PageExit::Finished : PageExit::Stay;
}

bool ListHeaderLogic::turnTo(int page)
{
    if (!saveOrTell())
        return false;
    m_page = page;
    return true;
}

bool ListHeaderLogic::pageDown()
{
    return m_page >= 2 && m_page < kPages && turnTo(m_page + 1);
}

bool ListHeaderLogic::pageUp()
{
    return m_page >= 3 && turnTo(m_page - 1);
}

bool ListHeaderLogic::copyTrees(std::int64_t fromList, std::int64_t toList)
{
    Database& db = m_rows.database();
    Dataset source(db, schema::Holzdaten);
    Dataset target(db, schema::Holzdaten);
    if (!source.reset(Filter::byList(fromList)))
        return false;
    for (; !source.eof(); source.moveNext()) {
        restoreBuffers(target, buffersOf(source));
        target.setInt(kListId, toList);
        if (!target.insert())
            return false;
    }
    return true;
}

bool ListHeaderLogic::save()
{
    Database& db = m_rows.database();
    if (!isNew()) {
        Database::Transaction transaction(db);
        return transaction.active() && m_rows.save() && transaction.commit();
    }
    const std::vector<FieldValue> typed = buffersOf(m_rows);
    bool written = false;
    {
        Database::Transaction transaction(db);
        written = transaction.active() && m_rows.insert()
                  && (m_modelId < 0 || copyTrees(m_modelId, listId())) && transaction.commit();
    }
    if (!written) {
        // The cursor may hold the row the rollback took back: still a new row, as typed.
        m_rows.reset(Filter::all());
        m_rows.moveTo(m_rows.count());
        restoreBuffers(m_rows, typed);
    }
    return written;
}

bool ListHeaderLogic::saveOrTell()
{
    if (save())
        return true;
    m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
    return false;
}

} // namespace brovant
