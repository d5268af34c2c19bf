#include "fuzz/FuzzTargets.h"

#include <QFile>

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

bool writeFile(const QString& path, QByteArrayView bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
           && file.write(bytes.data(), bytes.size()) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace brovant::test
