#include "app/RestoreDlg.h"

#include "app/Screen.h"
#include "app/ScreenServices.h"
#include "app/ScreenStack.h"
#include "device/BackupService.h"
#include "workflow/AppLifecycle.h"

#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>

namespace brovant {

namespace {

constexpr int kTitleHeight = 18;
// The file name at the start of every list line.
constexpr int kNameLength = 13;

RestoreDlg::Runner& runner()
{
    static RestoreDlg::Runner instance;
    return instance;
}

} // namespace

void RestoreDlg::setRunner(Runner runner)
{
    ::brovant::runner() = std::move(runner);
}

bool RestoreDlg::open(ScreenServices& services)
{
    if (services.backup.folderOrNotice().isEmpty())
        return false;
    bool restored = false;
    {
        RestoreDlg dialog(services, services.stack.mainWindow());
        if (runner())
            runner()(dialog);
        else
            dialog.exec();
        restored = dialog.restored();
    }
    if (Screen* active = services.stack.activeScreen())
        active->bringToFront();
    return restored;
}

RestoreDlg::RestoreDlg(ScreenServices& services, QWidget* parent)
    : QDialog(parent, Qt::FramelessWindowHint | Qt::Dialog)
    , m_services(services)
{
    setObjectName(QStringLiteral("restore"));
    setWindowTitle(QStringLiteral("Wiederherstellen"));
    setModal(true);
    setFont(Screen::defaultFont());
    const QPoint origin = parent ? parent->mapToGlobal(QPoint(0, 0)) : QPoint(0, 0);
    setGeometry(QRect(origin, QSize(ScreenStack::kScreenWidth, ScreenStack::kScreenHeight)));

    auto* caption = new QLabel(QStringLiteral("Auswahl Datensicherung"), this);
    caption->setObjectName(QStringLiteral("caption"));
    caption->setGeometry(8, kTitleHeight + 6, 224, 20);

    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("backupList"));
    m_list->setGeometry(8, kTitleHeight + 28, 224, 220);
    m_list->setSortingEnabled(true);
    for (const BackupService::Entry& entry : services.backup.entries())
        m_list->addItem(entry.display());
    // The newest backup has the highest number and so stands last.
    if (m_list->count() > 0)
        m_list->setCurrentRow(m_list->count() - 1);

    m_ok = new QPushButton(QStringLiteral("OK"), this);
    m_ok->setObjectName(QStringLiteral("button%1").arg(kOk));
    m_ok->setGeometry(8, 276, 108, 36);
    m_ok->setEnabled(m_list->count() > 0);
    m_ok->setAutoDefault(false);
    connect(m_ok, &QPushButton::clicked, this, &RestoreDlg::restoreSelected);
    auto* cancel = new QPushButton(QStringLiteral("Abbruch"), this);
    cancel->setObjectName(QStringLiteral("button%1").arg(kCancel));
    cancel->setGeometry(124, 276, 108, 36);
    cancel->setAutoDefault(false);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void RestoreDlg::restoreSelected()
{
    const QListWidgetItem* item = m_list->currentItem();
    if (!item)
        return;
    ScreenHost& host = m_services.host;
    host.setWaitCursor(true);
    m_restored = m_services.backup.restore(item->text().left(kNameLength));
    host.setWaitCursor(false);
    accept();
}

void RestoreDlg::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), Qt::white);
    p.fillRect(QRect(0, 0, width(), kTitleHeight), QColor(0x2e, 0x5e, 0x3a));
    QFont f = font();
    f.setBold(true);
    p.setFont(f);
    p.setPen(Qt::white);
    p.drawText(QRect(6, 0, width() - 12, kTitleHeight), Qt::AlignVCenter | Qt::AlignLeft,
               windowTitle());
    p.setPen(QPen(Qt::black, 1));
    p.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

} // namespace brovant
