// What the day-in-the-field scenario needs beside the program: the handheld (the real program on
// a temporary device root, with the database flushed as on the device), the messages as one
// readable transcript, the two serial lines (the caliper's pseudo-terminal and the cable to the
// office) and the demo configuration's master data read straight from its file.
#pragma once

#include "app/OnScreenKeyboard.h"
#include "app/ProgramFixture.h"
#include "platform/Cp1252.h"
#include "platform/MessageDialogs.h"
#include "support/PseudoTerminal.h"

#include <QFile>

#include <gtest/gtest.h>

#include <map>

namespace brovant::test {

// The program as the forester has it: the demo configuration staged where a transfer leaves it,
// every message answered from the script and recorded. Unlike the screen tests the database keeps
// its full durability, so every saved tree costs its flush as on the device.
struct Handheld : Program {
    explicit Handheld(const QDateTime& morning)
        : Program(ProgramSetup().unstarted().at(morning).durable())
    {
    }
};

// The messages in the order they came, one line each: "Hinweis: …", "Frage: … [JA/NEIN] JA" with
// the answer given, "Info: …" and "Info zu" for the information window. A run of progress steps
// is one line ("Fortschritt: 0 10 100"), and a run of the information window counting lines
// ("Zeile: 1" … "Zeile: 2012") is one line with the range, so a long transfer reads as it looks.
// Trailing empty lines of a message are left out.
inline QStringList transcript(const ScriptedDialogs& dialogs)
{
    using Kind = ScriptedDialogs::Kind;
    const auto joined = [](QStringList lines) {
        while (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        return lines.join(u'|');
    };
    QStringList out;
    QString counting;     // the information window's first line while it counts lines
    qint64 firstLine = 0; // the range counted so far
    qint64 lastLine = -1;
    const auto closeCount = [&] {
        if (lastLine < 0)
            return;
        out << QStringLiteral("Info: %1|Zeile: %2..%3").arg(counting).arg(firstLine).arg(lastLine);
        lastLine = -1;
    };
    for (const ScriptedDialogs::Message& m : dialogs.messages()) {
        const bool lineCount = m.kind == Kind::Info && m.showCommand == MessageDialogs::Show
                               && m.lines.value(1).startsWith(QStringLiteral("Zeile: "));
        if (lineCount) {
            bool number = false;
            const qint64 n = m.lines.value(1).mid(7).toLongLong(&number);
            if (number && lastLine >= 0 && counting == m.lines.value(0)
                && (n == lastLine || n == lastLine + 1)) {
                lastLine = n;
                continue;
            }
            closeCount();
            if (number) {
                counting = m.lines.value(0);
                firstLine = lastLine = n;
                continue;
            }
        } else {
            closeCount();
        }
        switch (m.kind) {
        case Kind::Notice:
            out << QStringLiteral("Hinweis: ") + joined(m.lines)
                       + (m.captions.value(0) == QStringLiteral("OK")
                              ? QString()
                              : QStringLiteral(" [%1]").arg(m.captions.value(0)));
            break;
        case Kind::YesNo:
        case Kind::Question: {
            QString answer;
            if (m.kind == Kind::YesNo)
                answer = m.answer == Answer::Yes  ? m.captions.value(0)
                         : m.answer == Answer::No ? m.captions.value(1)
                                                  : QStringLiteral("?");
            else
                answer = m.answer >= Answer::First
                             ? m.captions.value(int(m.answer) - int(Answer::First))
                             : QStringLiteral("keine");
            out << QStringLiteral("Frage: %1 [%2] %3")
                       .arg(joined(m.lines), m.captions.join(u'/'), answer);
            break;
        }
        case Kind::Info:
            out << (m.showCommand == MessageDialogs::Show
                        ? QStringLiteral("Info: ") + joined(m.lines)
                        : QStringLiteral("Info zu"));
            break;
        case Kind::Progress: {
            const QString step = QString::number(m.percent, 'f', 0);
            if (!out.isEmpty() && out.last().startsWith(QStringLiteral("Fortschritt:")))
                out.last() += u' ' + step;
            else
                out << QStringLiteral("Fortschritt: ") + step;
            break;
        }
        }
    }
    closeCount();
    return out;
}

// The demo configuration's master data, read from the file itself in its fixed columns: the
// class bounds ("30E": code, upper bound, class diameter), the volume of one tree per tariff and
// class ("40F": tariff, class, m3) and the tariff assignments ("712": region, species, tariff).
class DemoMasterData {
public:
    DemoMasterData()
    {
        QFile file(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
        if (!file.open(QIODevice::ReadOnly))
            return;
        for (const QByteArray& raw : file.readAll().split('\n')) {
            const QString line = cp1252::decode(raw);
            const auto column = [&](int start, int length) {
                return line.mid(start, length).trimmed();
            };
            if (line.startsWith(QStringLiteral("30E"))) {
                m_classes.push_back({line.mid(3, 2), column(5, 3).toInt(), column(8, 3).toInt()});
            } else if (line.startsWith(QStringLiteral("40F"))) {
                // Single precision as the file's "%f" reads it, rounded to hundredths.
                const float m3 = column(10, 7).toFloat();
                m_volumes[column(3, 5) + u'/' + line.mid(8, 2)] = int(double(m3 * 100.0f) + 0.5);
            } else if (line.startsWith(QStringLiteral("712"))) {
                m_assignments.push_back({column(3, 8), column(11, 3), column(14, 5)});
            }
        }
    }

    struct Class {
        QString code;
        int bound = 0;
        int diameter = 0;
    };
    struct Assignment {
        QString region, species, tariff;
    };

    // The first class whose bound reaches the diameter, else the top one.
    Class classOf(int diameter) const
    {
        for (const Class& c : m_classes) {
            if (c.bound >= diameter)
                return c;
        }
        return m_classes.empty() ? Class{} : m_classes.back();
    }
    // Hundredths of m3 of `count` trees; -1 when the tariff has no volume for the class.
    int volume(const QString& tariff, const QString& classCode, int count) const
    {
        const auto it = m_volumes.find(tariff + u'/' + classCode);
        return it == m_volumes.end() ? -1 : it->second * count;
    }
    const std::vector<Assignment>& assignments() const { return m_assignments; }
    bool loaded() const { return !m_classes.empty() && !m_volumes.empty(); }

private:
    std::vector<Class> m_classes;
    std::map<QString, int> m_volumes;
    std::vector<Assignment> m_assignments;
};

} // namespace brovant::test
