#include "app/CNorvBaseDlg.h"

#include "app/CNorvMFCApp.h"

#include <QKeyEvent>
#include <QLabel>

namespace brovant {

CNorvBaseDlg::CNorvBaseDlg(CNorvMFCApp& app, const QString& objectName)
    : QWidget(app.mainWindow())
    , m_app(app)
{
    setObjectName(objectName);
    setGeometry(0, 0, CNorvMFCApp::kScreenWidth, CNorvMFCApp::kScreenHeight);
    setAutoFillBackground(true);
    setFont(GetDefaultFont());
    hide();
}

void CNorvBaseDlg::Create()
{
    if (m_created)
        return;
    OnInitDialog();
    m_created = true;
}

void CNorvBaseDlg::OnCommand(int id)
{
    if (id == IDCANCEL)
        OnCancel();
    else if (id == IDOK)
        OnOK();
}

void CNorvBaseDlg::OnCancel()
{
    if (m_prev && m_prev != this)
        m_app.SwitchToDialog(m_prev, 0);
}

void CNorvBaseDlg::Activate()
{
    if (m_app.GetActiveDlg() == this)
        InitDialog();
    else
        m_app.SwitchToDialog(this, 0);
}

void CNorvBaseDlg::ShowFullScreen()
{
    setGeometry(0, 0, CNorvMFCApp::kScreenWidth, CNorvMFCApp::kScreenHeight);
    show();
    raise();
}

void CNorvBaseDlg::Hide(int)
{
    hide();
}

QFont CNorvBaseDlg::GetDefaultFont()
{
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPixelSize(12);
    return f;
}

QLabel* CNorvBaseDlg::addTitle(const QString& text, int y, int height, int pixelSize)
{
    auto* title = new QLabel(text, this);
    title->setObjectName(QStringLiteral("title"));
    title->setAlignment(Qt::AlignCenter);
    QFont font = GetDefaultFont();
    font.setBold(true);
    font.setPixelSize(pixelSize);
    title->setFont(font);
    title->setGeometry(0, y, CNorvMFCApp::kScreenWidth, height);
    return title;
}

int CNorvBaseDlg::TextOffset(const QString& text, const QStringList& table, int count)
{
    for (int i = 0; i < count && i < table.size(); ++i) {
        if (table[i] == text)
            return i;
    }
    return -1;
}

void CNorvBaseDlg::keyPressEvent(QKeyEvent* event)
{
    // The device's close key and Enter arrive as the cancel and confirm commands.
    if (event->key() == Qt::Key_Escape) {
        OnCommand(IDCANCEL);
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace brovant
