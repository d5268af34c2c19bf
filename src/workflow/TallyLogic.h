// Workflow: the tally screen without its widgets. One list's trees (Brov_Holzdaten rows of one
// ID_FILE) are browsed record by record behind a cursor that can also stand behind the last one,
// on the new record. Entries go in field by field and run the lookups; confirming checks, writes
// and commits the record before anything shows it as saved. Keyboards, layout and where the
// screen switches to are the screen's; when a backup is made is the application's (a callback).
#pragma once

#include "data/Dataset.h"

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <functional>

namespace brovant {

class Database;
class MessageDialogs;
struct MasterTables;

class TallyLogic {
public:
    // The screen's edits, in entry order: Enter in the last one (the diameter) confirms.
    enum class Field { Tariff, Species, Quality, CaliperClass, Count, DiameterClass, Diameter };
    static constexpr int kFields = 7;
    static constexpr int kSpeciesSlots = 60;
    // Every this many trees the automatic backup runs (when it is turned on).
    static constexpr int kBackupEvery = 50;
    static constexpr int kPreviewLength = 49;

    struct Tree {
        std::int64_t id = 0; // running number within the list
        int idType = 1;
        QString tariff;
        QString species;
        QString quality;      // NA
        QString caliperClass; // KA
        QString parcel;       // PARZ: not edited here, carried from tree to tree
        std::int64_t count = 1;
        std::int64_t diameter = 0;
        QString diameterClass = QStringLiteral("  ");
        std::int64_t volume = 0; // hundredths of m3
    };

    // `speciesTariffs` is the application's table of the tariff last used per species slot.
    // Everything must outlive the logic.
    TallyLogic(Database& db, const MasterTables& tables,
               std::array<QString, kSpeciesSlots>& speciesTariffs, MessageDialogs& dialogs);

    // The tariffs the species used when the program last ended (the assignment rows flagged in
    // BHD at shutdown) become the species' defaults again; slots already set stay.
    static void recallSpeciesTariffs(Database& db, const MasterTables& tables,
                                     std::array<QString, kSpeciesSlots>& speciesTariffs);

    // Called after a save whose record number is a multiple of 50; the application makes its
    // automatic backup there when that is turned on.
    void setBackupHook(std::function<void()> hook) { m_backupHook = std::move(hook); }

    // Opens the list's trees and stands on a new record behind the last one. False when the list
    // does not exist or its trees cannot be read.
    bool open(std::int64_t listId);
    std::int64_t listId() const { return m_listId; }
    // "Liste: %s - %s" with LISTE_NR and ZUSATZ_A.
    const QString& title() const { return m_title; }
    int factor() const { return m_factor; }

    const Tree& tree() const { return m_tree; }
    // The value of a field as its edit shows it.
    QString text(Field field) const;
    // Behind the last record: the entry is a new tree.
    bool isNew() const { return m_rows.eof(); }
    int count() const { return m_rows.count(); }
    int position() const { return m_rows.position(); }
    // Changed since it was loaded or started.
    bool changed() const { return m_changed; }
    // The field that should have the input focus now: the diameter, or the field a failed check
    // named.
    Field focus() const { return m_focus; }
    const QString& preview1() const { return m_preview1; }
    const QString& preview2() const { return m_preview2; }
    // The tariffs offered for the species on the tariff keys.
    const QStringList& tariffChoices() const { return m_choices; }

    // What the user typed into a field (when the edit is left or confirmed), with the lookups
    // that follow from it.
    void setField(Field field, const QString& text);
    // Puts the species of main slot `slot` (0..11) in, as the species keys do.
    void setMainSpecies(int slot);

    // The confirm action: checks, writes and commits the record, then moves on (to the next
    // stored record when an older one was corrected, else to a new record). False when a check
    // failed (its message was shown; focus() names the field) or the record could not be written.
    bool save();
    // A caliper telegram: species key 0..7 (-1 keeps the species), diameter in cm, then the
    // confirm action.
    bool takeMeasurement(int speciesKey, int diameter);

    // The buttons and cursor keys. Refusals beep.
    void end();           // "Ende"
    bool first();         // "Anfang"
    bool removeCurrent(); // "Delete": asks "Aktuellen Satz wirklich löschen?" first
    bool down();          // Down: asks "Abspeichern?" for a changed record
    bool up();            // Up: the same
    // "Eval" and "BHD/Stufe": false after "Keine Daten vorhanden!" when the list holds no trees.
    bool checkHasTrees();

private:
    void startNew();
    void load();
    void refreshChoices(bool setDefault);
    void diameterChanged();
    void computeVolume();
    bool validate();
    bool store();
    bool askToSave();
    QString lineOf(const Tree& tree) const;
    QString storedLine(int position);
    // Both preview lines from the stored records before `position`.
    void showRecordsBefore(int position);
    Tree readCurrent() const;
    bool reopen();

    Database& m_db;
    const MasterTables& m_tables;
    std::array<QString, kSpeciesSlots>& m_speciesTariffs;
    MessageDialogs& m_dialogs;
    Dataset m_rows;
    std::function<void()> m_backupHook;
    std::int64_t m_listId = -1;
    QString m_title;
    int m_factor = 100;
    Tree m_tree;
    bool m_changed = false;
    Field m_focus = Field::Diameter;
    QString m_preview1;
    QString m_preview2;
    QString m_lastSpecies;
    QStringList m_choices;
};

} // namespace brovant
