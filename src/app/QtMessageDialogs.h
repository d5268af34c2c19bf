// Screens: the message dialogs as the user sees them: "Frage", "Achtung!" and the non-modal
// "Info" window with its progress bar, three bold lines each, over the active screen. Sounds are
// played before notices and questions. The demo tour overrides run() to take pictures.
#pragma once

#include "platform/MessageDialogs.h"

#include <QDialog>
#include <QPointer>

#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;

namespace brovant {

class DeviceRoot;

class MessageDialog : public QDialog {
    Q_OBJECT
public:
    struct Button {
        int controlId;
        QString caption;
        Answer result;
    };
    MessageDialog(QWidget* parent, const QString& title, const QStringList& lines,
                  const std::vector<Button>& buttons, Answer closedResult);
    QString title() const { return m_title; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void reject() override;

private:
    QString m_title;
    Answer m_closedResult;
};

// The "Info" window: one object, reused for every long job. Its "Abbruch" key is there only
// while a job offers it; the job runs on this thread, so while the key is offered every other
// tap and key press of the program is dropped rather than handled in the middle of the job.
class InfoWindow : public QWidget {
    Q_OBJECT
public:
    explicit InfoWindow(QWidget* parent);
    void setLines(const QStringList& lines);
    void setPercent(double percent);
    double percent() const { return m_percent; }
    QStringList lines() const;
    void offerCancel(bool offered);
    bool cancelPressed() const { return m_cancelPressed; }
    bool cancelOffered() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLabel* m_lines[3];
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    double m_percent = 0;
    bool m_cancelPressed = false;
};

class QtMessageDialogs : public MessageDialogs {
public:
    // `window` is the main window the dialogs stand on; `afterModal` shows the active screen full
    // screen again once a dialog has closed.
    QtMessageDialogs(QWidget* window, const DeviceRoot& root, std::function<void()> afterModal);
    ~QtMessageDialogs() override;

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
    void beep() override;

    InfoWindow* infoWindow() const { return m_info; }
    // The question sound on its own, for screens that open a dialog of their own.
    void playQuestion() { play(u"\\Windows\\question.wav"); }
    QWidget* window() const { return m_window; }

protected:
    // Runs one modal dialog and returns its result.
    virtual Answer run(MessageDialog& dialog);
    // Shows the info window's new state; the demo tour takes its picture here.
    virtual void infoShown() {}

private:
    Answer ask(const QString& title, const QStringList& lines,
               const std::vector<MessageDialog::Button>& buttons, Answer closedResult,
               const char16_t* sound);
    void play(const char16_t* devicePath);

    QWidget* m_window;
    const DeviceRoot& m_root;
    std::function<void()> m_afterModal;
    QPointer<InfoWindow> m_info;
};

} // namespace brovant
