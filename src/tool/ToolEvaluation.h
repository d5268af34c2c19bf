// Admin tool: "totals LISTE_NR", the rows of the totals screen of one list, "tally LISTE_NR
// --bhd N ...", one tree saved through the tally screen's own logic, and "tally LISTE_NR --trees
// FILE", many trees, one line each, saved one after the other the same way and printed as each is
// committed. Lists are named by LISTE_NR without its padding; the sums and the checks are Totals'
// and TallyLogic's.
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceSession;

// Lines for the tool's command list.
QString evaluationCommandsHelp();
// The tally command's options (--bhd, --species, --stk, --tarif, --trees).
void addEvaluationOptions(QCommandLineParser& parser);
// Runs the command the parser holds; returns the exit status, or -1 when it is not one of these.
int runEvaluationCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                         QTextStream& err);

} // namespace brovant
