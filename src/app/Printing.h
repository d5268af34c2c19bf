// Screens: what the print keys do ("Ausdruck", "Sortiment", and a printer test page): ask first
// where the printer type wants that, write the report as a PDF file into the printer path, and
// send it to the system's printer where one is set up. What a report holds is the core's
// (Reports), how it is drawn the print library's (ReportPrinter).
#pragma once

#include "evaluation/Reports.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace brovant {

struct ScreenServices;

class Printing {
public:
    // Prints `kind` for list `listId` (ignored for the test page) with the settings in force.
    // The device path of the PDF written ("\My Documents\HIEB01_Ausdruck.pdf"), or nothing when
    // the user declined or it failed (the user was told).
    static std::optional<QString> run(const ScreenServices& services, ReportKind kind,
                                      std::int64_t listId);
};

} // namespace brovant
