#include "tally/CaliperTelegram.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brovant {
namespace {

TEST(CaliperTelegram, ReadsSpeciesKeyAndDiameter)
{
    struct Row {
        QByteArray telegram;
        bool accepted;
        int speciesKey;
        int diameter;
    };
    const Row rows[] = {
        {"325", true, 2, 25},
        {"905", true, -1, 5},
        {"8123", true, 7, 12},
        {"100", true, 0, 0},
        {"199", true, 0, 99},
        {"0 kind of note", false, 0, 0},
        {"042", true, -1, 42},    // "0" is below the keys
        {"A42", true, -1, 42},    // as is any letter
        {"942", true, -1, 42},    // and "9" above them
        {"\37742", true, -1, 42}, // a byte above ASCII
        {"742\r", true, 6, 42},   // whatever follows the third character is ignored
        {"12", false, 0, 0},
        {"1", false, 0, 0},
        {"", false, 0, 0},
        {"3a5", false, 0, 0},
        {"35a", false, 0, 0},
        {"3 5", false, 0, 0},
        {"3-5", false, 0, 0},
        {"3/5", false, 0, 0}, // the characters just below "0"
        {"3:5", false, 0, 0}, // and just above "9"
        {QByteArray("3\0005", 3), false, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.telegram.toPercentEncoding().toStdString());
        const std::optional<Measurement> m = parseTelegram(row.telegram);
        ASSERT_EQ(m.has_value(), row.accepted);
        if (m) {
            EXPECT_EQ(m->speciesKey, row.speciesKey);
            EXPECT_EQ(m->diameter, row.diameter);
        }
    }
}

// Feeds the chunks one after the other, then flushes when asked; every telegram handed over is
// joined with '|', a flush result marked with '!'.
std::string split(const std::vector<QByteArray>& chunks, bool flush = false)
{
    TelegramSplitter splitter;
    QByteArrayList out;
    for (const QByteArray& chunk : chunks)
        out += splitter.feed(chunk);
    if (flush) {
        if (const std::optional<QByteArray> rest = splitter.flush())
            out += '!' + *rest;
    }
    return out.join('|').toStdString();
}

TEST(CaliperTelegram, SplitterCutsTheStreamAtLineEnds)
{
    struct Row {
        std::vector<QByteArray> chunks;
        bool flush;
        std::string expected;
    };
    const Row rows[] = {
        {{"325\r"}, false, "325"},
        {{"325\n"}, false, "325"},
        {{"325\r\n"}, false, "325"},
        {{"325\n\r"}, false, "325"},
        {{"325\r\n412\r\n"}, false, "325|412"},
        {{"325\r412\n501\r\n"}, false, "325|412|501"},
        {{"3", "2", "5", "\r", "\n"}, false, "325"},
        {{"325\r", "\n412", "\r\n"}, false, "325|412"},
        {{"32", "5\r\n41"}, false, "325"},
        {{"32", "5\r\n41"}, true, "325|!41"},
        {{"\r\n\r\n\n\r325\r\n\r\n"}, false, "325"},
        {{"\r\n", "\r", "\n"}, true, ""},
        {{"325"}, false, ""},
        {{"325"}, true, "!325"},
        {{"325\r\n"}, true, "325"},
        {{"3 2 5\r\n"}, false, "3 2 5"},
        {{QByteArray("\0\x01\xff\r\n", 5)}, false, std::string("\0\x01\xff", 3)},
        {{}, true, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(split(row.chunks, row.flush), row.expected);
    }
}

TEST(CaliperTelegram, SplitterStartsAfreshAfterFlush)
{
    TelegramSplitter splitter;
    EXPECT_TRUE(splitter.feed("512").isEmpty());
    EXPECT_TRUE(splitter.hasPending());
    EXPECT_EQ(splitter.flush(), QByteArray("512"));
    EXPECT_FALSE(splitter.hasPending());
    EXPECT_EQ(splitter.flush(), std::nullopt);
    EXPECT_EQ(splitter.feed("623\r\n"), QByteArrayList{"623"});
}

TEST(CaliperTelegram, SplitterKeepsTheFirstHundredBytesOfALongLine)
{
    const QByteArray line = QByteArray("325") + QByteArray(497, 'x');
    struct Row {
        const char* name;
        std::vector<QByteArray> chunks;
    };
    std::vector<QByteArray> bytewise;
    for (const char c : line)
        bytewise.emplace_back(1, c);
    const Row rows[] = {
        {"at once", {line}},
        {"byte by byte", bytewise},
        {"in two", {line.left(150), line.mid(150)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TelegramSplitter splitter;
        for (const QByteArray& chunk : row.chunks) {
            EXPECT_TRUE(splitter.feed(chunk).isEmpty());
        }
        const std::optional<QByteArray> rest = splitter.flush();
        ASSERT_TRUE(rest.has_value());
        EXPECT_EQ(*rest, line.left(TelegramSplitter::kMaxTelegram));
    }

    // The dropped rest of the line does not leak into the next telegram.
    TelegramSplitter splitter;
    EXPECT_EQ(splitter.feed(line + "\r\n" + "412\r\n"),
              (QByteArrayList{line.left(TelegramSplitter::kMaxTelegram), "412"}));
    EXPECT_EQ(splitter.feed(QByteArray(100, 'y') + "\n"), QByteArrayList{QByteArray(100, 'y')});
    EXPECT_EQ(splitter.feed(QByteArray(101, 'z') + "\n"), QByteArrayList{QByteArray(100, 'z')});
}

} // namespace
} // namespace brovant
