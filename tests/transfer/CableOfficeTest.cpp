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
