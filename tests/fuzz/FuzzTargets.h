// The fuzz targets in one table, shared by the libFuzzer harness (FuzzMain.cpp) and the corpus
// runner (CorpusTest.cpp), so an input the fuzzer finds becomes a test case by dropping it into
// tests/fuzz/corpus/<name>. Each probe (in its *Fuzzing.cpp) runs one input through the program
// and checks what must hold for any input, however damaged.
#pragma once

#include <QByteArrayView>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace brovant::test {

// What a probe made of one input: the first invariant that did not hold (empty when all held),
// the outcome in short and, where a short outcome says too little, a longer account of it.
struct ProbeResult {
    QString failure = {};
    QString outcome = {};
    QString detail = {};
};
using Probe = std::function<ProbeResult(QByteArrayView input)>;
// Sets a probe up in `dir`, an existing, empty folder it keeps for every input.
using MakeProbe = Probe (*)(const QString& dir);

// The probe of an object whose check(input) keeps its set-up from one input to the next.
template <class Checker> Probe probeOf(std::shared_ptr<Checker> checker)
{
    return [checker](QByteArrayView input) {
        return checker->check(input);
    };
}

struct FuzzTarget {
    const char* name; // its corpus folder below tests/fuzz/corpus
    MakeProbe make;
};

const std::vector<FuzzTarget>& fuzzTargets();

// Whole files for the probes: false when one cannot be written, "<missing>" when one cannot be
// read.
bool writeFile(const QString& path, QByteArrayView bytes);
QByteArray readFile(const QString& path);

Probe caliperProbe(const QString& dir);
Probe caliperSentenceProbe(const QString& dir);
Probe configProbe(const QString& dir);
Probe listProbe(const QString& dir);
Probe officeReceiveProbe(const QString& dir);
Probe registryProbe(const QString& dir);
Probe serialReceiveProbe(const QString& dir);

// The configuration probe for files too big to hold in memory: it leaves its input aside and checks
// what is staged in `*stagedFile` now.
Probe configProbeOnStaged(const QString& dir, QString* stagedFile);

} // namespace brovant::test
