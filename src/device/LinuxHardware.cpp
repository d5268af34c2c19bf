#include "device/LinuxHardware.h"

#include <QFile>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <limits>

namespace brovant {

namespace {

std::optional<QString> readText(const QString& path)
{
    if (path.isEmpty())
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return QString::fromUtf8(file.read(4096)).trimmed();
}

std::optional<qint64> readNumber(const QString& path)
{
    const std::optional<QString> text = readText(path);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const qint64 value = text->toLongLong(&ok);
    return ok ? std::optional<qint64>(value) : std::nullopt;
}

// sysfs attributes are written in one go, without truncating or creating anything.
bool writeNumber(const QString& path, qint64 value)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::WriteOnly | QIODevice::ExistingOnly))
        return false;
    const QByteArray text = QByteArray::number(value) + '\n';
    return file.write(text) == text.size() && file.flush();
}

} // namespace

bool runSystemCommand(const QString& program, const QStringList& arguments)
{
    const QString path = QStandardPaths::findExecutable(program);
    if (path.isEmpty())
        return false;
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(path, arguments);
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

LinuxHardware::LinuxHardware(HardwareProfile profile, CommandRunner runner)
    : m_run(std::move(runner))
    , m_profile(std::move(profile))
{
}

PowerSource LinuxHardware::powerSource() const
{
    if (m_profile.powerSupply.isEmpty())
        return PowerSource::Mains;
    const std::optional<QString> status =
        readText(m_profile.powerSupply + QStringLiteral("/status"));
    return status && status->compare(QLatin1StringView("Discharging"), Qt::CaseInsensitive) == 0
               ? PowerSource::Battery
               : PowerSource::Mains;
}

bool LinuxHardware::setBacklight(int level)
{
    if (m_profile.backlight.isEmpty() || level < 0)
        return false;
    const std::optional<qint64> max =
        readNumber(m_profile.backlight + QStringLiteral("/max_brightness"));
    if (!max || *max <= 0)
        return false;
    const qint64 levels = m_profile.backlightLevels;
    const qint64 shown = std::clamp<qint64>(level, DeviceControls::kLowestBacklight, levels);
    // A panel with few steps must not round the lowest level down to dark.
    const qint64 scaled = std::max<qint64>((shown * *max + levels / 2) / levels, 1);
    return writeNumber(m_profile.backlight + QStringLiteral("/brightness"), scaled);
}

std::optional<int> LinuxHardware::backlight() const
{
    if (m_profile.backlight.isEmpty())
        return std::nullopt;
    const std::optional<qint64> max =
        readNumber(m_profile.backlight + QStringLiteral("/max_brightness"));
    const std::optional<qint64> value =
        readNumber(m_profile.backlight + QStringLiteral("/brightness"));
    if (!max || !value || *max <= 0)
        return std::nullopt;
    const qint64 levels = m_profile.backlightLevels;
    return int((std::clamp<qint64>(*value, 0, *max) * levels + *max / 2) / *max);
}

bool LinuxHardware::setVolumePercent(int percent)
{
    if (m_profile.mixer.isEmpty())
        return false;
    return m_run(QStringLiteral("amixer"),
                 {QStringLiteral("-q"), QStringLiteral("set"), m_profile.mixer,
                  QStringLiteral("%1%").arg(std::clamp(percent, 0, 100))});
}

bool LinuxHardware::setDateTime(const QDateTime& localTime)
{
    if (!m_profile.clock || !localTime.isValid())
        return false;
    // Without a password prompt: a field program must never hang on one.
    return m_run(QStringLiteral("timedatectl"),
                 {QStringLiteral("--no-ask-password"), QStringLiteral("set-time"),
                  localTime.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))});
}

bool LinuxHardware::setIdleTime(int seconds)
{
    if (m_profile.idleConf.isEmpty() || seconds < 0)
        return false;
    const QByteArray text = seconds == 0 ? QByteArray("[Login]\nIdleAction=ignore\n")
                                         : "[Login]\nIdleAction=suspend\nIdleActionSec="
                                               + QByteArray::number(seconds) + "s\n";
    QSaveFile file(m_profile.idleConf);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return false;
    // logind rereads its configuration on SIGHUP.
    return m_run(QStringLiteral("systemctl"),
                 {QStringLiteral("--no-ask-password"), QStringLiteral("kill"),
                  QStringLiteral("--kill-whom=main"), QStringLiteral("--signal=SIGHUP"),
                  QStringLiteral("systemd-logind")});
}

bool LinuxHardware::reboot()
{
    if (!m_profile.reboot)
        return false;
    return m_run(QStringLiteral("systemctl"),
                 {QStringLiteral("--no-ask-password"), QStringLiteral("reboot")});
}

std::optional<int> LinuxHardware::stateWord() const
{
    const std::optional<qint64> value = readNumber(m_profile.uni1);
    // The device answers in a 32-bit word; anything outside is no answer at all.
    if (!value || *value < 0 || *value > 0xFFFFFFFFLL)
        return std::nullopt;
    return int(std::min<qint64>(*value, std::numeric_limits<int>::max()));
}

std::optional<int> LinuxHardware::batteryPercent() const
{
    if (m_profile.powerSupply.isEmpty())
        return std::nullopt;
    const std::optional<qint64> capacity =
        readNumber(m_profile.powerSupply + QStringLiteral("/capacity"));
    if (!capacity)
        return std::nullopt;
    return int(std::clamp<qint64>(*capacity, 0, 100));
}

} // namespace brovant
