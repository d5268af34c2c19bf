// Data transfer: which list names can travel. A list goes to the office as a file named after its
// LISTE_NR, padded with blanks to eight, and ".DAT" ("AB.3    .DAT"), through marker files, the
// serial line and FTP into folders on both sides. This is the one rule for such names: the list
// header refuses a name that breaks it, and every receiving end refuses an arriving one that does.
#pragma once

#include <QString>
#include <QStringView>

namespace brovant::listname {

// One to eight characters: letters of the office code page (umlauts included), digits, blanks
// and _ - . , ( ) &; not led by a blank or a dot; its stem (up to the first dot, blanks
// trimmed) is no device name (CON, PRN, AUX, NUL, COM1-9, LPT1-9).
bool canTravel(QStringView name);

// A list file's name: such a name, blank padding included, then a dot and one to three letters
// or digits, split at the last dot ("AB.3    .DAT" is "AB.3    " and "DAT"); or the name alone.
bool isFileName(QStringView name);

// A refused name as a message shows it: control characters as "\xNN".
QString printable(QStringView name);

} // namespace brovant::listname
