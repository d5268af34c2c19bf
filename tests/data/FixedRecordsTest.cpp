#include "data/FixedRecords.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace brovant {
namespace {

using CrRule = RecordReader::CrRule;

struct ReadCase {
    QByteArray input;
    int maxLength;
    CrRule rule;
    const char* lines; // "<line>:<bytes consumed>", joined by '|'
};

TEST(RecordReaderTest, TrailingCrAndLongLinesGoAsTheCallerSays)
{
    const ReadCase cases[] = {
        {"ab\r\ncd\r", 9, CrRule::AtTextEnd, "ab:4|cd:3"},
        {"ab\r\ncd\r", 9, CrRule::BeforeLineFeed, "ab:4|cd\r:3"},
        {QByteArray("ab\r\0x\r\n", 7), 9, CrRule::AtTextEnd, "ab:7"},
        {QByteArray("ab\r\0x\r\n", 7), 9, CrRule::BeforeLineFeed, "ab\r:7"},
        {"a\rb\n\nabcdef\r\nabcde\r\n", 5, CrRule::AtTextEnd, "a\rb:4|:1|abcde:8|abcde:7"},
        {"a\rb\n\nabcdef\r\nabcde\r\n", 5, CrRule::BeforeLineFeed, "a\rb:4|:1|abcde:8|abcde:7"},
        {"", 5, CrRule::AtTextEnd, ""},
    };
    for (const ReadCase& c : cases) {
        QBuffer in;
        in.setData(c.input);
        in.open(QIODevice::ReadOnly);
        RecordReader reader(in, c.maxLength, c.rule);
        QByteArrayList lines;
        QByteArray line;
        while (reader.next(line))
            lines << line + ':' + QByteArray::number(reader.consumed());
        EXPECT_EQ(lines.join('|').toStdString(), c.lines) << c.input.toStdString();
    }
}

} // namespace
} // namespace brovant
