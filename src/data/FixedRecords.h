// Data layer: the lines of the office's fixed-column files (Windows-1252, CR LF), read in bounded
// chunks, cut into columns by position and written through one buffer. Reading: LF ends a line, a
// NUL ends its text, past the caller's maximum length the rest is skipped, and a trailing CR goes
// as the caller's CrRule says. Writing: CR LF after each line, cut first to the caller's maximum.
#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;
class QSaveFile;

namespace brovant {

class RecordReader {
public:
    enum class CrRule {
        BeforeLineFeed, // only a CR right before the LF of a line no NUL cut goes
        AtTextEnd,      // a CR ending the kept text goes, also before a NUL or the file's end
    };

    RecordReader(QIODevice& in, int maxLength, CrRule crRule);

    // False at the end of the input. Never holds more than a chunk and one line.
    bool next(QByteArray& line);
    // Bytes the last line took in the input, its LF included.
    qint64 consumed() const { return m_consumed; }

private:
    bool fill();

    QIODevice& m_in;
    const int m_maxLength;
    const CrRule m_crRule;
    QByteArray m_buffer;
    qint64 m_pos = 0;
    qint64 m_end = 0;
    qint64 m_consumed = 0;
};

// One line as if padded with blanks; columns count from 0.
struct Record {
    QByteArrayView bytes;

    QByteArray raw(int start, int length) const;
    QString text(int start, int length) const;
};

// Gives the file up on a short write, so its commit fails and nothing cut short is left.
class RecordWriter {
public:
    enum class Encoding { Windows1252, Utf8 };
    static constexpr QByteArrayView kLineEnd = "\r\n";

    // `maxLength` characters of a line are kept before its CR LF (Windows-1252 only); 0 keeps all.
    RecordWriter(QSaveFile& file, Encoding encoding, int maxLength = 0);

    void addBytes(QByteArrayView bytes);
    void add(QStringView line);
    void flush();

private:
    QSaveFile& m_file;
    const Encoding m_encoding;
    const int m_maxLength;
    QByteArray m_buffer;
};

} // namespace brovant
