#include "device/DeviceRoutes.h"

#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"

#include <QFile>
#include <QSysInfo>

#include <limits>

namespace brovant {

namespace {

constexpr const char16_t* kBrightness = u"Brightness";
constexpr const char16_t* kOnOff = u"OnOff";
constexpr const char16_t* kAcBrightness = u"ACbrightness";
constexpr const char16_t* kDcBrightness = u"DCbrightness";

QString text(const char16_t* utf16)
{
    return QString::fromUtf16(utf16);
}

} // namespace

DeviceRoutes::DeviceRoutes(DeviceSession& session, Clock& clock, CommandRunner runner)
    : m_session(session)
    , m_clock(clock)
{
    if (std::optional<HardwareProfile> profile = HardwareProfile::read(session.root()))
        m_hardware.emplace(std::move(*profile), std::move(runner));
}

DeviceRoutes::DeviceRoutes(DeviceSession& session, Clock& clock,
                           std::optional<LinuxHardware> hardware)
    : m_session(session)
    , m_clock(clock)
    , m_hardware(std::move(hardware))
{
}

bool DeviceRoutes::hasFile(const char16_t* devicePath) const
{
    return m_session.root().isFile(text(devicePath));
}

// Nothing else marks these devices: their image (or a test) ships the backlight key with one of
// the two values already in it, and the mere presence of either picks this route.
bool DeviceRoutes::hasSeparateLevels() const
{
    const QStringList names =
        m_session.registry().valueNames(Hive::CurrentUser, text(kBacklightKey));
    return names.contains(text(kAcBrightness), Qt::CaseInsensitive)
           || names.contains(text(kDcBrightness), Qt::CaseInsensitive);
}

// The Getac and ppcutil routes only know the mains level; on a Getac the battery slider therefore
// goes on to the routes that keep a battery level.
DeviceRoutes::Route DeviceRoutes::route(PowerSource source) const
{
    const bool mains = source == PowerSource::Mains;
    if (mains && hasFile(kGetacLibrary))
        return Route::Getac;
    if (hasSeparateLevels())
        return Route::SeparateLevels;
    if (hasFile(kIpaqLibrary))
        return Route::Ipaq;
    if (mains && hasFile(kPpcUtilLibrary))
        return Route::PpcUtil;
    return Route::None;
}

bool DeviceRoutes::writeBacklight(const char16_t* name, int level)
{
    // The key is opened, never created: a device without it has no such backlight setting.
    return m_session.registry().setDword(Hive::CurrentUser, text(kBacklightKey), text(name),
                                         quint32(level), Registry::Create::No);
}

std::optional<int> DeviceRoutes::readBacklight(const char16_t* name) const
{
    const std::optional<quint32> value =
        m_session.registry().dword(Hive::CurrentUser, text(kBacklightKey), text(name));
    if (!value)
        return std::nullopt;
    return int(qMin<quint32>(*value, quint32(std::numeric_limits<int>::max())));
}

bool DeviceRoutes::setBacklight(PowerSource source, int level)
{
    if (level < 0)
        return false;
    level = qMax(level, kLowestBacklight);
    const bool mains = source == PowerSource::Mains;
    const Route chosen = route(source);
    bool taken = false;
    switch (chosen) {
    case Route::Getac:
        taken = writeBacklight(kBrightness, level);
        break;
    case Route::SeparateLevels:
        taken = writeBacklight(mains ? kAcBrightness : kDcBrightness, level);
        break;
    case Route::Ipaq:
        taken = writeBacklight(mains ? kIpaqOnPower : kIpaqOnBattery, level);
        break;
    case Route::PpcUtil:
        // The light is never switched off: the level is at least the lowest one.
        if (level <= kPpcUtilMaxLevel && writeBacklight(kBrightness, level)) {
            writeBacklight(kOnOff, 1);
            taken = true;
        }
        break;
    case Route::None:
        break;
    }
    // The system's backlight driver reloads its values when the event is set.
    if (taken)
        m_events << text(kBacklightEvent);

    // The panel shows the level of the power source in use. It follows what the device's route
    // took; on a device without any route it is the route itself.
    if (m_hardware && (taken || chosen == Route::None) && m_hardware->powerSource() == source
        && m_hardware->setBacklight(level))
        taken = true;
    return taken;
}

std::optional<int> DeviceRoutes::backlight(PowerSource source) const
{
    const bool mains = source == PowerSource::Mains;
    switch (route(source)) {
    case Route::Getac:
        return readBacklight(kBrightness);
    case Route::SeparateLevels:
        return readBacklight(mains ? kAcBrightness : kDcBrightness);
    case Route::Ipaq:
        return readBacklight(mains ? kIpaqOnPower : kIpaqOnBattery);
    case Route::PpcUtil: {
        const std::optional<int> level = readBacklight(kBrightness);
        if (level && readBacklight(kOnOff) == 0)
            return 0;
        return level;
    }
    case Route::None:
        break;
    }
    if (m_hardware && m_hardware->powerSource() == source)
        return m_hardware->backlight();
    return std::nullopt;
}

void DeviceRoutes::setVolume(int position)
{
    m_waveOutVolume = volumeValue(position);
    // One channel of the word (0..0xFFFF) as the mixer's percentage.
    if (m_hardware)
        m_hardware->setVolumePercent(int((m_waveOutVolume & 0xFFFFu) * 100u / 0xFFFFu));
}

bool DeviceRoutes::setSwitchOff(int seconds)
{
    const quint32 value = quint32(qMax(seconds, 0));
    // "Suspend back" after a long job must restore the user's new choice, not the start-up value.
    m_session.keepAwake().setSaved(value);
    if (m_session.registry().setDword(
            Hive::LocalMachine, QString::fromUtf16(KeepAwake::kTimeoutsKey),
            QString::fromUtf16(KeepAwake::kValue), value, Registry::Create::No))
        m_events << text(kTimeoutsEvent);
    return m_hardware && m_hardware->setIdleTime(int(value));
}

int DeviceRoutes::switchOff() const
{
    return int(qMin<quint32>(m_session.keepAwake().saved(), 0x7FFFFFFFu));
}

bool DeviceRoutes::setDateTime(const QDateTime& localTime)
{
    if (!localTime.isValid())
        return false;
    // The system clock first: the program's clock then measures from the new time.
    if (m_hardware)
        m_hardware->setDateTime(localTime);
    return m_clock.setNow(localTime);
}

void DeviceRoutes::reset()
{
    ++m_resets;
    if (m_hardware)
        m_hardware->reboot();
}

BatteryStatus DeviceRoutes::battery() const
{
    BatteryStatus status;
    if (!m_hardware)
        return status;
    if (const std::optional<int> state = m_hardware->stateWord()) {
        status.hasState = true;
        status.state = *state;
        return status;
    }
    status.percent = m_hardware->batteryPercent().value_or(-1);
    return status;
}

QString hardwareDescription(const DeviceRoot& root, const QString& dmiProductFile)
{
    if (root.isFile(text(DeviceRoutes::kGetacLibrary)))
        return QStringLiteral("Getac");
    if (const std::optional<HardwareProfile> profile = HardwareProfile::read(root);
        profile && !profile->model.isEmpty())
        return profile->model;
    QFile dmi(dmiProductFile);
    if (dmi.open(QIODevice::ReadOnly)) {
        const QString model = QString::fromUtf8(dmi.read(256)).simplified();
        if (!model.isEmpty())
            return model;
    }
    return QStringLiteral("Linux ") + QSysInfo::kernelVersion();
}

} // namespace brovant
