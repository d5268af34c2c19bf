// Office: the command line of brovant-office (import, lists, user, serve): arguments, output
// forms and exit codes. The work is done by the store, the list reading and the inbox.
#pragma once

#include <QStringList>
#include <QTextStream>

namespace brovant::office {

int runOfficeCommand(const QStringList& args, QTextStream& out, QTextStream& err, QTextStream& in);

} // namespace brovant::office
