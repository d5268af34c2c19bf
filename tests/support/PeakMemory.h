// The process's peak resident memory, for tests that a hostile input never loads a whole file.
#pragma once

#include <QtGlobal>

#include <fstream>
#include <optional>
#include <string>

namespace brovant::test {

// Peak resident memory in KiB since the last reset; nullopt where the kernel does not offer it.
inline std::optional<qint64> peakKib()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stoll(line.substr(6));
    }
    return std::nullopt;
}

inline bool resetPeak()
{
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return clear.good();
}

} // namespace brovant::test
