#include "tally/caliper/CaliperReader.h"
#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/serial/SerialPort.h"
#include "support/CaseKinds.h"
#include "support/PseudoTerminal.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"
#include "tally/CaliperTelegram.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <random>

namespace brovant {
namespace {

using test::PseudoTerminal;
using test::TempRoot;

const QString kPorts = QStringLiteral("tally/caliper/data/ports.txt");

// Runs the event loop (the signals come queued from the reader's thread) until `done` or time out.
bool waitUntil(const std::function<bool()>& done, int timeoutMs = 10000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    }
    return true;
}

void settle(int ms)
{
    waitUntil([] { return false; }, ms);
}

QString measurementText(int speciesKey, int diameter)
{
    return QStringLiteral("%1/%2").arg(speciesKey).arg(diameter);
}

// What the reader should make of the raw telegrams it reported.
QStringList accepted(const QByteArrayList& telegrams)
{
    QStringList out;
    for (const QByteArray& telegram : telegrams) {
        if (const std::optional<Measurement> m = parseTelegram(telegram))
            out << measurementText(m->speciesKey, m->diameter);
    }
    return out;
}

class CaliperReaderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(pty.slave().isEmpty()) << "no pseudo-terminal";
        linkPort(3, pty.slave());
        QObject::connect(&reader, &CaliperReader::measured, &sink, [this](int key, int diameter) {
            measured << measurementText(key, diameter);
        });
        QObject::connect(&reader, &CaliperReader::received, &sink,
                         [this](const QByteArray& telegram) { received << telegram; });
        QObject::connect(&reader, &CaliperReader::measuredSpecies, &sink,
                         [this](const QString& code, int diameter) {
                             sentences << code + u'/' + QString::number(diameter);
                         });
        QObject::connect(&reader, &CaliperReader::stateChanged, &sink,
                         [this](CaliperReader::State state) { states.push_back(state); });
    }

    void linkPort(int number, const QString& target)
    {
        QDir().mkpath(root.host(QStringLiteral("dev")));
        const QString link = root.host(QStringLiteral("dev/COM%1").arg(number));
        QFile::remove(link);
        ASSERT_TRUE(QFile::link(target, link));
    }

    TempRoot root;
    DeviceRoot device{root.path()};
    ScriptedDialogs dialogs;
    ManualClock clock;
    PseudoTerminal pty;
    QObject sink; // lives in this thread, so the reader's signals arrive queued
    QStringList measured;
    QByteArrayList received;
    QStringList sentences; // "code/cm" of measuredSpecies()
    std::vector<CaliperReader::State> states;
    CaliperReader reader{device, dialogs, clock};
};

