// Evaluation: the three printouts built from the database and the settings: the listing by
// species and diameter class ending with the assortment distribution ("Ausdruck"), the diameter-
// class table ("Sortiment") and the printer test page; and the printer settings they are printed
// with. Pages and drawing are Report's and the print library's.
#pragma once

#include "evaluation/Report.h"

#include <cstdint>
#include <optional>

namespace brovant {

class Database;
class SettingsStore;
struct MasterTables;

enum class ReportKind { Listing, ClassTable, TestPage };

struct ReportSources {
    Database& db;
    const SettingsStore& store;
    const MasterTables& tables;
    QDateTime now;
};

namespace reports {

// The class table prints at most this many classes (ALLG/Stufenanzahl beyond it is capped).
inline constexpr int kMaxClasses = 50;
// Species columns side by side in one class table; more species continue in a further table.
inline constexpr int kSpeciesPerClassTable = 4;

// Nothing when the list has no header record or its trees cannot be read. The test page needs
// no list.
std::optional<Report> build(ReportKind kind, const ReportSources& sources, std::int64_t listId);
std::optional<Report> listing(const ReportSources& sources, std::int64_t listId);
std::optional<Report> classTable(const ReportSources& sources, std::int64_t listId);
Report testPage(const ReportSources& sources);

// The lines a page holds on the printer in use (the FieldSoftware printer's when that is on).
int pageLength(const MasterTables& tables);
// Whether the printer in use wants a question before printing.
bool askBeforePrinting(const MasterTables& tables);
// "HIEB01_Ausdruck.pdf": the list number with anything but letters, digits, '-' and '_' made
// '_', then the report's tag; "Testseite.pdf" for the test page.
QString fileName(const Report& report);

} // namespace reports
} // namespace brovant
