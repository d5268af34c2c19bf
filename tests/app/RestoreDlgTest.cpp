// Backup and restore as a user meets them on the settings screen: "Sichern" with its question,
// "Wiederh" with the restore screen's list, its OK that needs an entry, and the restore itself.
#include "app/RestoreDlg.h"
#include "app/BrovantApp.h"
#include "app/CNorvKey.h"
#include "app/MainMenuDlg.h"
#include "app/SettingsDlg.h"
#include "app/logic/AppState.h"
#include "device/BackupService.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

namespace brovant {
namespace {

const QString kQuestion = QStringLiteral("Hiermit werden nur Holzlisten gesichert, für|die "
                                         "Konfiguration muss ein Backup gemacht|werden. Wollen "
                                         "Sie die Listen sichern?");

struct PreparedRoot : test::TempRoot {
    PreparedRoot()
    {
        QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
        EXPECT_TRUE(sample.open(QIODevice::ReadOnly));
        writeFile(QStringLiteral("Brovant/passive.dtr"), sample.readAll());
    }
};

// What the runner saw of the restore screen when it was opened.
struct Seen {
    bool opened = false;
    QString title;
    QString caption;
    QStringList lines;
    int current = -1;
    bool okEnabled = false;
};

class RestoreScreen : public ::testing::Test {
protected:
    RestoreScreen()
        : session(root.path())
        , clock(QDateTime(QDate(2026, 5, 4), QTime(7, 0, 0)))
        , app(session, state, clock)
    {
        app.replaceMessages(&dialogs);
        EXPECT_TRUE(app.start());
        QTest::mouseClick(app.mainMenu()->findChild<CNorvKey*>(QStringLiteral("key1007")),
                          Qt::LeftButton);
        screen = qobject_cast<SettingsDlg*>(app.GetActiveDlg());
        EXPECT_NE(screen, nullptr);
        dialogs.clear();
    }
    ~RestoreScreen() override
    {
        RestoreDlg::setRunner({});
        app.shutdown();
    }

    void click(int id)
    {
        auto* button = screen->findChild<QPushButton*>(QStringLiteral("button%1").arg(id));
        ASSERT_NE(button, nullptr) << id;
        EXPECT_TRUE(button->isEnabled()) << id;
        QTest::mouseClick(button, Qt::LeftButton);
    }

    // Opens the restore screen with the settings screen's button; `act` picks a row (or -1 for
    // none) and the button to click.
    Seen openRestore(int row, int button)
    {
        Seen seen;
        RestoreDlg::setRunner([&](RestoreDlg& dialog) {
            dialog.show();
            seen.opened = true;
            seen.title = dialog.windowTitle();
            seen.caption = dialog.findChild<QLabel*>(QStringLiteral("caption"))->text();
            QListWidget* list = dialog.findChild<QListWidget*>(QStringLiteral("backupList"));
            for (int i = 0; i < list->count(); ++i)
                seen.lines << list->item(i)->text();
            seen.current = list->currentRow();
            auto* ok = dialog.findChild<QPushButton*>(QStringLiteral("button1"));
            seen.okEnabled = ok->isEnabled();
            if (row >= 0)
                list->setCurrentRow(row);
            QTest::mouseClick(
                dialog.findChild<QPushButton*>(QStringLiteral("button%1").arg(button)),
                Qt::LeftButton);
        });
        click(SettingsDlg::kRestore);
        return seen;
    }

