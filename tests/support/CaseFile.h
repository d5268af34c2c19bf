// Cases written one a line in a text file beside the tests, so a table of inputs and expected
// results reads like the list an office clerk would write. Fields are separated by tabs; lines
// that are empty or start with '#' are notes. "\t", "\r", "\n", "\\" and "\xNN" (a byte) stand
// for what is hard to write in a text file. The text is UTF-8.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <gtest/gtest.h>

namespace brovant::test {

inline QByteArray unescaped(const QByteArray& text)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            bytes += text[i];
            continue;
        }
        const char c = text[++i];
        if (c == 'x') {
            bytes += char(text.mid(i + 1, 2).toInt(nullptr, 16));
            i += 2;
        } else {
            bytes += c == 't' ? '\t' : c == 'r' ? '\r' : c == 'n' ? '\n' : c;
        }
    }
    return bytes;
}

struct Case {
    int line = 0;              // in the file, for the failure message
    QList<QByteArray> fields;  // unescaped

    QString text(qsizetype i) const { return QString::fromUtf8(fields.value(i)); }
    QByteArray where() const { return "line " + QByteArray::number(line); }
};

// The cases of tests/<relative>; an unreadable or empty file fails the test that asked.
inline QList<Case> readCases(const QString& relative)
{
    QList<Case> cases;
    QFile file(QStringLiteral(BROVANT_SOURCE_DIR "/tests/") + relative);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << relative.toStdString();
        return cases;
    }
    int number = 0;
    for (const QByteArray& line : file.readAll().split('\n')) {
        ++number;
        if (line.trimmed().isEmpty() || line.startsWith('#'))
            continue;
        Case c{number, {}};
        for (const QByteArray& field : line.split('\t'))
            c.fields.append(unescaped(field));
        cases.append(c);
    }
    EXPECT_FALSE(cases.isEmpty()) << relative.toStdString() << " holds no case";
    return cases;
}

} // namespace brovant::test
