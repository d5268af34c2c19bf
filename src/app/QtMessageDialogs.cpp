#include "app/QtMessageDialogs.h"

#include "platform/DeviceRoot.h"

#include <QApplication>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace brovant {
namespace {

constexpr QRect kMessageArea(5, 90, 230, 100);
constexpr int kTitleHeight = 18;

QLabel* makeLine(QWidget* parent, int controlId, const QString& text)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QStringLiteral("line%1").arg(controlId));
    QFont f = label->font();
    f.setBold(true);
    f.setPixelSize(12);
    // A long line is drawn smaller rather than cut off at the dialog's edge.
    constexpr int kLineWidth = 230 - 14;
    while (f.pixelSize() > 8 && QFontMetrics(f).horizontalAdvance(text) > kLineWidth)
        f.setPixelSize(f.pixelSize() - 1);
    label->setFont(f);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    return label;
}

void paintFrame(QWidget* w, const QString& title)
{
    QPainter p(w);
    p.fillRect(w->rect(), Qt::white);
    p.fillRect(QRect(0, 0, w->width(), kTitleHeight), QColor(0x2e, 0x5e, 0x3a));
    QFont f = w->font();
    f.setBold(true);
    f.setPixelSize(12);
    p.setFont(f);
    p.setPen(Qt::white);
    p.drawText(QRect(6, 0, w->width() - 12, kTitleHeight), Qt::AlignVCenter | Qt::AlignLeft, title);
    // The three-pixel black frame of every message.
    p.setPen(QPen(Qt::black, 3));
    p.setBrush(Qt::NoBrush);
    p.drawRect(QRectF(w->rect()).adjusted(1.5, 1.5, -1.5, -1.5));
}

} // namespace

MessageDialog::MessageDialog(QWidget* parent, const QString& title, const QStringList& lines,
                             const std::vector<Button>& buttons, Answer closedResult)
    : QDialog(parent, Qt::FramelessWindowHint | Qt::Dialog)
    , m_title(title)
    , m_closedResult(closedResult)
{
    setObjectName(QStringLiteral("messageDialog"));
    setWindowTitle(title);
    setModal(true);
    const QPoint origin =
        parent ? parent->mapToGlobal(kMessageArea.topLeft()) : kMessageArea.topLeft();
    setGeometry(QRect(origin, kMessageArea.size()));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, kTitleHeight + 2, 6, 5);
    layout->setSpacing(0);
    for (int i = 0; i < 3; ++i)
        layout->addWidget(makeLine(this, 1049 + i, i < lines.size() ? lines[i] : QString()));
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    for (const Button& b : buttons) {
        auto* button = new QPushButton(b.caption, this);
        button->setObjectName(QStringLiteral("button%1").arg(b.controlId));
        button->setMinimumHeight(22);
        button->setAutoDefault(false);
        button->setDefault(b.controlId == 1055);
        const Answer result = b.result;
        connect(button, &QPushButton::clicked, this, [this, result] { done(int(result)); });
        row->addWidget(button);
    }
    layout->addLayout(row);
}

void MessageDialog::paintEvent(QPaintEvent*)
{
    paintFrame(this, m_title);
}

void MessageDialog::reject()
{
    done(int(m_closedResult));
}

InfoWindow::InfoWindow(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("infoWindow"));
    setGeometry(kMessageArea);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, kTitleHeight + 2, 6, 6);
    layout->setSpacing(0);
    for (int i = 0; i < 3; ++i) {
        m_lines[i] = makeLine(this, 1049 + i, QString());
        layout->addWidget(m_lines[i]);
    }
    m_bar = new QProgressBar(this);
    m_bar->setObjectName(QStringLiteral("progress1052"));
    m_bar->setRange(0, 1000);
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(12);
    // The key sits beside the bar, so the three lines keep their room.
    m_cancel = new QPushButton(QStringLiteral("Abbruch"), this);
    m_cancel->setObjectName(QStringLiteral("infoCancel"));
    m_cancel->setFocusPolicy(Qt::NoFocus);
    m_cancel->setFixedHeight(18);
    m_cancel->hide();
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_cancelPressed = true; });
    auto* row = new QHBoxLayout;
    row->setSpacing(4);
    row->addWidget(m_bar, 1, Qt::AlignVCenter);
    row->addWidget(m_cancel);
    layout->addLayout(row);
    hide();
}

void InfoWindow::offerCancel(bool offered)
{
    if (offered == cancelOffered())
        return;
    m_cancelPressed = false;
    m_cancel->setVisible(offered);
    if (offered)
        qApp->installEventFilter(this);
    else
        qApp->removeEventFilter(this);
}

bool InfoWindow::cancelOffered() const
{
    return !m_cancel->isHidden();
}

