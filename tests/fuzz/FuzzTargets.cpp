#include "fuzz/FuzzTargets.h"

namespace brovant::test {

const std::vector<FuzzTarget>& fuzzTargets()
{
    static const std::vector<FuzzTarget> targets = {
        {"caliper", caliperProbe},
        {"caliper_sentence", caliperSentenceProbe},
        {"config", configProbe},
        {"lists", listProbe},
        {"office_receive", officeReceiveProbe},
        {"registry", registryProbe},
        {"serial_receive", serialReceiveProbe},
    };
    return targets;
}

} // namespace brovant::test
