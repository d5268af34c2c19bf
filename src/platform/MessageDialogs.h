// Platform layer: the one way every part of the program asks or tells the user something.
// Messages are three short lines. The screens show them as modal dialogs; tests and the admin
// tool put their own implementation behind this interface.
#pragma once

#include <QString>
#include <QStringList>

#include <deque>
#include <vector>

namespace brovant {

// The user's answer to a message: the button pressed, or None for a question closed without one.
enum class Answer { None, Ok, Yes, No, First, Second, Third };

class MessageDialogs {
public:
    // Show commands of the information window.
    static constexpr int Show = 5;
    static constexpr int Hide = 0;

    virtual ~MessageDialogs() = default;

    // "Achtung!" with one button; `sound` plays the exclamation before showing.
    virtual void notice(const QString& line1, const QString& line2 = {}, const QString& line3 = {},
                        const QString& caption = QStringLiteral("OK"), bool sound = true) = 0;
    // "Frage" with two buttons; returns Yes (left button) or No.
    virtual Answer yesNo(const QString& line1, const QString& line2 = {}, const QString& line3 = {},
                         const QString& yesCaption = QStringLiteral("JA"),
                         const QString& noCaption = QStringLiteral("NEIN")) = 0;
    // "Frage" with three buttons; returns First, Second, Third, or None.
    virtual Answer question(const QString& line1, const QString& line2, const QString& line3,
                            const QString& caption1, const QString& caption2,
                            const QString& caption3) = 0;
    // The non-modal "Info" window with its progress bar.
    virtual void info(int showCommand, const QString& line1, const QString& line2 = {},
                      const QString& line3 = {}) = 0;
    virtual void progress(double percent) = 0;
    // An "Abbruch" key on the info window, for a job that asks for it: offering forgets an earlier
    // press; withdrawing it, or hiding the window, takes the key away.
    virtual void offerCancel(bool /*offered*/) {}
    // Whether the user pressed the offered "Abbruch"; the job polls this while it runs.
    virtual bool cancelRequested() { return false; }
    // The system's default sound: a refused key, nothing to show.
    virtual void beep() {}
};

// Records every message and answers questions from a script set up before the action; used by
// tests, the demo tour and anything that must run without a person.
class ScriptedDialogs : public MessageDialogs {
public:
    enum class Kind { Notice, YesNo, Question, Info, Progress };
    struct Message {
        Kind kind;
        QStringList lines;    // always three
        QStringList captions; // button captions as shown
        Answer answer = Answer::None; // what was returned (questions)
        bool sound = false;
        double percent = 0;  // Progress
        int showCommand = 0; // Info
    };

    void answerNext(Answer answer) { m_answers.push_back(answer); }
    // Answer for questions when the script has run out (No, or None for three buttons).
    void setFallback(Answer yesNo, Answer question)
    {
        m_fallbackYesNo = yesNo, m_fallbackQuestion = question;
    }

    void notice(const QString& line1, const QString& line2, const QString& line3,
                const QString& caption, bool sound) override;
    Answer yesNo(const QString& line1, const QString& line2, const QString& line3,
                 const QString& yesCaption, const QString& noCaption) override;
    Answer question(const QString& line1, const QString& line2, const QString& line3,
                    const QString& caption1, const QString& caption2,
                    const QString& caption3) override;
    void info(int showCommand, const QString& line1, const QString& line2,
              const QString& line3) override;
    void progress(double percent) override;
    void offerCancel(bool offered) override;
    bool cancelRequested() override;
    void beep() override { ++m_beeps; }
    // The user presses the offered "Abbruch" once the progress shown reaches `percent` (0: as
    // soon as it is offered).
    void cancelAtProgress(double percent) { m_cancelAt = percent; }
    bool cancelOffered() const { return m_cancelOffered; }

    const std::vector<Message>& messages() const { return m_messages; }
    // Messages other than Info and Progress, as "line1|line2|line3".
    QStringList asked() const;
    std::vector<double> progressValues() const;
    int unansweredQuestions() const { return m_unanswered; }
    int beeps() const { return m_beeps; }
    size_t pendingAnswers() const { return m_answers.size(); }
    void clear();

private:
    Answer nextAnswer(Answer fallback);
    std::vector<Message> m_messages;
    std::deque<Answer> m_answers;
    Answer m_fallbackYesNo = Answer::No;
    Answer m_fallbackQuestion = Answer::None;
    int m_unanswered = 0;
    int m_beeps = 0;
    bool m_cancelOffered = false;
    double m_cancelAt = -1; // never
    double m_lastPercent = 0;
};

} // namespace brovant
