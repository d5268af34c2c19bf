// Tally: the NMEA-style sentences of current Bluetooth calipers, the other format besides the
// classic telegram. "$PHGF,DIA,M,<mm>,*hh" is one measured diameter, "$PHGF,SPC,<code>,..." names
// the species of the diameter that follows; the checksum is checked when one is sent. Which
// species field text a code stands for is decided here as well; ports and threads are the reader's.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

namespace brovant {

struct MasterTables;

// The caliper setting Kluppe\Format.
enum class CaliperFormat { Telegram = 0, Sentences = 1 };

// Anything but 1 is the classic telegram, so an unknown value keeps old calipers working.
CaliperFormat caliperFormatOf(int setting);

struct CaliperSentence {
    enum class Kind { Species, Diameter };
    Kind kind = Kind::Diameter;
    QString species;  // Species: the code as sent, without surrounding blanks
    int diameter = 0; // Diameter: whole centimetres, the millimetres rounded down
};

// One sentence from its "$" on (trailing blanks allowed). Nothing for a wrong or malformed
// checksum, another talker or sentence, a unit other than millimetres, a diameter that is no whole
// number of at most 9999 mm, an empty species code, or a diameter or code that no comma closes
// (the sentence was cut short).
std::optional<CaliperSentence> parseCaliperSentence(QByteArrayView sentence);

// XOR of the bytes between "$" and "*", as two upper-case hex digits.
QByteArray sentenceChecksum(QByteArrayView body);

// A species code and the diameter it goes with; an empty code keeps the species entered.
struct SentenceMeasurement {
    QString species;
    int diameter = 0;
};

// Turns the lines the splitter cuts into measurements. A species sentence is kept for the next
// diameter only; one whose diameter is lost (a wrong checksum) still waits for the next good one.
class SentenceReader {
public:
    // One line; calipers that send no line end between sentences put several on it, and
    // anything before the first "$" is noise.
    QList<SentenceMeasurement> take(QByteArrayView line);
    // Forgets a species sentence that came before a lost link.
    void reset() { m_species.clear(); }

private:
    QString m_species;
};

// The species field's text for a code from the caliper: the main species whose first three
// characters are that code, else the caliper's own species (the telegram's key 8) when the code
// is that one; letter case does not count. Nothing for any other code: the species entered stays,
// as for a telegram with an unknown key.
std::optional<QString> speciesForCaliperCode(const MasterTables& tables, const QString& code);

} // namespace brovant
