// "Send" over FTP of 100 list files of about 20 KB each to a real FTP server on loopback
// (pyftpdlib, as in the tests): login, 100 uploads on one control connection, logout.
#include "masterdata/SettingsStore.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "transfer/FtpChannel.h"
#include "transfer/FtpTestServer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace brovant;

constexpr int kFiles = 100;
constexpr int kFileBytes = 20 * 1024;

class NoDialling final : public Dialer {
public:
    void dial(const QString&) override {}
    void hangUp(const QString&) override {}
};

// Lines shaped like a list file's tree lines, up to the size wanted.
QByteArray listFile(int list)
{
    QByteArray bytes = QStringLiteral("K;%1;Abteilung %1;04.05.2026\r\n").arg(list).toLatin1();
    for (int tree = 1; bytes.size() < kFileBytes; ++tree)
        bytes += QStringLiteral("H;%1;FI ;%2;%3;B;1\r\n")
                     .arg(tree)
                     .arg(20 + tree % 40)
                     .arg(1800 + tree % 900)
                     .toLatin1();
    return bytes.left(kFileBytes);
}

struct Setup {
    test::FtpTestServer server;
    QTemporaryDir root;
};

Setup*& setup()
{
    static Setup* s = nullptr;
    return s;
}

void BM_FtpSend100Lists(benchmark::State& state)
{
    Setup& s = *setup();
    DeviceRoot device(s.root.path());
    Registry registry(device.hostPath(QStringLiteral("\\Registry")));
    Profile profile(registry);
    SettingsStore store(profile);
    store.writeText(Setting::FtpServer, 0, s.server.address());
    ScriptedDialogs dialogs;
    NoDialling dialer;
    for (auto _ : state) {
        state.PauseTiming();
        dialogs.clear();
        QDir(s.server.path(QStringLiteral("data"))).removeRecursively();
        QDir().mkpath(s.server.path(QStringLiteral("data")));
        state.ResumeTiming();
        if (!FtpChannel(device, store, dialogs, &dialer).send())
            state.SkipWithError("send failed");
    }
    if (QDir(s.server.path(QStringLiteral("data"))).entryList(QDir::Files).size() != kFiles)
        state.SkipWithError("not every file arrived");
    state.counters["files"] = kFiles;
    state.counters["KB"] = kFiles * kFileBytes / 1024.0;
}
BENCHMARK(BM_FtpSend100Lists)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Setup s;
    QString why;
    if (!s.server.start(QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/ftp_server.py"),
                        SettingsStore::defaultText(Setting::FtpName),
                        SettingsStore::defaultText(Setting::FtpPassword), why)) {
        std::fprintf(stderr, "%s\n", qPrintable(why));
        return 1;
    }
    const DeviceRoot device(s.root.path());
    device.makeFolder(QStringLiteral("\\Export"));
    for (int list = 1; list <= kFiles; ++list) {
        QFile file(
            device.hostPath(QStringLiteral("\\Export\\L%1.DAT").arg(list, 7, 10, QChar(u'0'))));
        if (!file.open(QIODevice::WriteOnly) || file.write(listFile(list)) != kFileBytes) {
            std::fprintf(stderr, "cannot write the export files\n");
            return 1;
        }
    }
    setup() = &s;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
