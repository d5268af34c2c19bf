#include "data/Schema.h"
#include "data/DataTestSupport.h"
#include "data/FixedRecords.h"
#include "support/CaseFile.h"

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

// A table as "NAME:T<length>" or "NAME:N<digits>.<decimals>" per field, "*" marking the key.
QString layoutOf(const TableDescriptor& table)
{
    QString out = QString::fromLatin1(table.name);
    for (const FieldDescriptor& f : table.fields) {
        const bool text = f.type == FieldType::Text;
        out += QStringLiteral(" %1:%2%3")
                   .arg(QString::fromLatin1(f.name), text ? "T" : "N")
                   .arg(f.length);
        out += (text ? QString() : QStringLiteral(".%1").arg(f.decimals)) + (f.key ? "*" : "");
    }
    const FieldDescriptor* key = table.keyField();
    return key ? out + " key=" + QString::fromLatin1(key->name) : out;
}

// The field of `table` named `name`, by the names the file uses.
const FieldDescriptor* field(const QString& table, const QString& name)
{
    for (const TableDescriptor* t : schema::allTables()) {
        if (QLatin1StringView(t->name) == table && t->indexOf(name) >= 0)
            return &t->fields[size_t(t->indexOf(name))];
    }
    return nullptr;
}

// The cases of data/schema.txt.
TEST(Schema, TablesAndFieldTextsAsWritten)
{
    QStringList layouts;
    for (const test::Case& c : test::readCases(QStringLiteral("data/data/schema.txt"))) {
        if (c.fields[0] == "table") {
            layouts << c.text(1);
        } else if (c.fields[0] == "scaled") {
            EXPECT_EQ(formatScaled(c.fields[1].toLongLong(), c.fields[2].toInt()), c.text(3))
                << c.where().constData();
        } else {
            const FieldDescriptor* f = field(c.text(1), c.text(2));
            ASSERT_TRUE(f) << c.where().constData();
            const QString value = c.text(3);
            const FieldValue v = value.startsWith(u"n:")   ? FieldValue(value.mid(2).toLongLong())
                                 : value.startsWith(u"t:") ? FieldValue(value.mid(2))
                                                           : FieldValue{};
            EXPECT_EQ(formatValue(*f, v), c.text(4)) << c.where().constData();
            EXPECT_EQ(f->width(), c.text(4).size()) << c.where().constData();
        }
    }
    QStringList tables;
    for (const TableDescriptor* table : schema::allTables())
        tables << layoutOf(*table);
    EXPECT_EQ(tables, layouts);
    EXPECT_STREQ(schema::kStructureVersion, "T00300");
}

} // namespace
} // namespace brovant
