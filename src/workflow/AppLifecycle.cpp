#include "workflow/AppLifecycle.h"

#include "workflow/TallyLogic.h"

#include "workflow/ColdBootRecovery.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "device/BackupService.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"

namespace brovant {

namespace {

// Device values the Getac route changes while the program runs, with what exit writes back.
struct GetacValue {
    Hive hive;
    const char16_t* key;
    const char16_t* name;
    quint32 atStart;
    quint32 atExit;
};

constexpr GetacValue kGetacValues[] = {
    {Hive::CurrentUser, u"Security\\Software\\Getac\\CamFunc", u"CameraEnabled", 0, 1},
    {Hive::LocalMachine, u"Security\\Policies\\Policies", u"0000101a", 1, 0},
    {Hive::CurrentUser, u"ControlPanel\\Sip", u"SuggWords", 0, 4},
};

constexpr const char16_t* kAutoConnect = u"AutoCnct";
// The cable transfer's port number that leaves ActiveSync alone.
constexpr int kPortWithActiveSync = 10;

QString str(const char16_t* text)
{
    return QString::fromUtf16(text);
}

QString buttonKey(int n)
{
    return str(AppLifecycle::kButtonKeyPrefix) + QString::number(n);
}

// Writes a DWORD only into a key that exists; the device opens these keys, it never creates them.
void setExistingDword(Registry& registry, Hive hive, const QString& key, const QString& name,
                      quint32 value)
{
    registry.setDword(hive, key, name, value, Registry::Create::No);
}

} // namespace

AppLifecycle::AppLifecycle(DeviceSession& session, AppState& state, Clock& clock,
                           MessageDialogs& dialogs, ScreenHost& host)
    : m_session(session)
    , m_state(state)
    , m_clock(clock)
    , m_dialogs(dialogs)
    , m_host(host)
{
}

QString AppLifecycle::buttonCommand(int n)
{
    static const QString messenger = QStringLiteral("\\Brovant\\Messenger.exe");
    switch (n) {
    case 1:
    case 3:
        return messenger + QStringLiteral(" U");
    case 2:
    case 4:
        return messenger + QStringLiteral(" D");
    case 5:
    case 6:
        return messenger;
    default:
        return {};
    }
}

bool AppLifecycle::start()
{
    probeDevice();
    // Single instance, the window class and the on-screen keyboard are the program's (src/app).
    routeButtons();
    // Task bar and screen size belong to the main window.
    m_host.showMainMenu();
    recoverAfterColdBoot();
    if (!checkDatabase())
        return false;

    m_dialogs.info(MessageDialogs::Show, QStringLiteral("Datenbank wird initialisiert..."));
    // openDatabase has opened every table already; the steps keep the progress users know.
    for (double percent : {0.0, 10.0, 20.0, 30.0})
        m_dialogs.progress(percent);

    m_host.createScreens();
    m_session.root().makeFolder(QStringLiteral("\\Import"));
    m_session.root().makeFolder(QStringLiteral("\\Export"));
    m_dialogs.progress(100);
    m_dialogs.info(MessageDialogs::Hide, QString());

    // The suspend time-out is read before the import and the settings load use the keep-awake
    // pair: read later, their "suspend back" would leave the device at 0 (never suspend).
    m_session.keepAwake().readSaved();

    if (!m_session.configurationLoaded()) {
        ConfigImport import(m_session.root(), m_session.database(), m_session.store(), m_dialogs,
                            &m_session.keepAwake());
        import.run();
    }

    m_host.showMainMenu();
    m_state.tables =
        loadSettings(m_session.store(), m_session.database(), &m_dialogs, &m_session.keepAwake());
    TallyLogic::recallSpeciesTariffs(m_session.database(), m_state.tables,
                                     m_state.speciesTariffs);

    // The program owns the serial port while it runs; ActiveSync must not grab it on plug-in.
    if (m_session.store().readInt(Setting::DuePort) != kPortWithActiveSync) {
        Registry& registry = m_session.registry();
        const QString comm = str(kCommKey);
        if (registry.dword(Hive::CurrentUser, comm, str(kAutoConnect)) == 1u) {
            m_autoConnectWasOn = true;
            setExistingDword(registry, Hive::CurrentUser, comm, str(kAutoConnect), 0);
        }
    }

    // The suspend time-out was read above; the wake-up registration is the program's (src/app).
    m_host.setMainMenuActive(true);
    return true;
}

void AppLifecycle::shutdown()
{
    m_host.setWaitCursor(true);
    // The wake-up registration is the program's (src/app).

    // Unconditionally, whatever start-up found: the device's default is on.
    setExistingDword(m_session.registry(), Hive::CurrentUser, str(kCommKey), str(kAutoConnect), 1);

    markTariffFlags();
    m_host.destroyScreens();
    m_host.setWaitCursor(false);
    restoreButtons();

    if (m_state.getac) {
        for (const GetacValue& v : kGetacValues)
            setExistingDword(m_session.registry(), v.hive, str(v.key), str(v.name), v.atExit);
    }
}

void AppLifecycle::probeDevice()
{
    m_state.getac = m_session.root().isFile(str(kGetacProbe));
    if (!m_state.getac)
        return;
    for (const GetacValue& v : kGetacValues)
        setExistingDword(m_session.registry(), v.hive, str(v.key), str(v.name), v.atStart);
}

void AppLifecycle::routeButtons()
{
    Registry& registry = m_session.registry();
    const QString flags = QStringLiteral("Flags");
    for (int n = 1; n <= kButtonKeys; ++n) {
        const QString key = buttonKey(n);
        if (!registry.keyExists(Hive::LocalMachine, key))
            continue;
        const QString command = buttonCommand(n);
        const QString previous =
            registry.string(Hive::LocalMachine, key, QString()).value_or(QString());
        // A key that already holds our command was left by a run that crashed: its "Old" is
        // the value from before the program's first run and must survive.
        if (previous != command)
            registry.setString(Hive::LocalMachine, key, QStringLiteral("Old"), previous,
                               Registry::Create::No);
        registry.setString(Hive::LocalMachine, key, QString(), command, Registry::Create::No);
        registry.setString(Hive::LocalMachine, key, QStringLiteral("WndCls"), QString(),
                           Registry::Create::No);
        m_savedFlags[size_t(n - 1)] = registry.dword(Hive::LocalMachine, key, flags);
        setExistingDword(registry, Hive::LocalMachine, key, flags, 0);
    }
}

void AppLifecycle::recoverAfterColdBoot()
{
    const DeviceRoot& root = m_session.root();
    if (!ColdBootRecovery::applies(root, m_clock.now()))
        return;
    ColdBootRecovery recovery(root, m_session.store().readInt(Setting::BackupKarte) == 1);
    // The numbered backups live in their own folder; the newest one is the last data there is.
    const QString folder = BackupService(m_session, m_dialogs, m_state.getac).folder();
    if (!folder.isEmpty()) {
        const QStringList backups = root.find(
            DeviceRoot::join(folder, QStringLiteral("????_????.cdb")), DeviceRoot::Kind::Files);
        if (!backups.isEmpty())
            recovery.addCandidate(DeviceRoot::join(folder, backups.last()));
    }
    if (recovery.locate().isEmpty())
        return;

    m_host.setMainMenuActive(true);
    const Answer answer = m_dialogs.yesNo(QStringLiteral("Kam es zum Programmverlust"),
                                          QStringLiteral("und wollen sie letzte Daten"),
                                          QStringLiteral("wieder herstellen?"));
    // A failed copy is not reported: start-up goes on with whatever database there is.
    if (answer == Answer::Yes) {
        m_session.database().close();
        recovery.restore();
    } else {
        recovery.keepAside();
    }
    m_host.setMainMenuActive(false);
}

bool AppLifecycle::checkDatabase()
{
    bool waiting = false;
    const auto state = m_session.openDatabase([this, &waiting] {
        m_dialogs.notice(QStringLiteral("Datenbank und Stammdaten"),
                         QStringLiteral("werden gelöscht!"));
        m_host.repaint();
        m_host.setWaitCursor(true);
        waiting = true;
    });
    if (waiting)
        m_host.setWaitCursor(false);
    if (state == DeviceSession::DatabaseState::Failed) {
        m_dialogs.notice(QStringLiteral("Datenbank kann nicht"),
                         QStringLiteral("geöffnet werden!"));
        return false;
    }
    return true;
}

void AppLifecycle::restoreButtons()
{
    Registry& registry = m_session.registry();
    for (int n = 1; n <= kButtonKeys; ++n) {
        const QString key = buttonKey(n);
        if (!registry.keyExists(Hive::LocalMachine, key))
            continue;
        if (const auto old = registry.string(Hive::LocalMachine, key, QStringLiteral("Old")))
            registry.setString(Hive::LocalMachine, key, QString(), *old, Registry::Create::No);
        if (const auto& flags = m_savedFlags[size_t(n - 1)])
            setExistingDword(registry, Hive::LocalMachine, key, QStringLiteral("Flags"), *flags);
    }
}

void AppLifecycle::markTariffFlags()
{
    Database& db = m_session.database();
    if (!db.isOpen())
        return;
    Dataset rows(db, schema::Einstellungen);
    if (!rows.reset(Filter::byType(schema::TariffAssignmentRow)))
        return;
    Database::Transaction transaction(db);
    for (bool more = rows.moveFirst(); more; more = rows.moveNext()) {
        const QString species = rows.loadText(u"BAUMART").left(3);
        // An empty code would match the first unused species slot.
        if (species.isEmpty())
            continue;
        const int index = m_state.tables.speciesIndex(species);
        if (index < 0)
            continue;
        // The import keeps the file's padding ("FI01 "); the tally remembers the code as keyed.
        const bool current = withoutTrailingBlanks(rows.loadText(u"TARIF"))
                             == withoutTrailingBlanks(m_state.speciesTariffs[size_t(index)]);
        rows.setInt(u"BHD", current ? 1 : 0);
        rows.save();
    }
    transaction.commit();
}

} // namespace brovant
