// Qt strings and bytes in gtest's failure messages as text rather than as lists of characters.
// Global like QString itself, so gtest finds them by argument lookup.
#pragma once

#include <QByteArray>
#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

// Control bytes escaped.
inline void PrintTo(const QByteArray& bytes, std::ostream* os)
{
    *os << '"' << bytes.toPercentEncoding(" !#$&'()*+,-./:;=?@[]^_`{|}~<>").constData() << '"';
}
