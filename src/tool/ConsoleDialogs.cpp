#include "tool/ConsoleDialogs.h"

namespace brovant {

void ConsoleDialogs::print(const QString& line1, const QString& line2, const QString& line3)
{
    if (m_progressShown) {
        m_err << '\n';
        m_progressShown = false;
    }
    for (const QString& line : {line1, line2, line3}) {
        if (!line.isEmpty())
            m_err << line << '\n';
    }
    m_err.flush();
}

void ConsoleDialogs::notice(const QString& line1, const QString& line2, const QString& line3,
                            const QString&, bool)
{
    ++m_notices;
    print(line1, line2, line3);
}

Answer ConsoleDialogs::yesNo(const QString& line1, const QString& line2, const QString& line3,
                             const QString&, const QString& noCaption)
{
    print(line1, line2, line3);
    m_err << "-> " << noCaption << '\n';
    return Answer::No;
}

Answer ConsoleDialogs::question(const QString& line1, const QString& line2, const QString& line3,
                                const QString&, const QString&, const QString&)
{
    print(line1, line2, line3);
    return Answer::None;
}

void ConsoleDialogs::info(int showCommand, const QString& line1, const QString&, const QString&)
{
    if (!m_showProgress)
        return;
    if (showCommand == Hide) {
        if (m_progressShown)
            m_err << '\n';
        m_progressShown = false;
    } else {
        m_err << line1 << '\n';
    }
    m_err.flush();
}

void ConsoleDialogs::progress(double percent)
{
    if (!m_showProgress)
        return;
    m_err << QStringLiteral("\r%1 %").arg(int(percent), 3);
    m_err.flush();
    m_progressShown = true;
}

} // namespace brovant
