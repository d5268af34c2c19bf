#include "platform/MessageDialogs.h"

namespace brovant {

Answer ScriptedDialogs::nextAnswer(Answer fallback)
{
    if (m_answers.empty()) {
        ++m_unanswered;
        return fallback;
    }
    const Answer answer = m_answers.front();
    m_answers.pop_front();
    return answer;
}

void ScriptedDialogs::notice(const QString& line1, const QString& line2, const QString& line3,
                             const QString& caption, bool sound)
{
    m_messages.push_back({Kind::Notice, {line1, line2, line3}, {caption}, Answer::Ok, sound, 0, 0});
}

Answer ScriptedDialogs::yesNo(const QString& line1, const QString& line2, const QString& line3,
                              const QString& yesCaption, const QString& noCaption)
{
    const Answer answer = nextAnswer(m_fallbackYesNo);
    m_messages.push_back(
        {Kind::YesNo, {line1, line2, line3}, {yesCaption, noCaption}, answer, true, 0, 0});
    return answer;
}

Answer ScriptedDialogs::question(const QString& line1, const QString& line2, const QString& line3,
                                 const QString& caption1, const QString& caption2,
                                 const QString& caption3)
{
    const Answer answer = nextAnswer(m_fallbackQuestion);
    m_messages.push_back({Kind::Question,
                          {line1, line2, line3},
                          {caption1, caption2, caption3},
                          answer,
                          true,
                          0,
                          0});
    return answer;
}

void ScriptedDialogs::info(int showCommand, const QString& line1, const QString& line2,
                           const QString& line3)
{
    if (showCommand == Hide)
        m_cancelOffered = false;
    m_messages.push_back(
        {Kind::Info, {line1, line2, line3}, {}, Answer::None, false, 0, showCommand});
}

void ScriptedDialogs::progress(double percent)
{
    m_lastPercent = percent;
    m_messages.push_back({Kind::Progress, {}, {}, Answer::None, false, percent, 0});
}

void ScriptedDialogs::offerCancel(bool offered)
{
    m_cancelOffered = offered;
}

bool ScriptedDialogs::cancelRequested()
{
    return m_cancelOffered && m_cancelAt >= 0 && m_lastPercent >= m_cancelAt;
}

QStringList ScriptedDialogs::asked() const
{
    QStringList out;
    for (const Message& m : m_messages) {
        if (m.kind == Kind::Notice || m.kind == Kind::YesNo || m.kind == Kind::Question)
            out << m.lines.join(u'|');
    }
    return out;
}

std::vector<double> ScriptedDialogs::progressValues() const
{
    std::vector<double> out;
    for (const Message& m : m_messages) {
        if (m.kind == Kind::Progress)
            out.push_back(m.percent);
    }
    return out;
}

void ScriptedDialogs::clear()
{
    m_messages.clear();
    m_answers.clear();
    m_unanswered = 0;
    m_beeps = 0;
    m_cancelOffered = false;
    m_cancelAt = -1;
    m_lastPercent = 0;
}

} // namespace brovant
