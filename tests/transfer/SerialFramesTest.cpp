// Frames byte by byte, taken apart and gathered from a line; the names a header may give are in
// TextCasesTest.
#include "transfer/SerialFrames.h"

#include "support/CaseFile.h"

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

using namespace frames;

// Frame bytes written out by hand: SYN SYN SOH, body, checksum digits, CR LF DEL NUL.
QByteArray framed(QByteArrayView typeDigit, QByteArrayView rest, QByteArrayView checksum)
{
    return QByteArray("\x16\x16\x01") + typeDigit.toByteArray() + '\x02' + rest.toByteArray()
           + '\x03' + checksum.toByteArray() + QByteArray("\r\n\x7f\0", 4);
}

// One frame a line of data/serial_frames.txt.
TEST(SerialFrames, BuildsFramesByteByByte)
{
    for (const Case& c : readCases(QStringLiteral("transfer/data/serial_frames.txt"))) {
        const QByteArray expected = framed(c.fields[2], c.fields.value(3), c.fields.value(4));
        EXPECT_EQ(build(c.fields[0], c.fields[1].toULongLong()).toHex(' '), expected.toHex(' '))
            << c.where().constData();
    }
}

TEST(SerialFrames, ReadsLinesAsTheDeviceDoes)
{
    const QByteArray longLine = QByteArray(2500, 'x') + "\r\n";
    const QList<QByteArray> cases[] = {
        fileLines("TD0a\r\n001b\r\nREG"),
        fileLines(longLine),
        fileLines(""),
        fileLines("\n\n"),
    };
    EXPECT_EQ(cases[0], (QList<QByteArray>{"TD0a\r\n", "001b\r\n", "REG"}));
    EXPECT_EQ(cases[1], (QList<QByteArray>{QByteArray(1000, 'x'), QByteArray(1000, 'x'),
                                           QByteArray(500, 'x') + "\r\n"}));
    EXPECT_TRUE(cases[2].isEmpty());
    EXPECT_EQ(cases[3], (QList<QByteArray>{"\n", "\n"}));
}

struct TakeApartCase {
    const char* what;
    QByteArray frame;
    std::optional<char> digit;
    QByteArray payload;
    bool complete;
    bool checksumMatches;
};

TEST(SerialFrames, TakesFramesApart)
{
    const QByteArray good = framed("0013", "abc", "F0");
    const TakeApartCase cases[] = {
        {"a whole frame", good, '3', "001abc", true, true},
        {"a built frame", build("TD0AB      .DATQ\r\n", 7), '7', "TD0AB      .DATQ", true, true},
        {"no SOH: no digit", QByteArray(good).remove(2, 1), std::nullopt, "0013abc", true, false},
        {"no ETX: payload runs on", QByteArray(good).remove(11, 1), '3',
         QByteArray("001abcF0\r\n\0", 11), false, false},
        {"one checksum digit wrong", QByteArray(good).replace(13, 1, "D"), '3', "001abc", true,
         false},
        {"a payload byte lost", QByteArray(good).remove(9, 1), '3', "001ac", true, false},
        {"lower-case checksum", QByteArray(good).replace(12, 2, "f0"), '3', "001abc", true, false},
        {"cut after ETX", good.first(12), '3', "001abc", true, false},
        {"noise in front is payload", "zz" + good, '3', "zz001abc", true, true},
        {"cut before the digit", good.first(5), std::nullopt, "00", false, false},
    };
    for (const TakeApartCase& c : cases) {
        const Received r = takeApart(c.frame);
        EXPECT_EQ(r.digit, c.digit) << c.what;
        EXPECT_EQ(r.payload.toHex(' '), c.payload.toHex(' ')) << c.what;
        EXPECT_EQ(r.complete, c.complete) << c.what;
        EXPECT_EQ(r.checksumMatches, c.checksumMatches) << c.what;
    }
}

TEST(SerialFrames, CollectorCutsTheLineIntoSteps)
{
    const QByteArray one = build("001one\r\n", 1);
    const QByteArray two = build("002two\r\n", 2);

    Collector pieces;
    pieces.append(one.first(4));
    EXPECT_FALSE(pieces.next());
    pieces.append(one.sliced(4, 8));
    EXPECT_FALSE(pieces.next());
    pieces.append(one.sliced(12));
    EXPECT_EQ(pieces.next(), one.sliced(2)); // from SOH, trailer included
    EXPECT_TRUE(pieces.isEmpty());

    Collector noisy;
    noisy.append(QByteArray("\xFF\x00garbage", 9) + two + QByteArray("\x04", 1));
    const std::optional<QByteArray> step = noisy.next();
    ASSERT_TRUE(step);
    EXPECT_EQ(takeApart(*step).payload, "002two");
    EXPECT_TRUE(takeApart(*step).checksumMatches);
    EXPECT_EQ(noisy.next(), QByteArray("\x04"));
    EXPECT_FALSE(noisy.next());

    Collector late; // the trailer of the last frame arrives with the EOT
    late.append(one.first(one.size() - 4));
    EXPECT_TRUE(late.next());
    late.append(QByteArray("\r\n\x7f\0\x04", 5));
    const std::optional<QByteArray> end = late.next();
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->contains('\x04'));

    Collector cut; // ETX lost: never complete, drained as it is
    cut.append(QByteArray(one).remove(one.indexOf('\x03'), 1));
    EXPECT_FALSE(cut.next());
    EXPECT_FALSE(takeApart(cut.drain()).complete);
    EXPECT_TRUE(cut.isEmpty());
}

} // namespace
} // namespace brovant::test
