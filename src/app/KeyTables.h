// Screens: the static key tables, built once: the shared bottom bar, the main menu's picture
// keys and the full soft keyboards (letters with umlauts, digits). Coordinates are relative to
// the keyboard's area.
#pragma once

#include "app/KeyButton.h"

#include <QRect>

class QTreeWidget;
class QWidget;

#include <vector>

namespace brovant::keys {

// Areas of the usual keyboards.
inline constexpr QRect kBottomBarArea(0, 299, 240, 20);
inline constexpr QRect kFullArea(0, 133, 240, 187);
inline constexpr QRect kTallArea(0, 70, 240, 250);

// The six keys along the bottom edge at `y`: back (2), "Ziff" (1009, or 0 without a soft
// keyboard), previous field, backspace, next field, enter.
std::vector<KeyDef> bottomBar(int y, bool withZiff);

// The bottom bar of a screen where nothing is typed or confirmed: back and the two keys that step
// through what the screen shows.
std::vector<KeyDef> browseBar(int y);

// The main menu's four picture keys and its bar.
std::vector<KeyDef> mainMenu();

// Full keyboards for the area kFullArea: letters (A-Z, Ä, Ö, Ü, ß and punctuation, with a
// shift key) and digits; both end with the bottom bar.
std::vector<KeyDef> letters();
std::vector<KeyDef> digits();

// A list keyboard for the area kFullArea: `columns` x `rows` code keys sending `commandId`,
// the two page keys and the bottom bar.
std::vector<KeyDef> codeList(int commandId, int columns, int rows);

// The row view of a screen that shows rows: whole rows selected one at a time, no tree lines,
// no horizontal scrolling, columns fixed in place.
QTreeWidget* rowView(QWidget* parent, const QString& objectName, const QRect& area);

// What the previous-field and next-field keys do on a screen that shows rows: move the selection
// by `step` rows, held at the first and the last.
void stepSelection(QTreeWidget& view, int step);

} // namespace brovant::keys
