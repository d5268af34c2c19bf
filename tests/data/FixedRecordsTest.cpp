#include "data/FixedRecords.h"
#include "support/CaseFile.h"
#include "support/QtPrinting.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace brovant {
namespace {

using CrRule = RecordReader::CrRule;

// The cases of data/records.txt.
TEST(RecordReaderTest, TrailingCrAndLongLinesGoAsTheCallerSays)
{
    for (const test::Case& c : test::readCases(QStringLiteral("data/data/records.txt"))) {
        QBuffer in;
        in.setData(c.fields[0]);
        in.open(QIODevice::ReadOnly);
        RecordReader reader(in, c.fields[1].toInt(),
                            c.fields[2] == "text-end" ? CrRule::AtTextEnd : CrRule::BeforeLineFeed);
        QByteArrayList lines;
        QByteArray line;
        while (reader.next(line))
            lines << line + ':' + QByteArray::number(reader.consumed());
        EXPECT_EQ(lines.join('|'), c.fields[3]) << c.where().constData();
    }
}

} // namespace
} // namespace brovant
