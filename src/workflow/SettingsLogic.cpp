#include "workflow/SettingsLogic.h"

#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"
#include "data/ListStore.h"
#include "data/Schema.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/MessageDialogs.h"
#include "transfer/TransferChannels.h"

namespace brovant {
namespace {

const QString kBackupQuestion[3] = {
    QStringLiteral("Hiermit werden nur Holzlisten gesichert, für"),
    QStringLiteral("die Konfiguration muss ein Backup gemacht"),
    QStringLiteral("werden. Wollen Sie die Listen sichern?"),
};

} // namespace

SettingsLogic::SettingsLogic(DeviceSession& session, AppState& state, MessageDialogs& dialogs)
    : m_session(session)
    , m_state(state)
    , m_dialogs(dialogs)
{
}

void SettingsLogic::importAndLoad(ScreenHost& host)
{
    ConfigImport(m_session.root(), m_session.database(), m_session.store(), m_dialogs,
                 &m_session.keepAwake())
        .run();
    host.repaint();
    m_state.tables =
        loadSettings(m_session.store(), m_session.database(), &m_dialogs, &m_session.keepAwake());
    host.repaint();
}

void SettingsLogic::afterRestore(ScreenHost& host)
{
    Database& db = m_session.database();
    m_state.tables = loadSettings(m_session.store(), db, &m_dialogs, &m_session.keepAwake());
    host.repaint();
    if (m_state.currentList < 0)
        return;
    if (!ListStore(db).byId(m_state.currentList))
        m_state.currentList = -1;
}

bool SettingsLogic::deleteAll(ScreenHost& host)
{
    if (m_dialogs.yesNo(QStringLiteral("Beim Initialisieren der Daten-"),
                        QStringLiteral("bank werden alle gespeicher-"),
                        QStringLiteral("ten Holzdaten gelöscht!"), QStringLiteral("Fortsetzen"),
                        QStringLiteral("Abbrechen"))
        != Answer::Yes)
        return false;
    // The captions are swapped on purpose: the left "NEIN" answers 6, only the right "JA" (7)
    // deletes, so a hasty tap on the usual place keeps the data.
    if (m_dialogs.yesNo(QStringLiteral("Wollen Sie wirklich alle Holz-"),
                        QStringLiteral("daten löschen?"), QString(), QStringLiteral("NEIN"),
                        QStringLiteral("JA"))
        != Answer::No)
        return false;

    host.setWaitCursor(true);
    Database& db = m_session.database();
    {
        Database::Transaction transaction(db);
        bool ok = transaction.active();
        for (const TableDescriptor* table :
             {&schema::Kopfdaten, &schema::Holzdaten, &schema::Region, &schema::Konfiguration,
              &schema::Einstellungen})
            ok = ok && db.deleteAll(*table);
        if (!ok || !transaction.commit()) {
            host.setWaitCursor(false);
            m_dialogs.notice(QStringLiteral("Fehler beim Löschen"), QStringLiteral("der Daten!"));
            return false;
        }
    }
    m_session.profile().deleteAll();
    m_state.currentList = -1;
    host.setWaitCursor(false);
    importAndLoad(host);
    return true;
}

bool SettingsLogic::reloadConfiguration(TransferChannels& channels, ScreenHost& host)
{
    if (m_dialogs.yesNo(QStringLiteral("Wollen Sie die neue"),
                        QStringLiteral("Konfiguration laden?"))
        != Answer::Yes)
        return false;
    const bool received = m_session.store().readInt(Setting::DueMode) == 3
                              ? channels.fetchConfiguration()
                              : channels.receive();
    if (!received)
        return false;

    DeviceRoot& root = m_session.root();
    const QStringList files = root.find(QStringLiteral("\\Import\\*.*"), DeviceRoot::Kind::Files);
    if (files.isEmpty() || !DeviceRoot::isSafeFileName(files.first())) {
        // Nothing arrived: the configuration already staged stays as it is.
        m_dialogs.notice(QStringLiteral("Keine Konfiguration"), QStringLiteral("empfangen!"));
        return false;
    }
    const QString staged = QString::fromUtf16(ConfigImport::kStagedPath);
    root.removeFile(staged);
    const bool moved =
        root.moveFile(DeviceRoot::join(QStringLiteral("\\Import"), files.first()), staged);
    root.removeMatching(QStringLiteral("\\Import\\*.*"));
    if (!moved) {
        m_dialogs.notice(QStringLiteral("Datei kann nicht erzeugt werden!"));
        return false;
    }
    host.repaint();
    importAndLoad(host);
    return m_session.configurationLoaded();
}

bool SettingsLogic::setAutomaticBackup(bool checked)
{
    if (checked
        && m_dialogs.yesNo(kBackupQuestion[0], kBackupQuestion[1], kBackupQuestion[2])
               != Answer::Yes)
        checked = false;
    m_session.store().writeInt(Setting::BackupAuto, 0, checked ? 1 : 0);
    return checked;
}

QString SettingsLogic::cardFolder() const
{
    const DeviceRoot& root = m_session.root();
    QStringList candidates;
    if (!m_state.getac) {
        candidates = {QStringLiteral("\\Speicherkarte2"), QStringLiteral("\\Speicherkarte"),
                      QStringLiteral("\\Storage Card2"), QStringLiteral("\\Storage Card")};
    } else if (root.isFolder(QStringLiteral("\\Extended Storage"))) {
        candidates = {QStringLiteral("\\Speicherkarte"), QStringLiteral("\\Storage Card")};
    } else {
        candidates = {QStringLiteral("\\Speicherkarte2"), QStringLiteral("\\Storage Card2")};
    }
    for (const QString& folder : candidates) {
        if (root.isFolder(folder))
            return folder;
    }
    return {};
}

void SettingsLogic::switchOffNotApplied()
{
    const QString section = QStringLiteral("Geraet");
    const QString entry = QStringLiteral("AusschaltenHinweis");
    Profile& profile = m_session.profile();
    if (profile.readInt(section, entry, 0) == 1)
        return;
    profile.writeInt(section, entry, 1);
    m_dialogs.notice(QStringLiteral("Für das Ausschalten gilt"),
                     QStringLiteral("die Einstellung des Systems!"));
}

bool SettingsLogic::setCardBackup(bool checked)
{
    if (checked && cardFolder().isEmpty()) {
        m_dialogs.notice(QStringLiteral("Option nicht möglich, da"),
                         QStringLiteral("keine Speicherkarte vorhanden!"));
        checked = false;
    }
    m_session.store().writeInt(Setting::BackupKarte, 0, checked ? 1 : 0);
    return checked;
}

} // namespace brovant
