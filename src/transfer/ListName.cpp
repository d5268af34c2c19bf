#include "transfer/ListName.h"

#include "platform/Cp1252.h"

#include <QString>

#include <algorithm>

namespace brovant::listname {
namespace {

constexpr int kMaxName = 8;
constexpr int kMaxExtension = 3;

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// The serial line and the list file carry names in the office code page.
bool isLetter(QChar c)
{
    return c.isLetter() && cp1252::decode(cp1252::encode(QStringView(&c, 1))) == c;
}

bool isNameCharacter(QChar c)
{
    return isLetter(c) || isDigit(c) || QStringView(u" _-.,()&").contains(c);
}

bool isDeviceName(QStringView name)
{
    // Windows takes the part before the first dot, blanks trimmed, for the device.
    const qsizetype dot = name.indexOf(u'.');
    const QString stem = (dot < 0 ? name : name.first(dot)).trimmed().toString().toUpper();
    for (const char* reserved : {"CON", "PRN", "AUX", "NUL"}) {
        if (stem == QLatin1StringView(reserved))
            return true;
    }
    return stem.size() == 4 && (stem.startsWith(u"COM") || stem.startsWith(u"LPT"))
           && stem[3] >= u'1' && stem[3] <= u'9';
}

} // namespace

bool canTravel(QStringView name)
{
    if (name.isEmpty() || name.size() > kMaxName || name.front() == u' ' || name.front() == u'.')
        return false;
    return std::all_of(name.begin(), name.end(), isNameCharacter) && !isDeviceName(name);
}

bool isFileName(QStringView name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot < 0)
        return canTravel(name);
    const QStringView extension = name.sliced(dot + 1);
    return canTravel(name.first(dot)) && !extension.isEmpty() && extension.size() <= kMaxExtension
           && std::all_of(extension.begin(), extension.end(),
                          [](QChar c) { return isLetter(c) || isDigit(c); });
}

QString printable(QStringView name)
{
    QString shown;
    for (const QChar c : name)
        shown += c.unicode() < 0x20 || c.unicode() == 0x7F
                     ? QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QChar(u'0'))
                     : QString(c);
    return shown;
}

} // namespace brovant::listname
