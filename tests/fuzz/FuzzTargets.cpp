#include "fuzz/FuzzTargets.h"

#include "fuzz/CaliperFuzzing.h"
#include "fuzz/CaliperSentenceFuzzing.h"
#include "fuzz/ConfigImportFuzzing.h"
#include "fuzz/ListImportFuzzing.h"
#include "fuzz/OfficeReceiveFuzzing.h"
#include "fuzz/RegistryFuzzing.h"
#include "fuzz/SerialFuzzing.h"

#include <QStringList>

#include <memory>

namespace brovant::test {
namespace {

// "ok A.DAT|B.DAT", "failed, 1 refused".
QString transferOutcome(bool ok, const QStringList& files, qsizetype refused)
{
    QString text = QLatin1StringView(ok ? "ok" : "failed");
    if (!files.isEmpty())
        text += u' ' + files.join(u'|');
    if (refused > 0)
        text += QStringLiteral(", %1 refused").arg(refused);
    return text;
}

// Measurements as "key/diameter", a refused telegram as "-".
QString measured(const CaliperRun& run)
{
    QStringList out;
    for (const auto& m : run.measured)
        out << (m ? QStringLiteral("%1/%2").arg(m->speciesKey).arg(m->diameter)
                  : QStringLiteral("-"));
    return out.join(u' ');
}

// A probe that needs no folder.
template <typename Run> std::function<Probe(const QString&)> stateless(Run run)
{
    return [run](const QString&) {
        return Probe(run);
    };
}

// A probe object of type P kept in the folder, and what to make of one input with it.
template <typename P, typename Run> std::function<Probe(const QString&)> kept(Run run)
{
    return [run](const QString& dir) {
        auto probe = std::make_shared<P>(dir);
        return Probe([probe, run](QByteArrayView input) { return run(*probe, input); });
    };
}

} // namespace

const std::vector<FuzzTarget>& fuzzTargets()
{
    static const std::vector<FuzzTarget> targets = {
        {"config", kept<ConfigImportProbe>([](ConfigImportProbe& p, QByteArrayView input) {
             const QString failure = p.check(input);
             return ProbeResult{failure, QStringLiteral("%1 loaded").arg(p.lastLoaded()), {}};
         })},
        {"lists", kept<ListImportProbe>([](ListImportProbe& p, QByteArrayView input) {
             const QString failure = p.check(input);
             return ProbeResult{failure,
                                QStringLiteral("%1%2%3 regions, %4 trees")
                                    .arg(p.lastWrongStructure() ? "wrong structure, " : "",
                                         p.lastHeader() ? "header, " : "")
                                    .arg(p.lastRegions())
                                    .arg(p.lastTrees()),
                                {}};
         })},
        {"serial_receive",
         kept<SerialReceiveProbe>([](SerialReceiveProbe& p, QByteArrayView input) {
             const auto o = p.receive(input);
             return ProbeResult{
                 p.verify(o),
                 transferOutcome(o.ok, o.summary.files, o.summary.refusedNames.size()),
                 {}};
         })},
        {"office_receive",
         kept<OfficeReceiveProbe>([](OfficeReceiveProbe& p, QByteArrayView input) {
             const auto o = p.receive(input);
             return ProbeResult{
                 p.verify(o), transferOutcome(o.result.ok, o.result.files, o.result.refused.size()),
                 o.result.error};
         })},
        {"caliper", stateless([](QByteArrayView input) {
             const CaliperRun run = runCaliperStream(input);
             return ProbeResult{verifyCaliperRun(run), measured(run), {}};
         })},
        {"caliper_sentence", stateless([](QByteArrayView input) {
             const SentenceRun run = runCaliperSentence(input);
             return ProbeResult{verifySentenceRun(run),
                                describeSentence(run.parsed) + u';'
                                    + describeMeasurements(run.read),
                                {}};
         })},
        // Tried as both hives: the outcome names those it parsed as, the detail is the dump of
        // the current user's hive, else the local machine's.
        {"registry", kept<RegistryProbe>([](RegistryProbe& p, QByteArrayView input) {
             const QString failure = p.check(input);
             const bool cu = p.parsed(Hive::CurrentUser), lm = p.parsed(Hive::LocalMachine);
             const QString hives = QLatin1StringView(cu ? "CU" : "") + (lm ? "LM" : "");
             return ProbeResult{failure, hives.isEmpty() ? QStringLiteral("-") : hives,
                                p.dump(cu ? Hive::CurrentUser : Hive::LocalMachine)};
         })},
    };
    return targets;
}

} // namespace brovant::test
