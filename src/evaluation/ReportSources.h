// Evaluation: what every printout reads besides the trees: the company header (FIRMENKOPF with
// the distributor's lines where the device has none), the list header with its labels from
// HDL_KOPF, and the list's correction factor.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace brovant {

class Database;
class SettingsStore;

namespace report {

// The distributor's name, street address and telephone/fax line, printed where FIRMENKOPF lines
// 1 to 3 are empty.
inline constexpr const char16_t* kDefaultCompany[3] = {
    u"NORVA Forstdatentechnik",
    u"Waldweg 1 · 37000 Göttingen",
    u"Tel. 0551 000 00-0 · Fax 0551 000 00-9",
};

// Lines 1 to 3 always (their defaults where empty), lines 4 and 5 when set; trailing blanks cut.
QStringList companyLines(const SettingsStore& store);

struct ListHeader {
    QString listNo; // LISTE_NR without padding
    int factor = 100;
    // "Liste:", then the fixed fields and the free fields that hold a value, each with its label.
    std::vector<std::pair<QString, QString>> fields;
};

// Nothing when the list has no header record.
std::optional<ListHeader> listHeader(Database& db, const SettingsStore& store, std::int64_t listId);

// KOR_FAKTOR_N of the list's header record (percent), as the totals read it.
std::optional<int> listFactor(Database& db, std::int64_t listId);

} // namespace report
} // namespace brovant
