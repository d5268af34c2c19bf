// Command lines of the tool and what each must answer, one case a line of a file in
// tests/tool/data: the exit status, standard output, standard error, then the arguments, "{root}"
// standing for the device root and "{source}" for the source tree. An expected output is the whole
// text; "..." alone is some text, "text..." text and more after it, "...text..." text somewhere in
// it; an empty field is no output.
#pragma once

#include "support/CaseFile.h"
#include "tool/ToolRun.h"

namespace brovant::test {

inline bool outputMatches(const QString& actual, const QString& expected)
{
    if (expected == QLatin1StringView("..."))
        return !actual.isEmpty();
    const bool before = expected.startsWith(QLatin1StringView("..."));
    const bool after = expected.endsWith(QLatin1StringView("..."));
    const QString text = expected.mid(before ? 3 : 0).chopped(after ? 3 : 0);
    if (before && after)
        return actual.contains(text);
    return after ? actual.startsWith(text) : before ? actual.endsWith(text) : actual == text;
}

// With `onRoot` every command runs with "--root root" in front of its arguments.
inline void expectCommands(const QString& relative, const QString& root, bool onRoot = true)
{
    for (const Case& c : readCases(relative)) {
        QStringList args = onRoot ? QStringList{QStringLiteral("--root"), root} : QStringList();
        for (qsizetype i = 3; i < c.fields.size(); ++i)
            args << c.text(i)
                        .replace(QLatin1StringView("{root}"), root)
                        .replace(QLatin1StringView("{source}"),
                                 QLatin1StringView(BROVANT_SOURCE_DIR));
        SCOPED_TRACE(c.where().toStdString() + ": " + args.join(u' ').toStdString());
        const ToolRun r = runTool(args);
        EXPECT_EQ(r.status, c.text(0).toInt()) << r.err.toStdString();
        EXPECT_TRUE(outputMatches(r.out, c.text(1))) << "standard output: " << r.out.toStdString();
        EXPECT_TRUE(outputMatches(r.err, c.text(2))) << "standard error: " << r.err.toStdString();
    }
}

} // namespace brovant::test
