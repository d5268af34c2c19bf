// The fuzz targets in one table, shared by the libFuzzer harness (FuzzMain.cpp) and the corpus
// runner (CorpusTest.cpp), so an input the fuzzer finds becomes a test case by dropping it into
// tests/fuzz/corpus/<name>.
#pragma once

#include <QByteArrayView>
#include <QString>

#include <functional>
#include <vector>

namespace brovant::test {

// What a probe made of one input: the first invariant that did not hold (empty when all held),
// the outcome in short and, where a short outcome says too little, a longer account of it.
struct ProbeResult {
    QString failure;
    QString outcome;
    QString detail;
};
using Probe = std::function<ProbeResult(QByteArrayView input)>;

struct FuzzTarget {
    const char* name; // its corpus folder below tests/fuzz/corpus
    // Sets the probe up in `dir`, an existing, empty folder it keeps for every input.
    std::function<Probe(const QString& dir)> make;
};

const std::vector<FuzzTarget>& fuzzTargets();

} // namespace brovant::test
