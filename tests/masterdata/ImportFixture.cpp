#include "ImportFixture.h"

#include "data/Dataset.h"
#include "data/Schema.h"
#include "platform/Cp1252.h"

namespace brovant::test {

QByteArray ImportFixture::file(const QStringList& lines, const char* end)
{
    QByteArray out;
    for (const QString& line : lines)
        out += cp1252::encode(line) + end;
    return out;
}

QStringList ImportFixture::rows() const
{
    Dataset ds(session->database(), schema::Einstellungen);
    ds.reset(Filter::ordered(QStringLiteral("ID")));
    QStringList out;
    for (ds.moveFirst(); !ds.eof(); ds.moveNext()) {
        QStringList cells;
        for (const char16_t* f : {u"ID", u"ID_TYPE", u"DMSTUFE", u"BHDBIS", u"BHD", u"TARIF",
                                  u"KUBATUR", u"REGION_A", u"BAUMART"})
            cells << ds.loadText(QStringView(f));
        out << cells.join(u'|');
    }
    return out;
}

QStringList ImportFixture::hsOf(int id) const
{
    Dataset ds(session->database(), schema::Einstellungen);
    ds.reset({QStringLiteral("ID = ?"), {FieldValue(std::int64_t(id))}, {}});
    QStringList out;
    for (const char16_t* f : {u"HS1", u"HS2", u"HS3", u"HS4", u"HS5", u"HS6"})
        out << (ds.loadIsEmpty(QStringView(f)) ? QStringLiteral("-") : ds.loadText(QStringView(f)));
    return out;
}

} // namespace brovant::test
