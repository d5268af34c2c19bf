// The office's end of the cable protocol against scripted devices: every frame checked and
// answered, files named only after EOT and kept beside their namesakes, frames repeated on NAK.
#include "transfer/CableOffice.h"

#include "platform/Clock.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"
#include "transfer/PeerLine.h"
#include "transfer/SerialFrames.h"

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

using namespace frames;

// Device frames for the office's receive: the SendingPeer answers ENQ, ACK and NAK as the
// device does when it sends.
OfficeResult receiveFrom(const QList<QByteArray>& lines, const QString& out,
                         FrameAnswer mangle = {}, int stopAfter = 1 << 20,
                         QByteArray* answers = nullptr)
{
    PeerLine device;
    SendingPeer sender(device, lines);
    sender.mangle = std::move(mangle);
    sender.stopAfter = stopAfter;
    ManualClock clock;
    const OfficeResult result = CableOffice(device, clock, OfficeTiming{}).receive(out);
    if (answers)
        *answers = sender.answers();
    return result;
}

TEST(OfficeReceive, ChecksEveryFrameAndWritesFilesAfterEot)
{
    const auto flipChecksum = [](QByteArray f) {
        f[f.indexOf(kEtx) + 2] = f[f.indexOf(kEtx) + 2] == 'A' ? 'B' : 'A';
        return f;
    };
    const QList<QByteArray> lines{"001before any header\r\n", headerLine("ONE.DAT     "),
                                  "001one\r\n", headerLine("one.dat     "), "001one again\r\n"};
    const struct {
        const char* what;
        FrameAnswer mangle;
        int stopAfter;
        bool ok;
        QByteArray answers;
    } cases[] = {
        {"clean", {}, 1 << 20, true, "AAAAA"},
        {"checksum wrong twice", spoilAt(2, 2, flipChecksum), 1 << 20, true, "AANNAAA"},
        {"payload byte lost", spoilAt(3, 1, [](QByteArray f) { return f.remove(9, 1); }), 1 << 20,
         true, "AAANAA"},
        {"wrong digit", spoilAt(3, 1, [](QByteArray f) { return f.replace(6, 1, "5"); }), 1 << 20,
         true, "AAANAA"},
        // A payload byte turned into EOT, the rest of the frame following (or, below, nothing).
        {"EOT inside a frame", spoilAt(2, 1, [](QByteArray f) { return f.replace(9, 1, "\x04"); }),
         1 << 20, true, "AANAAA"},
        {"checksum never right", spoilAt(1, 99, flipChecksum), 1 << 20, false,
         "A" + QByteArray(15, 'N')},
        {"frame cut short by EOT", spoilAt(3, 99, [](QByteArray f) { return f.first(9) + kEot; }),
         1 << 20, false, "AAA" + QByteArray(15, 'N')},
        {"device goes silent", {}, 4, false, "AAAA"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot out;
        QByteArray answers;
        const OfficeResult r = receiveFrom(lines, out.path(), c.mangle, c.stopAfter, &answers);
        EXPECT_EQ(r.ok, c.ok) << r.error.toStdString();
        EXPECT_EQ(answers, c.answers);
        if (!c.ok) {
            EXPECT_TRUE(filesIn(out.path()).isEmpty()); // nothing before EOT
            continue;
        }
        // A second file of the same name, in any case, is kept beside the first.
        EXPECT_EQ(filesIn(out.path()),
                  (QMap<QString, QByteArray>{
                      {"ONE.DAT", headerLine("ONE.DAT     ") + "001one\r\n"},
                      {"one_2.dat", headerLine("one.dat     ") + "001one again\r\n"}}));
        EXPECT_EQ(r.files, (QStringList{"ONE.DAT", "one_2.dat"}));
        EXPECT_EQ(r.lines, 5u);
    }
}

TEST(OfficeReceive, KeepsEveryDeliveryOfAName)
{
    TempRoot out;
    const QByteArray name = "AB.3    .DAT";
    for (const char* text : {"001first\r\n", "001second\r\n", "001third\r\n"})
        EXPECT_TRUE(receiveFrom({headerLine(name), text}, out.path()).ok);
    EXPECT_EQ(filesIn(out.path()),
              (QMap<QString, QByteArray>{{"AB.3    .DAT", headerLine(name) + "001first\r\n"},
                                         {"AB.3_2.DAT", headerLine(name) + "001second\r\n"},
                                         {"AB.3_3.DAT", headerLine(name) + "001third\r\n"}}));
    const OfficeResult refused = receiveFrom({headerLine("AB/3    .DAT"), "001x\r\n"}, out.path());
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.error, QStringLiteral("Dateiname abgelehnt: \"AB/3    .DAT\""));
    EXPECT_EQ(filesIn(out.path()).size(), 3);
}

} // namespace
} // namespace brovant::test