// A Bluetooth caliper's stream as its serial link delivered it: the module's own status line,
// species and diameter sentences with upper- and lower-case checksums, a battery report, one lost
// to its checksum, one without checksum digits, two sentences on one line, one cut short, noise
// before a "$", and a last sentence without a line end.
TEST_F(CaliperReaderTest, ReplaysABluetoothSentenceStream)
{
    QFile file(
        QStringLiteral(BROVANT_SOURCE_DIR "/tests/tally/caliper/data/caliper-sentences.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray transcript = file.readAll();
    const QStringList expected = {"FI/25", "/31", "BU/40", "DGL/45", "ki/271",
                                  "XY/30", "/0",  "/25",   "EI/33",  "/120"};

    ASSERT_TRUE(reader.start(3, CaliperFormat::Sentences));
    EXPECT_EQ(reader.format(), CaliperFormat::Sentences);
    // Radio packets of any size, cut anywhere.
    std::mt19937 random(4711);
    std::uniform_int_distribution<int> packet(1, 23);
    for (qsizetype at = 0; at < transcript.size();) {
        const qsizetype size = std::min<qsizetype>(packet(random), transcript.size() - at);
        ASSERT_TRUE(pty.write(QByteArrayView(transcript).sliced(at, size)));
        at += size;
    }
    ASSERT_TRUE(waitUntil([&] { return sentences.size() >= expected.size(); }))
        << sentences.join(u' ').toStdString();
    settle(100);
    EXPECT_EQ(sentences, expected);
    EXPECT_TRUE(measured.isEmpty());
    EXPECT_EQ(received.last(), QByteArray("$PHGF,DIA,M,1200,*1B"));
    EXPECT_TRUE(received.contains("AT+BTCONNECTED"));

    // The restart after a wake-up reads the same format.
    reader.restart();
    ASSERT_TRUE(pty.write("$PHGF,SPC,TA,\r\n$PHGF,DIA,M,412,*2F\r\n325\r\n"));
    ASSERT_TRUE(waitUntil([&] { return sentences.size() > expected.size(); }));
    settle(50);
    EXPECT_EQ(sentences.mid(expected.size()), QStringList{"TA/41"});
    EXPECT_TRUE(measured.isEmpty());
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

TEST_F(CaliperReaderTest, ALostLinkReconnectsByItself)
{
    using State = CaliperReader::State;
    reader.setReconnectInterval(20);
    EXPECT_EQ(reader.state(), State::Off);
    ASSERT_TRUE(reader.start(3));
    EXPECT_EQ(reader.state(), State::Connected);
    ASSERT_TRUE(pty.write("325\r\n"));
    ASSERT_TRUE(waitUntil([&] { return measured.size() == 1; }));

    pty.hangUp();
    ASSERT_TRUE(waitUntil([&] { return reader.state() == State::Reconnecting; }));
    // Nothing to connect to yet: it keeps trying, quietly, and does not spin on the dead line
    // (process time, this thread's included).
    const std::clock_t before = std::clock();
    settle(300);
    EXPECT_LT(double(std::clock() - before) * 1000 / CLOCKS_PER_SEC, 100);
    EXPECT_EQ(reader.state(), State::Reconnecting);
    EXPECT_TRUE(reader.running());

    PseudoTerminal again;
    ASSERT_FALSE(again.slave().isEmpty());
    linkPort(3, again.slave());
    ASSERT_TRUE(waitUntil([&] { return reader.state() == State::Connected; }));
    ASSERT_TRUE(again.write("868\r\n"));
    ASSERT_TRUE(waitUntil([&] { return measured.size() == 2; }));
    EXPECT_EQ(measured, (QStringList{"2/25", "7/68"}));

    // Lost again and stopped while it waits: off, and nothing from the old run arrives later.
    again.hangUp();
    ASSERT_TRUE(waitUntil([&] { return reader.state() == State::Reconnecting; }));
    reader.stop();
    EXPECT_EQ(reader.state(), State::Off);
    PseudoTerminal third;
    linkPort(3, third.slave());
    settle(150);
    EXPECT_EQ(states, (std::vector<State>{State::Connected, State::Reconnecting, State::Connected,
                                          State::Reconnecting, State::Off}));
    EXPECT_TRUE(dialogs.asked().isEmpty());
    EXPECT_EQ(clock.sleptMs(), 0);
}

TEST_F(CaliperReaderTest, StatesOfStartStopAndRestart)
{
    using State = CaliperReader::State;
    std::vector<bool> busy;
    const auto showBusy = [&](bool on) {
        busy.push_back(on);
    };
    reader.restart(showBusy);      // no reader yet: nothing
    EXPECT_FALSE(reader.start(9)); // no port: stays off, nothing to report
    reader.restart(showBusy);      // nor after a failed start
    dialogs.clear();
    ASSERT_TRUE(reader.start(3));
    ASSERT_TRUE(reader.start(3)); // replaced: off, then connected again
    // A restart waits twice, showing that it is busy, and reads again on the same port.
    reader.restart(showBusy);
    EXPECT_EQ(clock.sleptMs(), 4000);
    EXPECT_EQ(busy, (std::vector<bool>{true, false}));
    EXPECT_EQ(reader.port(), 3);
    ASSERT_TRUE(pty.write("325\r\n"));
    ASSERT_TRUE(waitUntil([&] { return !measured.isEmpty(); }));
    reader.stop();
    reader.stop();
    reader.restart(showBusy); // stopped: nothing
    settle(50);
    EXPECT_EQ(measured, QStringList{"2/25"});
    EXPECT_EQ(clock.sleptMs(), 4000);
    EXPECT_EQ(busy.size(), 2u);
    EXPECT_FALSE(reader.running());
    EXPECT_TRUE(dialogs.asked().isEmpty());
    EXPECT_EQ(states, (std::vector<State>{State::Connected, State::Off, State::Connected,
                                          State::Off, State::Connected, State::Off}));
}

TEST_F(CaliperReaderTest, ThousandTelegramsInOrderThenNoiseYieldsOnlyTelegramsThatParse)
{
    QByteArray stream;
    QStringList expected;
    for (int i = 0; i < 1000; ++i) {
        stream += QByteArray::number(1 + i % 8) + QByteArray::number(i % 100).rightJustified(2, '0')
                  + "\r\n";
        expected << measurementText(i % 8, i % 100);
    }
    ASSERT_TRUE(reader.start(3));
    ASSERT_TRUE(pty.write(stream));
    ASSERT_TRUE(waitUntil([&] { return measured.size() >= 1000; })) << measured.size();
    settle(100);
    EXPECT_EQ(measured, expected);
    EXPECT_EQ(received.size(), 1000);

    // Then noise only ever yields telegrams that parse.
    std::mt19937 random(20260504);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> chunkSize(1, 700);
    for (int written = 0; written < 64 * 1024;) {
        QByteArray chunk(chunkSize(random), '\0');
        for (char& c : chunk)
            c = char(byte(random));
        ASSERT_TRUE(pty.write(chunk));
        written += int(chunk.size());
    }
    // A last, clean telegram tells when the reader has caught up.
    ASSERT_TRUE(pty.write("\r\n777\r\n"));
    ASSERT_TRUE(waitUntil([&] { return !received.isEmpty() && received.last() == "777"; }));
    settle(100);

    EXPECT_TRUE(reader.running());
    EXPECT_GT(received.size(), 1000 + 200);
    for (const QByteArray& telegram : std::as_const(received)) {
        EXPECT_FALSE(telegram.isEmpty());
        EXPECT_LE(telegram.size(), TelegramSplitter::kMaxTelegram);
        EXPECT_FALSE(telegram.contains('\r') || telegram.contains('\n'));
    }
    EXPECT_EQ(measured, accepted(received));
    EXPECT_EQ(measured.last(), "6/77");
}

// A telegram without line end is taken when the line goes quiet; a stop is quick, nothing
// arrives after it, and the port is held exclusively.
TEST_F(CaliperReaderTest, QuietLineStopAndTheExclusivePort)
{
    ASSERT_TRUE(reader.start(3));
    ASSERT_TRUE(pty.write("512"));
    ASSERT_TRUE(waitUntil([&] { return measured.size() == 1; }));
    ASSERT_TRUE(pty.write("6"));
    settle(CaliperReader::kQuietMs / 5);
    ASSERT_TRUE(pty.write("23"));
    ASSERT_TRUE(waitUntil([&] { return measured.size() == 2; }));
    settle(100);
    EXPECT_EQ(measured, (QStringList{"4/12", "5/23"}));
    EXPECT_EQ(received, (QByteArrayList{"512", "623"}));

    QElapsedTimer timer;
    timer.start();
    reader.stop();
    // No pause of the restart's kind (2 s) on a plain stop; generous for a loaded machine.
    EXPECT_LT(timer.elapsed(), 1900);
    EXPECT_FALSE(reader.running());
    pty.write("412\r\n");
    settle(100);
    EXPECT_EQ(measured, (QStringList{"4/12", "5/23"}));

    // The port is held exclusively.
    ASSERT_TRUE(reader.start(3));
    CaliperReader second(device, dialogs, clock);
    EXPECT_FALSE(second.start(3));
    EXPECT_EQ(dialogs.asked(), QStringList{"Schnittstelle COM3: kann nicht|geöffnet werden!|"});
    reader.stop();
    EXPECT_TRUE(second.start(3));
}

// The device's port names lead through the links in \dev; a pseudo-terminal opens with the
// caliper's line settings; a port that does not open shows the notice.
TEST_F(CaliperReaderTest, SerialPortsByTheirNames)
{
    linkPort(3, QStringLiteral("/dev/ttyUSB0"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/rfcomm0"), root.host(QStringLiteral("dev/com7"))));
    for (const test::Case& c : test::casesOf(kPorts, "device"))
        EXPECT_EQ(serialDeviceFile(device, c.text(1)), c.text(2)) << c.where().constData();
    EXPECT_EQ(serialPortName(3), "COM3:");

    linkPort(2, pty.slave());
    QSerialPort port;
    ASSERT_TRUE(openSerialPort(port, device, QStringLiteral("COM2:"), kCaliperLine, dialogs));
    EXPECT_EQ(port.portName(), pty.slave().section(u'/', 2)); // Qt names it below /dev
    EXPECT_EQ(port.baudRate(), 1200);
    EXPECT_EQ(port.dataBits(), QSerialPort::Data8);
    EXPECT_EQ(port.stopBits(), QSerialPort::OneStop);
    EXPECT_EQ(port.parity(), QSerialPort::NoParity);
    EXPECT_EQ(port.flowControl(), QSerialPort::NoFlowControl);
    EXPECT_TRUE(dialogs.asked().isEmpty());

    EXPECT_FALSE(openSerialPort(port, device, QStringLiteral("COM8:"), kCaliperLine, dialogs));
    EXPECT_FALSE(port.isOpen());
    EXPECT_EQ(dialogs.asked(), QStringList{"Schnittstelle COM8: kann nicht|geöffnet werden!|"});
    EXPECT_EQ(serialOpenFailureLines(QStringLiteral("COM8:")),
              (QStringList{"Schnittstelle COM8: kann nicht", "geöffnet werden!"}));

    // Ports the reader cannot open show the notice.
    linkPort(4, QStringLiteral("/nonexistent/ttyUSB7"));
    root.writeFile(QStringLiteral("dev/COM5"), "not a terminal");
    linkPort(6, root.host(QStringLiteral("dev/COM5")));
    for (const test::Case& c : test::casesOf(kPorts, "notice")) {
        SCOPED_TRACE(c.where().constData());
        dialogs.clear();
        EXPECT_FALSE(reader.start(c.text(1).toInt()));
        EXPECT_FALSE(reader.running());
        EXPECT_EQ(dialogs.asked(), QStringList{c.text(2)});
    }
    EXPECT_EQ(dialogs.messages().back().sound, true);
}

} // namespace
} // namespace brovant
