// Workflow: what the settings screen's functions do, without widgets: initialising the
// database ("Delete all"), loading a new configuration ("RecKonfig") and the two backup options.
// The screen owns the controls; the device routes belong to DeviceControls.
#pragma once

#include <QString>

namespace brovant {

struct AppState;
class DeviceSession;
class MessageDialogs;
class ScreenHost;
class TransferChannels;

class SettingsLogic {
public:
    SettingsLogic(DeviceSession& session, AppState& state, MessageDialogs& dialogs);

    // Both questions, then every list, tree, region, configuration and master row and the whole
    // application key go; the staged configuration is imported again and the settings loaded.
    // True when the data were deleted (the screen then returns to the main menu).
    bool deleteAll(ScreenHost& host);

    // The question, the transfer into "\Import", staging its first file as
    // "\Brovant\passive.dtr", the import and the settings load. True when a configuration was
    // imported.
    bool reloadConfiguration(TransferChannels& channels, ScreenHost& host);

    // After a backup came back: its master rows are loaded, and a current list it does not hold
    // is forgotten.
    void afterRestore(ScreenHost& host);

    // The check boxes; each returns whether the box stays checked.
    bool setAutomaticBackup(bool checked);
    bool setCardBackup(bool checked);
    // The storage-card folder a backup would use, or empty when there is none.
    QString cardFolder() const;

    // The switch-off choice did not reach the system: says so once per device root, since the
    // next choice would not reach it either.
    void switchOffNotApplied();

private:
    void importAndLoad(ScreenHost& host);

    DeviceSession& m_session;
    AppState& m_state;
    MessageDialogs& m_dialogs;
};

} // namespace brovant
