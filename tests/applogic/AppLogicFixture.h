// A device root with the program's start-up and shutdown around it. The screen host and the
// dialogs write into one event list, so tests see what happened in which order.
#pragma once

#include "app/logic/AppLifecycle.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"

#include <QStringList>

#include <memory>
#include <ostream>
#include <string>

// Readable QString values in failure messages.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace brovant::test {

// Events look like "host showMainMenu", "host active 1", "host cursor 0", "notice <line1>",
// "yesNo <line1>", "info 5 <line1>", "progress 30".
class FakeHost : public ScreenHost {
public:
    explicit FakeHost(QStringList& log)
        : m_log(log)
    {
    }
    void showMainMenu() override { m_log << QStringLiteral("host showMainMenu"); }
    void setMainMenuActive(bool active) override
    {
        m_log << QStringLiteral("host active %1").arg(int(active));
    }
    void createScreens() override { m_log << QStringLiteral("host createScreens"); }
    void destroyScreens() override { m_log << QStringLiteral("host destroyScreens"); }
    void setWaitCursor(bool wait) override
    {
        m_log << QStringLiteral("host cursor %1").arg(int(wait));
    }
    void repaint() override { m_log << QStringLiteral("host repaint"); }

private:
    QStringList& m_log;
};

class LoggingDialogs : public ScriptedDialogs {
public:
    explicit LoggingDialogs(QStringList& log)
        : m_log(log)
    {
    }
    void notice(const QString& line1, const QString& line2, const QString& line3,
                const QString& caption, bool sound) override
    {
        m_log << QStringLiteral("notice ") + line1;
        ScriptedDialogs::notice(line1, line2, line3, caption, sound);
    }
    int yesNo(const QString& line1, const QString& line2, const QString& line3,
              const QString& yesCaption, const QString& noCaption) override
    {
        m_log << QStringLiteral("yesNo ") + line1;
        return ScriptedDialogs::yesNo(line1, line2, line3, yesCaption, noCaption);
    }
    void info(int showCommand, const QString& line1, const QString& line2,
              const QString& line3) override
    {
        m_log << QStringLiteral("info %1 %2").arg(showCommand).arg(line1);
        ScriptedDialogs::info(showCommand, line1, line2, line3);
    }
    void progress(double percent) override
    {
        m_log << QStringLiteral("progress %1").arg(percent);
        ScriptedDialogs::progress(percent);
    }

private:
    QStringList& m_log;
};

// One device root with a program on it; tests that need a fresh device per case make one each.
class TestDevice {
public:
    TestDevice() { openSession(); }

    // A new process on the same root: what a crash followed by a new start looks like.
    void restartAfterCrash();

    Registry& registry() { return session->registry(); }
    Profile& profile() { return session->profile(); }
    // Copies the demo configuration to "\Brovant\passive.dtr".
    void stageConfig() const;
    // A database of the current structure at `relative` (host path below the root) whose one
    // master row carries `marker` in REGION_A.
    void makeDatabase(const QString& relative, const QString& marker) const;
    // REGION_A of the first master row of the database file at `relative`, or "-".
    QString markerOf(const QString& relative) const;
    // Position of the first event starting with `prefix` at or after `from`, or -1.
    qsizetype eventIndex(const QString& prefix, qsizetype from = 0) const;
    std::string eventText() const { return events.join(u'\n').toStdString(); }

    TempRoot root;
    QStringList events;
    FakeHost host{events};
    LoggingDialogs dialogs{events};
    ManualClock clock;
    AppState state;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<AppLifecycle> app;

private:
    void openSession();
};

} // namespace brovant::test
