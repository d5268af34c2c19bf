#include "app/KeyTables.h"

#include <QHeaderView>
#include <QTreeWidget>

#include <algorithm>

namespace brovant::keys {
namespace {

// Rows of characters laid out evenly over the width of the area.
void addRows(std::vector<KeyDef>& out, const std::vector<QStringList>& rows, int top, int rowHeight)
{
    for (size_t r = 0; r < rows.size(); ++r) {
        const QStringList& row = rows[r];
        const int width = 240 / int(row.size());
        for (int c = 0; c < row.size(); ++c) {
            KeyDef key;
            key.x = c * width;
            key.y = top + int(r) * rowHeight;
            key.width = width - 1;
            key.height = rowHeight - 1;
            key.caption = row[c];
            key.commandId = row[c] == QStringLiteral("⇧") ? KeyDef::kShift : KeyDef::kCharacter;
            out.push_back(key);
        }
    }
}

} // namespace

std::vector<KeyDef> bottomBar(int y, bool withZiff)
{
    return {
        {0, y, 40, 20, {}, 2, 0, 16, 132},
        {40, y, 40, 20, {}, withZiff ? 1009 : 0, 0, 16, 129},
        {80, y, 40, 20, {}, 6001, 0, 16, 133},
        {120, y, 40, 20, {}, 6003, 0, 16, 131},
        {160, y, 40, 20, {}, 6002, 0, 16, 130},
        {200, y, 40, 20, {}, 6004, 0, 16, 134},
    };
}

std::vector<KeyDef> browseBar(int y)
{
    std::vector<KeyDef> keys;
    for (const KeyDef& key : bottomBar(y, false)) {
        if (key.commandId == 2 || key.commandId == 6001 || key.commandId == 6002)
            keys.push_back(key);
    }
    return keys;
}

std::vector<KeyDef> mainMenu()
{
    std::vector<KeyDef> keys = {
        {5, 10, 115, 80, QStringLiteral("\n\nNeue Liste\nanlegen"), 1004, 0, 49, 144},
        {120, 10, 115, 80, QStringLiteral("\n\nListe\nauswählen"), 1006, 0, 49, 142},
        {5, 115, 115, 80, QStringLiteral("\n\nSystem-Info\n"), 1005, 0, 49, 141},
        {120, 115, 115, 80, QStringLiteral("\n\nFunktionen/\nEinstellungen"), 1007, 0, 49, 143},
    };
    for (const KeyDef& k : bottomBar(229, false))
        keys.push_back(k);
    return keys;
}

std::vector<KeyDef> letters()
{
    std::vector<KeyDef> keys;
    // Eight keys a row keep every key about 30 pixels wide for a gloved finger.
    addRows(keys,
            {
                {"A", "B", "C", "D", "E", "F", "G", "H"},
                {"I", "J", "K", "L", "M", "N", "O", "P"},
                {"Q", "R", "S", "T", "U", "V", "W", "X"},
                {"Y", "Z", "Ä", "Ö", "Ü", "ß", "-", "."},
                {"⇧", "␣", "/", ",", ":", "(", ")", "&"},
            },
            0, 33);
    for (const KeyDef& k : bottomBar(166, true))
        keys.push_back(k);
    return keys;
}

std::vector<KeyDef> digits()
{
    std::vector<KeyDef> keys;
    addRows(keys,
            {
                {"7", "8", "9", "-"},
                {"4", "5", "6", "/"},
                {"1", "2", "3", ":"},
                {"0", ".", ",", "␣"},
            },
            0, 41);
    for (const KeyDef& k : bottomBar(166, true))
        keys.push_back(k);
    return keys;
}

std::vector<KeyDef> codeList(int commandId, int columns, int rows)
{
    std::vector<KeyDef> keys;
    const int pageKeyHeight = 24;
    const int height = (166 - pageKeyHeight) / rows;
    const int width = 240 / columns;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c)
            keys.push_back({c * width, r * height, width - 1, height - 1, {}, commandId, 0, 0, 0});
    }
    const int y = rows * height;
    keys.push_back(
        {0, y, 119, pageKeyHeight - 1, QStringLiteral("◀"), KeyDef::kPreviousPage, 0, 1, 0});
    keys.push_back(
        {120, y, 120, pageKeyHeight - 1, QStringLiteral("▶"), KeyDef::kNextPage, 0, 1, 0});
    for (const KeyDef& k : bottomBar(166, false))
        keys.push_back(k);
    return keys;
}

QTreeWidget* rowView(QWidget* parent, const QString& objectName, const QRect& area)
{
    auto* view = new QTreeWidget(parent);
    view->setObjectName(objectName);
    view->setGeometry(area);
    view->setRootIsDecorated(false);
    view->setUniformRowHeights(true);
    view->setAllColumnsShowFocus(true);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->header()->setSectionsMovable(false);
    return view;
}

void stepSelection(QTreeWidget& view, int step)
{
    const int count = view.topLevelItemCount();
    if (count == 0)
        return;
    const int row = std::clamp(view.indexOfTopLevelItem(view.currentItem()) + step, 0, count - 1);
    view.setCurrentItem(view.topLevelItem(row));
    view.scrollToItem(view.currentItem());
}

} // namespace brovant::keys
