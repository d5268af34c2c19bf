// Every long job keeps the system awake for exactly its own length: the inhibitor is taken before
// the job's first step and given back after its last.
#include "workflow/ListSelectionLogic.h"
#include "workflow/AppLogicFixture.h"
#include "workflow/OfficeChannel.h"
#include "device/BackupService.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/MasterTables.h"
#include "transfer/SettingsChannels.h"

#include <QRegularExpression>

namespace brovant {
namespace {

using namespace test;

// Logs into the device's events, with what the job has done so far.
class FakeInhibitor final : public SleepInhibitor {
public:
    FakeInhibitor(QStringList& events, std::function<QString()> progress)
        : m_events(events)
        , m_progress(std::move(progress))
    {
    }
    void hold() override { m_events << QStringLiteral("hold ") + m_progress(); }
    void release() override { m_events << QStringLiteral("release ") + m_progress(); }

private:
    QStringList& m_events;
    std::function<QString()> m_progress;
};

TEST(KeepAwake, EveryLongJobHoldsTheInhibitorForItsLength)
{
    struct Job {
        const char* what;
        std::function<void(TestDevice&)> prepare;
        std::function<void(TestDevice&)> run;
        // What the job has done, as the inhibitor sees it when taken and when given back.
        std::function<QString(TestDevice&)> progress;
        const char* before;
        const char* after;
    };
    const auto messages = [](TestDevice& d) {
        return QString::fromLatin1(d.dialogs.messages().empty() ? "silent" : "shown");
    };
    const auto backups = [](TestDevice& d) {
        return QString::number(BackupService(*d.session, d.dialogs, false).entries().size());
    };
    const auto channels = [](TestDevice& d) {
        return SettingsChannels(d.session->root(), d.session->store(), d.dialogs, d.clock,
                                &d.session->keepAwake());
    };
    // clang-format off
    const Job jobs[] = {
        {"configuration import", [](TestDevice& d) { d.stageConfig(); },
         [](TestDevice& d) {
             ConfigImport(d.session->root(), d.session->database(), d.session->store(), d.dialogs,
                          &d.session->keepAwake()).run();
         },
         [](TestDevice& d) { return QString::number(d.session->configurationLoaded()); }, "0", "1"},
        {"settings load", {},
         [](TestDevice& d) {
             loadSettings(d.session->store(), d.session->database(), &d.dialogs,
                          &d.session->keepAwake());
         },
         messages, "silent", "shown"},
        {"cable receive without a port",
         [](TestDevice& d) { d.session->store().writeInt(Setting::DuePort, 0, 1); },
         [&](TestDevice& d) { channels(d).receive(); },
         messages, "silent", "shown"},
        {"FTP fetch from a closed port",
         [](TestDevice& d) {
             d.session->store().writeText(Setting::FtpServer, 0, QStringLiteral("127.0.0.1:1"));
         },
         [&](TestDevice& d) { channels(d).fetchConfiguration(); }, messages, "silent", "shown"},
        {"receive and the list import after it", {},
         [](TestDevice& d) {
             OfficeChannel office(&d.session->root());
             office.held[QStringLiteral("4711.DAT")] = officeList("4711", 3);
             ListSelectionLogic(d.session->root(), d.session->database(), d.session->store(),
                                d.state, d.dialogs, d.clock)
                 .receive(office, &d.session->keepAwake());
         },
         [](TestDevice& d) {
             return QString::number(ListSelectionLogic::readRows(d.session->database()).size());
         },
         "0", "1"},
        {"manual backup", {},
         [](TestDevice& d) {
             BackupService(*d.session, d.dialogs, false).backup(BackupService::Kind::Manual);
         },
         backups, "0", "1"},
        {"restore, with the backup of the state before it",
         [](TestDevice& d) {
             BackupService(*d.session, d.dialogs, false).backup(BackupService::Kind::Manual);
         },
         [](TestDevice& d) {
             BackupService service(*d.session, d.dialogs, false);
             service.restore(service.entries().front().name);
         },
         backups, "1", "2"},
    };
    // clang-format on
    for (const Job& job : jobs) {
        SCOPED_TRACE(job.what);
        TestDevice device;
        ASSERT_NE(device.session->openDatabase(), DeviceSession::DatabaseState::Failed);
        if (job.prepare)
            job.prepare(device);
        device.dialogs.clear();
        device.events.clear();
        FakeInhibitor inhibitor(device.events, [&] { return job.progress(device); });
        device.session->keepAwake().setInhibitor(&inhibitor);
        job.run(device);
        device.session->keepAwake().setInhibitor(nullptr);
        if (device.events.size() < 2) {
            ADD_FAILURE() << "never held: " << device.eventText();
            continue;
        }
        EXPECT_EQ(device.events.front(), QStringLiteral("hold ") + QLatin1StringView(job.before));
        EXPECT_EQ(device.events.back(), QStringLiteral("release ") + QLatin1StringView(job.after));
        EXPECT_EQ(
            device.events.filter(QRegularExpression(QStringLiteral("^(hold|release) "))).size(), 2)
            << device.eventText();
    }
}

} // namespace
} // namespace brovant