    void addTree()
    {
        auto insert = session.database().query(
            QStringLiteral("INSERT INTO Brov_Holzdaten (ID, ID_FILE) VALUES (1, 1)"));
        EXPECT_TRUE(insert.run());
    }
    int trees()
    {
        auto q = session.database().query(QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten"));
        return q.next() ? int(q.integer(0)) : -1;
    }
    QStringList saved() const
    {
        return QDir(root.host(QStringLiteral("Brovant/Save"))).entryList(QDir::Files, QDir::Name);
    }
    PreparedRoot root;
    DeviceSession session;
    AppState state;
    ManualClock clock;
    ScriptedDialogs dialogs;
    BrovantApp app;
    SettingsDlg* screen = nullptr;
};

TEST_F(RestoreScreen, SichernOnlyWhenTheQuestionIsAnsweredYes)
{
    const struct {
        int answer;
        QStringList files;
    } steps[] = {
        {MessageDialogs::No, {}},
        {MessageDialogs::Yes, {"0001_Manu.cdb"}},
        {MessageDialogs::Yes, {"0001_Manu.cdb", "0002_Manu.cdb"}},
    };
    for (const auto& step : steps) {
        dialogs.clear();
        dialogs.answerNext(step.answer);
        click(SettingsDlg::kBackup);
        EXPECT_EQ(dialogs.asked(), QStringList{kQuestion});
        EXPECT_EQ(saved(), step.files);
        EXPECT_TRUE(session.database().isOpen());
    }
}

TEST_F(RestoreScreen, WithoutBackupsOkCannotBeClicked)
{
    const Seen seen = openRestore(-1, RestoreDlg::kOk);
    EXPECT_TRUE(seen.opened);
    EXPECT_EQ(seen.title, QStringLiteral("Wiederherstellen"));
    EXPECT_EQ(seen.caption, QStringLiteral("Auswahl Datensicherung"));
    EXPECT_TRUE(seen.lines.isEmpty());
    EXPECT_FALSE(seen.okEnabled);
    EXPECT_TRUE(saved().isEmpty());
    EXPECT_TRUE(dialogs.asked().isEmpty());
    EXPECT_EQ(app.GetActiveDlg(), screen);
    EXPECT_TRUE(screen->isVisible());
}

// Two backups with one and two trees; the list shows both, the newest chosen; OK on the older one
// brings back one tree and leaves the state before as a third, automatic backup.
TEST_F(RestoreScreen, ListsBackupsAndRestoresTheChosenOne)
{
    // Each backup carries the program's time.
    for (const QDateTime& time : {QDateTime(QDate(2026, 5, 1), QTime(8, 5, 59)),
                                  QDateTime(QDate(2026, 5, 3), QTime(16, 45))}) {
        clock.setNow(time);
        addTree();
        ASSERT_TRUE(app.backup().backup(BackupService::Kind::Manual));
    }
    addTree();

    const struct {
        int row;
        int button;
        int trees;
        QStringList files;
    } steps[] = {
        {0, RestoreDlg::kCancel, 3, {"0001_Manu.cdb", "0002_Manu.cdb"}},
        {0, RestoreDlg::kOk, 1, {"0001_Manu.cdb", "0002_Manu.cdb", "0003_Auto.cdb"}},
    };
    for (const auto& step : steps) {
        const Seen seen = openRestore(step.row, step.button);
        EXPECT_EQ(seen.lines, (QStringList{"0001_Manu.cdb 01.05.2026, 08:05",
                                           "0002_Manu.cdb 03.05.2026, 16:45"}));
        EXPECT_EQ(seen.current, 1);
        EXPECT_TRUE(seen.okEnabled);
        EXPECT_TRUE(dialogs.asked().isEmpty());
        EXPECT_EQ(trees(), step.trees);
        EXPECT_EQ(saved(), step.files);
        EXPECT_EQ(app.GetActiveDlg(), screen);
        EXPECT_TRUE(screen->isVisible());
    }
}

TEST_F(RestoreScreen, CardWantedAndMissingShowsTheNoticeInstead)
{
    session.store().writeInt(Setting::BackupKarte, 0, 1);
    const Seen seen = openRestore(-1, RestoreDlg::kCancel);
    EXPECT_FALSE(seen.opened);
    EXPECT_EQ(dialogs.asked(),
              QStringList{QStringLiteral("Kein Zugriff auf externe|Speicherkarte möglich!|")});
}

} // namespace
} // namespace brovant
