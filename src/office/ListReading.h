// Office: what a received list file says, read with the device's own list import into a scratch
// database, so the office reads every field exactly as a device would; and the totals of stored
// lists computed by the device's own totals. Refuses what is not a whole list file, with a reason
// a clerk understands. Storing the lists is the store's business.
#pragma once

#include "data/office/OfficeStore.h"
#include "evaluation/Report.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>
#include <variant>
#include <vector>

namespace brovant::office {

// The largest list file taken in: far above a day's tally (2,000 trees are about 100 kB).
constexpr qint64 kMaxListFileBytes = 16 * 1024 * 1024;

// The list, or the reason it was refused.
std::variant<ListContent, QString> readListFile(const QByteArray& bytes);

// The totals screen's rows ("HA", "Kub.", "Stk", "d-Kub."): one per species, an empty row, the
// grand total; for one list file or several summed (each tree corrected by its own list's factor).
using TotalsRow = std::array<QString, 4>;
std::vector<TotalsRow> totalsOf(const std::vector<QByteArray>& listFiles);

// Trees per species and diameter class across list files: species, class, count, volume
// (hundredths of m3, corrected), in species then class order.
struct ClassTotal {
    QString species, diameterClass;
    std::int64_t count = 0;
    std::int64_t volume = 0;
};
std::vector<ClassTotal> classTotalsOf(const std::vector<QByteArray>& listFiles);

// A list file checked and made ready for the device's list import, which reads the header record
// in the columns the office sends; the device writes Zusatz and the labels there too.
struct PreparedList {
    QByteArray bytes;
    QString zusatz;
    std::vector<QString> labels; // Zusatz, then the header texts 1 to 16
    QString device;              // the device number of the first line
};
// The prepared list, or the reason the file is refused.
std::variant<PreparedList, QString> prepareListFile(const QByteArray& bytes);
std::optional<PreparedList> preparedForImport(const QByteArray& bytes);

} // namespace brovant::office
