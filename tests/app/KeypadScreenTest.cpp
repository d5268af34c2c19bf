#include "app/KeypadScreen.h"
#include "app/KeyTables.h"
#include "app/ScreenStack.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace brovant {
namespace {

// Every layout stays inside its area, keys never overlap, and the bar sits on the bottom edge.
TEST(KeyTables, LayoutsFitTheirAreas)
{
    struct Case {
        const char* name;
        std::vector<KeyDef> keys;
        QRect area;
    };
    const Case cases[] = {
        {"mainMenu", keys::mainMenu(), keys::kTallArea},
        {"letters", keys::letters(), keys::kFullArea},
        {"digits", keys::digits(), keys::kFullArea},
        {"codeList", keys::codeList(1159, 4, 5), keys::kFullArea},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QRect inside(QPoint(0, 0), c.area.size());
        for (size_t i = 0; i < c.keys.size(); ++i) {
            const QRect a(c.keys[i].x, c.keys[i].y, c.keys[i].width, c.keys[i].height);
            EXPECT_TRUE(inside.contains(a)) << i;
            // A gloved finger needs room.
            EXPECT_GE(a.width(), 28) << i;
            EXPECT_GE(a.height(), 20) << i;
            for (size_t j = i + 1; j < c.keys.size(); ++j) {
                const QRect b(c.keys[j].x, c.keys[j].y, c.keys[j].width, c.keys[j].height);
                EXPECT_FALSE(a.intersects(b)) << i << " and " << j;
            }
        }
        const KeyDef& back = c.keys[c.keys.size() - 6];
        EXPECT_EQ(back.commandId, 2);
        EXPECT_EQ(c.area.top() + back.y + back.height, 319);
    }
}

// Typing, switching and deleting on the letters and digits; then a list keyboard pages through
// its table.
TEST(Keypad, TypingSwitchingDeletingAndPaging)
{
    ScreenStack app;
    KeypadScreen dlg(app, QStringLiteral("test"));
    dlg.addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));
    dlg.addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    auto* edit = new QLineEdit(&dlg);
    edit->setGeometry(10, 10, 100, 20);
    app.mainWindow()->show();
    app.mainWindow()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(app.mainWindow()));
    dlg.bringToFront();
    edit->setFocus();
    const auto press = [&](const QString& name) {
        auto* key = dlg.keyboard()->findChild<KeyButton*>(name);
        ASSERT_NE(key, nullptr) << name.toStdString();
        QTest::mouseClick(key, Qt::LeftButton);
    };

    press(QStringLiteral("char_L"));
    press(QStringLiteral("char_Ä"));
    press(QStringLiteral("keyShift"));
    press(QStringLiteral("char_ß"));
    press(QStringLiteral("char_A"));
    press(QStringLiteral("char_␣"));
    press(QStringLiteral("key1009"));
    EXPECT_EQ(dlg.keyboardIndex(), 1);
    press(QStringLiteral("char_4"));
    press(QStringLiteral("char_2"));
    press(QStringLiteral("key6003"));
    EXPECT_EQ(edit->text(), QStringLiteral("LÄßa 4"));
    press(QStringLiteral("key1009"));
    EXPECT_EQ(dlg.keyboardIndex(), 0);
    // The keys never take the focus from the field.
    EXPECT_TRUE(edit->hasFocus());

    auto* list = new OnScreenKeyboard(keys::kFullArea, keys::codeList(1159, 4, 5));
    dlg.addKeyboard(list);
    dlg.showKeyboard(2);
    QStringList species;
    for (int i = 1; i <= 45; ++i)
        species << QStringLiteral("S%1").arg(i, 2, 10, QChar(u'0'));
    species << QStringList(15, QStringLiteral("     ")); // 60 entries, the last blank
    list->setCodeTable(species, {}, 1159);
    QSignalSpy chosen(list, &OnScreenKeyboard::entryChosen);

    EXPECT_EQ(list->pageCount(), 3);
    EXPECT_FALSE(list->findChild<KeyButton*>(QStringLiteral("pagePrevious"))->isEnabled());
    QTest::mouseClick(list->key(3), Qt::LeftButton);
    press(QStringLiteral("pageNext"));
    press(QStringLiteral("pageNext"));
    EXPECT_EQ(list->page(), 2);
    EXPECT_FALSE(list->findChild<KeyButton*>(QStringLiteral("pageNext"))->isEnabled());
    EXPECT_EQ(list->key(4)->caption(), QStringLiteral("S45"));
    QTest::mouseClick(list->key(4), Qt::LeftButton);
    QTest::mouseClick(list->key(5), Qt::LeftButton); // blank: nothing
    ASSERT_EQ(chosen.count(), 2);
    EXPECT_EQ(chosen[0][1].toInt(), 3);
    EXPECT_EQ(chosen[0][2].toString(), QStringLiteral("S04"));
    EXPECT_EQ(chosen[1][0].toInt(), 1159);
    EXPECT_EQ(chosen[1][1].toInt(), 44);
    EXPECT_EQ(list->lastEntry(), 44);
}

} // namespace
} // namespace brovant
