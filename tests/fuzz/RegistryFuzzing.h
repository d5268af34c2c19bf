// A hive file from outside through the registry's .reg parser, and what must hold for any file:
// one that does not parse is set aside whole and its hive starts empty; one that parses is left
// as it is, and its export parses again to the same keys and values. Shared by the corpus test and
// the libFuzzer target, so an input the fuzzer finds becomes a test case by dropping it into
// tests/fuzz/corpus/registry. Every input is tried as both hives.
#pragma once

#include "platform/Registry.h"

#include <QByteArrayView>
#include <QString>

namespace brovant::test {

// Keys (full paths, parents first) and typed values of one hive, walked through the public
// interface without recursion.
QString dumpHive(const Registry& registry, Hive hive);

class RegistryProbe {
public:
    // Works in two folders below `dir` (an existing, empty folder), reused for every input.
    explicit RegistryProbe(const QString& dir);

    // Empty when every invariant holds for `input`, else a description of the first that did not.
    QString check(QByteArrayView input);

    // About the last input.
    bool parsed(Hive hive) const { return m_parsed[hive == Hive::CurrentUser ? 0 : 1]; }
    const QString& dump(Hive hive) const { return m_dump[hive == Hive::CurrentUser ? 0 : 1]; }

private:
    QString m_dir;
    bool m_parsed[2] = {false, false};
    QString m_dump[2];
};

} // namespace brovant::test
