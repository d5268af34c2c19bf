// Platform layer: the single-byte code page of files and lines exchanged with the office
// (Windows-1252). Conversion happens only at the file and line boundary.
#pragma once

#include <QByteArray>
#include <QString>

namespace brovant::cp1252 {

// Every byte maps to one character; the five bytes Windows-1252 leaves undefined map to the C1
// control characters of the same value, as the device's converter does, so nothing is lost.
QString decode(QByteArrayView bytes);

// Characters outside the code page become '?'; one character always gives one byte, so column
// widths stay as counted in characters.
QByteArray encode(QStringView text);
// The same, appended to `out` without a copy of its own.
void encodeAppend(QByteArray& out, QStringView text);

} // namespace brovant::cp1252
