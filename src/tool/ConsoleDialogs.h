// Admin tool: messages go to standard error; questions are answered "no", since nobody is there
// to ask. Progress is shown only on a terminal. Notices are counted, so a command that met one
// can say so in its exit status.
#pragma once

#include "platform/MessageDialogs.h"

#include <QTextStream>

namespace brovant {

class ConsoleDialogs final : public MessageDialogs {
public:
    explicit ConsoleDialogs(QTextStream& err, bool showProgress)
        : m_err(err)
        , m_showProgress(showProgress)
    {
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

    int notices() const { return m_notices; }

private:
    void print(const QString& line1, const QString& line2, const QString& line3);
    QTextStream& m_err;
    bool m_showProgress;
    bool m_progressShown = false;
    int m_notices = 0;
};

} // namespace brovant
