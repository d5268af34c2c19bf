// List file fields and names, spreadsheet cells, the FTP server setting and the channel the
// transfer settings choose, text in and text out: one case a line of data/text_cases.txt. Then
// serial frames byte by byte, taken apart and gathered from a line.
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "transfer/FtpChannel.h"
#include "transfer/ListCsvExport.h"
#include "transfer/ListFileImport.h"
#include "transfer/ListName.h"
#include "transfer/SerialFrames.h"
#include "transfer/SettingsChannels.h"

#include <gtest/gtest.h>

#include <optional>

namespace brovant::test {
namespace {

QString utf8(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes);
}

// The conversion a case names, of its inputs `a`; nullopt for a name no conversion has.
std::optional<QString> convert(const QByteArray& kind, const QList<QByteArray>& a)
{
    if (kind == "number")
        return QString::number(ListFileImport::number(utf8(a[0]), a.value(1).toInt()));
    if (kind == "ftpserver") {
        const std::optional<FtpServer> server = FtpServer::parse(utf8(a[0]));
        if (!server)
            return QStringLiteral("-");
        return QStringLiteral("%1 %2 %3")
            .arg(server->host)
            .arg(server->port)
            .arg(server->tls ? "tls" : "plain");
    }
    if (kind == "ftpurl")
        return FtpServer::parse(utf8(a[0])).value_or(FtpServer{}).baseUrl();
    if (kind == "listname")
        return QString::fromLatin1(listname::isFileName(utf8(a[0])) ? "yes" : "no");
    if (kind == "header")
        return frames::headerFileName(a[0]).value_or(QStringLiteral("-"));
    if (kind == "lines") {
        QString lines;
        for (const QByteArray& line : frames::fileLines(a[0]))
            lines += u'[' + utf8(line) + u']';
        return lines;
    }
    if (kind == "namefield")
        return frames::headerNameField(a[0]);
    if (kind == "quoted")
        return ListCsvExport::quoted(utf8(a[0]));
    if (kind == "guarded")
        return ListCsvExport::guarded(utf8(a[0]));
    if (kind == "hundredths")
        return ListCsvExport::hundredths(a[0].toLongLong());
    if (kind == "route") {
        const char* const names[] = {"ActiveSync", "Cable", "Modem", "Ftp"};
        return QStringLiteral("%1 %2").arg(
            names[int(SettingsChannels::sendRoute(a[0].toInt(), a.value(1).toInt()))],
            names[int(SettingsChannels::receiveRoute(a.value(1).toInt()))]);
    }
    return std::nullopt;
}

TEST(TextCases, ConvertAsWritten)
{
    const QList<Case> cases = readCases(QStringLiteral("transfer/data/text_cases.txt"));
    for (Case c : cases) {
        const QByteArray kind = c.fields.takeFirst();
        ASSERT_GE(c.fields.size(), 2) << c.where().constData();
        const QString expected = utf8(c.fields.takeLast());
        EXPECT_EQ(convert(kind, c.fields).value_or(QStringLiteral("<no such conversion>")),
                  expected)
            << c.where().constData();
    }
    EXPECT_EQ(cases.size(), 154);
}

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

// A line longer than a frame goes in pieces of 1000 bytes.
TEST(SerialFrames, CutsLongLines)
{
    EXPECT_EQ(fileLines(QByteArray(2500, 'x') + "\r\n"),
              (QList<QByteArray>{QByteArray(1000, 'x'), QByteArray(1000, 'x'),
                                 QByteArray(500, 'x') + "\r\n"}));
}

// One frame a line of data/frames_taken_apart.txt.
TEST(SerialFrames, TakesFramesApart)
{
    for (const Case& c : readCases(QStringLiteral("transfer/data/frames_taken_apart.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const Received r = takeApart(c.fields[1]);
        EXPECT_EQ(r.digit, c.fields[2] == "-" ? std::nullopt : std::optional<char>(c.fields[2][0]));
        EXPECT_EQ(r.payload.toHex(' '), c.fields.value(3).toHex(' '));
        EXPECT_EQ(r.complete, c.fields.value(4) == "yes");
        EXPECT_EQ(r.checksumMatches, c.fields.value(5) == "yes");
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
