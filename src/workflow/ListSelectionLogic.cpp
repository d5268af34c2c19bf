#include "workflow/ListSelectionLogic.h"

#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"
#include "data/Dataset.h"
#include "data/ListStore.h"
#include "data/RegionRows.h"
#include "data/Schema.h"
#include "data/TreeRows.h"
#include "masterdata/SettingsStore.h"
#include "platform/Clock.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"
#include "transfer/ListName.h"
#include "transfer/TransferChannels.h"

namespace brovant {
namespace {

const FieldDescriptor& listNoField()
{
    return schema::Kopfdaten.fields[size_t(schema::Kopfdaten.indexOf(u"LISTE_NR"))];
}

QString formattedListNo(const FieldValue& value)
{
    return formatValue(listNoField(), value);
}

} // namespace

ListSelectionLogic::ListSelectionLogic(const DeviceRoot& root, Database& db,
                                       const SettingsStore& store, AppState& state,
                                       MessageDialogs& dialogs, Clock& clock, ScreenHost* host)
    : m_root(root)
    , m_db(db)
    , m_store(store)
    , m_state(state)
    , m_dialogs(dialogs)
    , m_clock(clock)
    , m_host(host)
{
}

std::vector<ListSelectionLogic::Row> ListSelectionLogic::readRows(Database& db)
{
    std::vector<Row> rows;
    for (const TableRow& list : ListStore(db).all()) {
        rows.push_back({list.number(u"ID_FILE"), list.formatted(u"LISTE_NR"),
                        markText(list.number(u"DUE_MARK"), list.number(u"EXPORTED_N_NI")),
                        list.text(u"ZUSATZ_A").left(kAdditionWidth)});
    }
    return rows;
}

QString ListSelectionLogic::markText(std::int64_t dueMark, std::int64_t exported)
{
    return (dueMark == 1 ? QStringLiteral("A") : QStringLiteral("   ")) + QString::number(exported);
}

QString ListSelectionLogic::headingFromLabel(const QString& label)
{
    QString heading = label.left(label.indexOf(u' '));
    if (heading.endsWith(u':'))
        heading.chop(1);
    return heading;
}

bool ListSelectionLogic::isModelName(const QString& listNo)
{
    return formattedListNo(FieldValue(listNo)) == QStringView(kModelName);
}

void ListSelectionLogic::build()
{
    m_rows = readRows(m_db);
    m_heading = headingFromLabel(m_store.readText(Setting::KopfLabel, 0));
    m_selected = -1;
    for (size_t i = 0; i < m_rows.size(); ++i) {
        if (m_rows[i].idFile == m_state.currentList)
            m_selected = int(i);
    }
    // Without a current list the first row is chosen, even in an empty view.
    if (m_state.currentList == -1)
        m_selected = 0;
}

std::optional<ListSelectionLogic::Selected> ListSelectionLogic::recordAt(int index) const
{
    const auto list = ListStore(m_db).at(index);
    if (!list)
        return std::nullopt;
    return Selected{list->rowId(), list->number(u"ID_FILE"), list->formatted(u"LISTE_NR")};
}

bool ListSelectionLogic::tableEmpty() const
{
    return !recordAt(0).has_value();
}

bool ListSelectionLogic::selectRow()
{
    // With no row highlighted the walk takes no step and stays on the first record.
    const auto record = recordAt(std::max(m_selected, 0));
    if (!record)
        return false;
    m_current = record;
    m_state.currentList = int(record->idFile);
    return true;
}

std::optional<QString> ListSelectionLogic::toggleMark()
{
    if (!selectRow())
        return std::nullopt;
    ListStore lists(m_db);
    const auto list = lists.byRowId(m_current->rowId);
    if (!list)
        return std::nullopt;
    const std::int64_t mark = list->number(u"DUE_MARK") == 0 ? 1 : 0;
    const std::int64_t exported = list->number(u"EXPORTED_N_NI");
    bool saved = false;
    {
        Database::Transaction transaction(m_db);
        saved = transaction.active() && lists.setDueMark(m_current->rowId, mark)
                && transaction.commit();
    }
    if (!saved) {
        m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
        return std::nullopt;
    }
    const QString text = markText(mark, exported);
    if (m_selected >= 0 && size_t(m_selected) < m_rows.size())
        m_rows[size_t(m_selected)].mark = text;
    return text;
}

bool ListSelectionLogic::deleteSelected()
{
    if (m_selected < 0 || tableEmpty())
        return false;
    if (m_dialogs.yesNo(QStringLiteral("Soll die angewählte Liste"),
                        QStringLiteral("wirklich gelöscht werden?"))
        != Answer::Yes)
        return false;
    if (m_dialogs.yesNo(QStringLiteral("Alle Daten der Liste"), QStringLiteral("gehen verloren!"),
                        QStringLiteral("Liste wirklich löschen?"))
        != Answer::Yes)
        return false;
    if (!selectRow())
        return false;
    setWaitCursor(true);
    const bool deleted = ListStore(m_db).remove(m_current->rowId, m_state.currentList);
    if (deleted && size_t(m_selected) < m_rows.size())
        m_rows.erase(m_rows.begin() + m_selected);
    setWaitCursor(false);
    if (!deleted) {
        m_dialogs.notice(QStringLiteral("Liste nicht gelöscht!"));
        return false;
    }
    m_selected = 0;
    return true;
}

ListSelectionLogic::Target ListSelectionLogic::newList()
{
    m_state.currentList = -1;
    return Target::ListHeader;
}

ListSelectionLogic::Target ListSelectionLogic::openTally()
{
    if (!selectRow())
        return Target::None;
    // A warning only: the model list opens all the same.
    if (isModelName(m_current->listNo))
        m_dialogs.notice(QStringLiteral("Holzaufnahme in Modell-Liste "),
                         QStringLiteral("nicht möglich!"));
    return Target::Tally;
}

ListSelectionLogic::Target ListSelectionLogic::openInfo()
{
    return selectRow() ? Target::ListInfo : Target::None;
}

ListSelectionLogic::Target ListSelectionLogic::openRegion()
{
    return selectRow() ? Target::Region : Target::None;
}

ListSelectionLogic::Target ListSelectionLogic::withTrees(Target target)
{
    if (!selectRow())
        return Target::None;
    if (!hasTrees(m_state.currentList)) {
        m_dialogs.notice(QStringLiteral("Keine Daten vorhanden!"));
        return Target::None;
    }
    return target;
}

bool ListSelectionLogic::hasTrees(std::int64_t listId) const
{
    return TreeRows(m_db).any(listId);
}

std::optional<std::int64_t> ListSelectionLogic::insertModel(std::optional<std::int64_t> fromRowId)
{
    Database::Transaction transaction(m_db);
    if (!transaction.active())
        return std::nullopt;
    const std::int64_t modelId = ListStore(m_db).lastId().value_or(0) + 1;
    Dataset heads(m_db, schema::Kopfdaten);
    if (fromRowId) {
        // The selected list's header, its other fields kept.
        if (!heads.reset(Filter::byRowId(*fromRowId)) || heads.eof())
            return std::nullopt;
        const QDate today = m_clock.now().date();
        heads.setText(u"DATUM_A",
                      QString::asprintf("%02d.%02d.%4d", today.day(), today.month(), today.year()));
    } else {
        heads.clearFields();
    }
    // A new model list has never been marked or sent.
    heads.setInt(u"DUE_MARK", 0);
    heads.setInt(u"EXPORTED_N_NI", 0);
    heads.setInt(u"ID_FILE", modelId);
    heads.setText(u"LISTE_NR", QString::fromUtf16(kModelName));
    heads.setInt(u"KOR_FAKTOR_N", 100);
    heads.setText(u"STRUKTUR", QString::fromLatin1(schema::kStructureVersion));
    if (!heads.insert())
        return std::nullopt;

    if (fromRowId) {
        Dataset regions(m_db, schema::Region);
        Dataset copies(m_db, schema::Region);
        std::int64_t nextId = RegionRows(m_db).nextId();
        if (!regions.reset(Filter::byList(m_state.currentList)))
            return std::nullopt;
        const int count = regions.count();
        for (int i = 0; i < count; ++i) {
            if (!regions.moveTo(i))
                return std::nullopt;
            copies.clearFields();
            for (const FieldDescriptor& field : schema::Region.fields) {
                const QString name = QString::fromLatin1(field.name);
                copies.setValue(name, regions.value(name));
            }
            copies.setInt(u"ID", nextId++);
            copies.setInt(u"ID_FILE", modelId);
            if (!copies.insert())
                return std::nullopt;
        }
    }
    if (!transaction.commit())
        return std::nullopt;
    return modelId;
}

bool ListSelectionLogic::buildModel()
{
    if (!selectRow() || isModelName(m_current->listNo))
        return false;
    const std::int64_t selectedRowId = m_current->rowId;

    // Asked before anything is deleted: a question closed without "Ja" or "Leer" leaves the old
    // model list as it is and makes no new one.
    const Answer answer = m_dialogs.question(
        QStringLiteral("Soll die Modell-Liste mit"), QStringLiteral("den Angaben aus der Liste"),
        QStringLiteral("vorbelegt werden?"), QStringLiteral("Ja"), QStringLiteral("Leer"),
        QString());
    if (answer != Answer::First && answer != Answer::Second)
        return false;

    setWaitCursor(true);
    std::optional<std::int64_t> oldModel;
    for (const TableRow& list : ListStore(m_db).all()) {
        if (!oldModel && list.formatted(u"LISTE_NR") == QStringView(kModelName))
            oldModel = list.rowId();
    }
    // Old and new model list change together, so a failure keeps the old one.
    Database::Transaction transaction(m_db);
    // The old model's header goes, but its child rows are chosen by the current list number,
    // that is the list selected here: the device deletes them that way.
    const bool deleted = transaction.active()
                         && (!oldModel || ListStore(m_db).remove(*oldModel, m_state.currentList));
    const bool copy = answer == Answer::First;
    const std::optional<std::int64_t> modelId =
        deleted ? insertModel(copy ? std::optional(selectedRowId) : std::nullopt) : std::nullopt;
    const bool made = modelId && transaction.commit();
    setWaitCursor(false);
    if (made && copy)
        m_state.currentList = int(*modelId);
    if (!made)
        m_dialogs.notice(deleted ? QStringLiteral("Satz nicht gespeichert!")
                                 : QStringLiteral("Liste nicht gelöscht!"));
    build();
    return made;
}

int ListSelectionLogic::markedCount() const
{
    return ListStore(m_db).dueCount();
}

bool ListSelectionLogic::readyToSend()
{
    if (markedCount() > 0)
        return true;
    m_dialogs.notice(QStringLiteral("Keine Liste für DÜ markiert!"));
    return false;
}

bool ListSelectionLogic::markedNamesTravel()
{
    for (const TableRow& list : ListStore(m_db).marked()) {
        const QString name = list.formatted(u"LISTE_NR");
        if (!listname::canTravel(name)) {
            m_dialogs.notice(QStringLiteral("Listenname nicht zulässig:"),
                             QStringLiteral("\"%1\"").arg(name.trimmed()),
                             QStringLiteral("Bitte Liste umbenennen."));
            return false;
        }
    }
    return true;
}

ListSelectionLogic::Transfer ListSelectionLogic::send(TransferChannels& channels)
{
    if (!readyToSend())
        return Transfer::NotStarted;
    // A list the office could not file would go unmarked without having arrived.
    if (!markedNamesTravel())
        return Transfer::Failed;
    ListFileExport files(m_root, m_db, m_store, m_dialogs);
    if (files.writeMarked() == 0 || !channels.send())
        return Transfer::Failed;
    // The lists stay marked until they have really gone, so a failed send is simply repeated.
    if (!files.markExported())
        m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
    build();
    return Transfer::Done;
}

ListSelectionLogic::Transfer ListSelectionLogic::receive(TransferChannels& channels,
                                                         KeepAwake* keepAwake)
{
    // One hold for the transfer and the import after it, so the handheld cannot doze in between.
    std::optional<KeepAwake::Scope> awake;
    if (keepAwake)
        awake.emplace(*keepAwake);
    if (!channels.receive())
        return Transfer::Failed;
    setWaitCursor(true);
    const ListFileImport::Outcome outcome = ListFileImport(m_root, m_db, m_dialogs).run();
    setWaitCursor(false);
    if (outcome.lastList != -1)
        m_state.currentList = int(outcome.lastList);
    build();
    return Transfer::Done;
}

void ListSelectionLogic::setWaitCursor(bool wait)
{
    if (m_host)
        m_host->setWaitCursor(wait);
}

} // namespace brovant
