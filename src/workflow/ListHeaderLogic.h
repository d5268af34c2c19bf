// Workflow: the list header screen without its widgets. A new list or an existing one is
// edited in the buffers of a dataset over Brov_Kopfdaten, nine pages long: page 1 the fixed
// fields, pages 2 to 9 the sixteen free fields two by two. Leaving a page runs its checks, with
// the messages the user sees, and writes the row. Labels, mandatory flags and choice lists come
// from the settings store; keyboards, layout and screen switching are the screen's.
#pragma once

#include "data/Dataset.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace brovant {

struct AppState;
class Clock;
class MessageDialogs;
class SettingsStore;

// Where leaving a page leads.
enum class PageExit {
    Stay,          // a check failed (its message was shown) or the row could not be written
    NextPage,      // written; the next page is shown
    Abandon,       // the user gave the list up: back to the list selection, nothing written
    AssignTariffs, // written; the region has no tariffs: the tariff assignment for it opens
    Finished,      // the last page written and every mandatory field filled
};

class ListHeaderLogic {
public:
    static constexpr int kPages = 9;
    static constexpr int kFreeFields = 16;
    static constexpr int kChoiceEntries = 30;
    static constexpr int kMinFactor = 50;
    static constexpr int kMaxFactor = 150;
    static constexpr int kDefaultFactor = 100;
    // LISTE_NR of the model list, as its field of eight characters holds it.
    static constexpr const char* kModelName = "MODELL  ";

    // `rows` is a dataset over Brov_Kopfdaten; its buffers are the screen's working copy. All
    // references must outlive the logic.
    ListHeaderLogic(Dataset& rows, const SettingsStore& store, AppState& state, const Clock& clock,
                    MessageDialogs& dialogs);

    // What the configuration says about the fields. Labels lose their trailing blanks; a fixed
    // field (0 ZUSATZ_A, 1 DATUM_A, 2 KOR_FAKTOR_N, 3 REGION_A) keeps the screen's own text
    // until the configuration gives one. Free fields count from 1.
    static QString fixedLabel(const SettingsStore& store, int index);
    static QString freeLabel(const SettingsStore& store, int field);
    static bool mandatory(const SettingsStore& store, int field);
    // AUSWAHL01..30 of the field, blank entries left out.
    static QStringList choices(const SettingsStore& store, int field);
    static QString freeFieldName(int field); // "KOPF<field>_A"
    // The two free fields of page 2..9: 2p - 3 and 2p - 2.
    static int firstFieldOf(int page) { return 2 * page - 3; }
    static bool isModelName(const QString& name);
    static QString dateText(const QDate& date); // "%02d.%02d.%4d"

    // Regions that have tariff assignments, without trailing blanks, sorted.
    QStringList regions() const { return regions(m_rows.database()); }
    static QStringList regions(Database& db);
    // Whether the region has tariff assignments (trailing blanks do not count).
    static bool hasTariffs(Database& db, const QString& region);
    // "Wuchsregion nicht vorhanden!" with "Zuordnen" and "Abbruch": true on "Zuordnen".
    static bool askToAssignTariffs(MessageDialogs& dialogs);

    // A new row with its defaults and `presetName`; when a model list exists the user is asked
    // whether the new list starts from its values. False when the table cannot be read.
    bool openNew(const QString& presetName);
    // The same in two steps, so a screen can show the new row before asking: a new row, taking
    // the model list's values when `fromModel` and there is one ...
    bool startNew(const QString& presetName, bool fromModel);
    // ... and the question, when a model list exists; true when the row took its values.
    bool offerModel();
    // Positions on the row of that list, page 1. False when there is no such list.
    bool openExisting(std::int64_t listId);

    int page() const { return m_page; }
    bool isNew() const { return m_rows.eof(); }
    // The list edited is the model list, by the name the buffer holds now.
    bool isModel() const;
    // An existing model list keeps its name.
    bool nameReadOnly() const { return m_nameReadOnly; }
    bool seededFromModel() const { return m_modelId >= 0; }
    std::int64_t listId() const;
    QString title() const; // "Liste: %s"
    QString region() const;

    // Enter on the page shown, after the screen stored its edits in the buffers.
    [[nodiscard]] PageExit leavePage();
    // The checks of page 1 in their order, without writing: NextPage when all pass, AssignTariffs
    // when the user chose to assign the unknown region's tariffs.
    [[nodiscard]] PageExit checkFirstPage();
    // Empty mandatory free fields (1-based), none for the model list.
    QList<int> missingMandatory() const;
    // The check over all sixteen free fields with its notice.
    bool checkAllMandatory();
    // The cursor keys: write the page as it is and turn to the next (from 2..8) or the previous
    // (from 3..9) page. Page 1 is left only by Enter.
    bool pageDown();
    bool pageUp();
    // Writes the buffers, committed: a new row is inserted and, when it started from the model
    // list, the model's trees are copied to it in the same transaction.
    bool save();

private:
    bool prepareNew(const QString& presetName);
    // Positions `at` (over Brov_Kopfdaten) on the model list; false when there is none.
    bool findModel(Dataset& at) const;
    void seedFrom(const Dataset& model);
    bool nameTaken(const QString& name) const;
    bool fieldEmpty(QStringView field) const;
    bool copyTrees(std::int64_t fromList, std::int64_t toList);
    bool turnTo(int page);
    bool saveOrTell();

    Dataset& m_rows;
    const SettingsStore& m_store;
    AppState& m_state;
    const Clock& m_clock;
    MessageDialogs& m_dialogs;
    int m_page = 1;
    std::int64_t m_modelId = -1;
    bool m_nameReadOnly = false;
};

} // namespace brovant