bool InfoWindow::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Wheel: {
        // The window passes taps on to the widget under them; that is where they are sorted.
        auto* widget = qobject_cast<QWidget*>(watched);
        return widget && widget != m_cancel;
    }
    case QEvent::Shortcut:
        return true;
    default:
        return false;
    }
}

void InfoWindow::setLines(const QStringList& lines)
{
    for (int i = 0; i < 3; ++i)
        m_lines[i]->setText(i < lines.size() ? lines[i] : QString());
}

QStringList InfoWindow::lines() const
{
    return {m_lines[0]->text(), m_lines[1]->text(), m_lines[2]->text()};
}

void InfoWindow::setPercent(double percent)
{
    m_percent = std::clamp(percent, 0.0, 100.0);
    m_bar->setValue(int(m_percent * 10));
    m_bar->repaint();
}

void InfoWindow::paintEvent(QPaintEvent*)
{
    paintFrame(this, QStringLiteral("Info"));
}

QtMessageDialogs::QtMessageDialogs(QWidget* window, const DeviceRoot& root,
                                   std::function<void()> afterModal)
    : m_window(window)
    , m_root(root)
    , m_afterModal(std::move(afterModal))
    , m_info(new InfoWindow(window))
{
}

QtMessageDialogs::~QtMessageDialogs() = default;

void QtMessageDialogs::play(const char16_t* devicePath)
{
    const QString path = QString::fromUtf16(devicePath);
    if (!m_root.isFile(path))
        return;
    // Played by the system's player in the background; without one the device stays silent.
    static const QString player = QStandardPaths::findExecutable(QStringLiteral("aplay"));
    if (!player.isEmpty())
        QProcess::startDetached(player, {QStringLiteral("-q"), m_root.hostPath(path)});
}

void QtMessageDialogs::beep()
{
    // The device's own default sound when it has one, else the desktop's bell.
    if (m_root.isFile(QStringLiteral("\\Windows\\default.wav")))
        play(u"\\Windows\\default.wav");
    else
        QApplication::beep();
}

Answer QtMessageDialogs::run(MessageDialog& dialog)
{
    return Answer(dialog.exec());
}

Answer QtMessageDialogs::ask(const QString& title, const QStringList& lines,
                             const std::vector<MessageDialog::Button>& buttons, Answer closedResult,
                             const char16_t* sound)
{
    if (sound)
        play(sound);
    Answer result = closedResult;
    {
        MessageDialog dialog(m_window, title, lines, buttons, closedResult);
        result = run(dialog);
    }
    if (m_afterModal)
        m_afterModal();
    return result;
}

void QtMessageDialogs::notice(const QString& line1, const QString& line2, const QString& line3,
                              const QString& caption, bool sound)
{
    ask(QStringLiteral("Achtung!"), {line1, line2, line3}, {{1055, caption, Answer::Ok}},
        Answer::Ok, sound ? u"\\Windows\\exclam.wav" : nullptr);
}

Answer QtMessageDialogs::yesNo(const QString& line1, const QString& line2, const QString& line3,
                               const QString& yesCaption, const QString& noCaption)
{
    return ask(QStringLiteral("Frage"), {line1, line2, line3},
               {{1053, yesCaption, Answer::Yes}, {1054, noCaption, Answer::No}}, Answer::No,
               u"\\Windows\\question.wav");
}

Answer QtMessageDialogs::question(const QString& line1, const QString& line2, const QString& line3,
                                  const QString& caption1, const QString& caption2,
                                  const QString& caption3)
{
    std::vector<MessageDialog::Button> buttons;
    const QString captions[] = {caption1, caption2, caption3};
    for (int i = 0; i < 3; ++i) {
        if (!captions[i].isEmpty())
            buttons.push_back({1056 + i, captions[i], Answer(int(Answer::First) + i)});
    }
    return ask(QStringLiteral("Frage"), {line1, line2, line3}, buttons, Answer::None,
               u"\\Windows\\question.wav");
}

void QtMessageDialogs::info(int showCommand, const QString& line1, const QString& line2,
                            const QString& line3)
{
    if (!m_info)
        return;
    if (showCommand == Hide) {
        m_info->offerCancel(false);
        m_info->hide();
        return;
    }
    m_info->setLines({line1, line2, line3});
    m_info->show();
    m_info->raise();
    m_info->repaint();
    infoShown();
    // Long jobs run on this thread; letting paint events through keeps the window alive.
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void QtMessageDialogs::progress(double percent)
{
    if (!m_info)
        return;
    m_info->setPercent(percent);
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void QtMessageDialogs::offerCancel(bool offered)
{
    if (m_info)
        m_info->offerCancel(offered);
}

bool QtMessageDialogs::cancelRequested()
{
    if (!m_info || !m_info->cancelOffered())
        return false;
    // Taps reach the key only; the window's filter drops every other one.
    QApplication::processEvents();
    return m_info->cancelPressed();
}

} // namespace brovant
