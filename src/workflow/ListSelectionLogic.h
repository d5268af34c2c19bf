// Workflow: the list selection screen without its widgets. Reads the rows of
// Brov_Kopfdaten in table order, keeps the selected row, and runs what the screen's buttons do to
// one list (mark, delete, model list, the checks before tally, totals and printouts), and sends
// and receives lists over the channels it is given. Which screen opens is the screen's; how the
// files travel is the channels'.
#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace brovant {

class Clock;
class Database;
class DeviceRoot;
class KeepAwake;
class MessageDialogs;
class ScreenHost;
class SettingsStore;
class TransferChannels;
struct AppState;

class ListSelectionLogic {
public:
    // LISTE_NR of the model list as the field formats it.
    static constexpr const char16_t* kModelName = u"MODELL  ";
    static constexpr int kAdditionWidth = 40;

    // One line of the list view.
    struct Row {
        std::int64_t idFile = 0;
        QString listNo;   // column 0, LISTE_NR formatted
        QString mark;     // column 1, mark text and EXPORTED_N_NI
        QString addition; // column 2, ZUSATZ_A cut to kAdditionWidth
    };

    // Where the screen goes after a button.
    enum class Target {
        None,
        ListHeader,
        ListInfo,
        Tally,
        Totals,
        Region,
        TallyPrintout,
        AssortmentPrintout,
    };

    // How "Send" and "Receive" ended.
    enum class Transfer {
        NotStarted, // nothing marked to send
        Failed,     // the channel did not deliver; marks and lists are unchanged
        Done,       // delivered, and the rows read again
    };

    // `host` (may be null) shows the wait cursor. Everything passed must outlive the logic.
    ListSelectionLogic(const DeviceRoot& root, Database& db, const SettingsStore& store,
                       AppState& state, MessageDialogs& dialogs, Clock& clock,
                       ScreenHost* host = nullptr);

    // Every list in table order, in one query; the screen and the admin tool both show these.
    static std::vector<Row> readRows(Database& db);
    // "A" for a marked list, three blanks otherwise, followed at once by the export count.
    static QString markText(std::int64_t dueMark, std::int64_t exported);
    // The heading of column 2 from HDL_KOPF/KOPF00: up to its first blank, a final ":" removed.
    static QString headingFromLabel(const QString& label);

    // Reads the rows and the heading again. The current list's row becomes the selection; row 0
    // when there is no current list; none when the current list is not among the rows.
    void build();
    const std::vector<Row>& rows() const { return m_rows; }
    const QString& heading() const { return m_heading; }
    // The view's selected row, -1 for none.
    int selectedRow() const { return m_selected; }
    void setSelectedRow(int row) { m_selected = row; }

    // Makes the list of the selected row (record n of the table, row 0 when none is selected)
    // the current list. False, changing nothing, when the table holds no such record.
    bool selectRow();

    // "DÜ": flips DUE_MARK of the selected list; the new column-1 text, or none when nothing
    // was changed.
    std::optional<QString> toggleMark();
    // "Del": two questions, then the header, tree and region rows in one transaction; row 0 is
    // selected afterwards. True when the list was deleted.
    bool deleteSelected();
    // "Neu": no current list; the header screen makes a new one.
    Target newList();
    // "Holz": the model list is warned about, and opened all the same.
    Target openTally();
    Target openInfo();
    Target openRegion();
    // "Eval", "Ausdruck", "Sortiment": only for a list that holds trees.
    Target openTotals() { return withTrees(Target::Totals); }
    Target printTally() { return withTrees(Target::TallyPrintout); }
    Target printAssortment() { return withTrees(Target::AssortmentPrintout); }
    // "Modell": replaces the model list by a copy of the selected list's header and regions, or
    // by an empty one, as the user answers. Rebuilds the rows. True when a model list was made.
    bool buildModel();

    // "Send", before the transfer: false (with the notice) when no list is marked.
    bool readyToSend();
    // "Send": the marked lists' files into "\Export", then over `channels`; only a delivery
    // unmarks the lists and raises their export counts.
    Transfer send(TransferChannels& channels);
    // "Receive": over `channels` into "\Import", then, behind the wait cursor, every list file
    // there becomes a list; the last one that came in is the current list.
    Transfer receive(TransferChannels& channels, KeepAwake* keepAwake = nullptr);

    int markedCount() const;
    bool hasTrees(std::int64_t listId) const;
    static bool isModelName(const QString& listNo);

private:
    struct Selected {
        std::int64_t rowId = 0;
        std::int64_t idFile = 0;
        QString listNo;
    };
    std::optional<Selected> recordAt(int index) const;
    // Every marked list's name can be its file's at the office; else the notice for the first.
    bool markedNamesTravel();
    bool tableEmpty() const;
    Target withTrees(Target target);
    // The new model list's number, or none when it could not be written.
    std::optional<std::int64_t> insertModel(std::optional<std::int64_t> fromRowId);
    void setWaitCursor(bool wait);

    const DeviceRoot& m_root;
    Database& m_db;
    const SettingsStore& m_store;
    AppState& m_state;
    MessageDialogs& m_dialogs;
    Clock& m_clock;
    ScreenHost* m_host;
    std::vector<Row> m_rows;
    QString m_heading;
    int m_selected = -1;
    std::optional<Selected> m_current;
};

} // namespace brovant
