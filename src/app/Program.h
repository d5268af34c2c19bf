// Program: the command line of `brovant` (--root, --demo-tour, --help, --version) and the run of
// the application on a device root.
#pragma once

namespace brovant {

int runProgram(int argc, char** argv);

} // namespace brovant
