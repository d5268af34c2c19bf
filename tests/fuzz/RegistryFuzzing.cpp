// A hive file from outside through the registry's .reg parser, tried as both hives, and what must
// hold for any file: one that does not parse is set aside whole and its hive starts empty; one
// that parses is left as it is, and its export parses again to the same keys and values.
// Outcome: the hives it parsed as ("CU", "LM", "CULM", or "-"); detail: the keys and values of
// the current user's hive, else the local machine's.
#include "fuzz/FuzzTargets.h"

#include "platform/Registry.h"

#include <QDir>
#include <QFile>

#include <utility>
#include <vector>

namespace brovant::test {
namespace {

constexpr Hive kHives[] = {Hive::CurrentUser, Hive::LocalMachine};

QString hiveFile(const QString& folder, Hive hive)
{
    return folder + u'/' + Registry::hiveName(hive) + QStringLiteral(".reg");
}

// Keys (full paths, parents first) and typed values of one hive, walked through the public
// interface without recursion.
QString dumpHive(const Registry& registry, Hive hive)
{
    QString out;
    std::vector<QString> pending{QString()};
    while (!pending.empty()) {
        const QString key = std::move(pending.back());
        pending.pop_back();
        out += u'[' + key + QStringLiteral("]\n");
        for (const QString& name : registry.valueNames(hive, key)) {
            const auto dword = registry.dword(hive, key, name);
            const auto string = registry.string(hive, key, name);
            out += u'"' + name + QStringLiteral("\" ");
            if (dword.has_value() == string.has_value())
                out += QStringLiteral("neither or both types");
            else if (dword)
                out += QStringLiteral("dword %1").arg(*dword);
            else
                out += QStringLiteral("sz ") + QString::fromLatin1(string->toUtf8().toHex());
            out += u'\n';
        }
        const QStringList children = registry.subkeys(hive, key);
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            pending.push_back(key.isEmpty() ? *it : key + u'\\' + *it);
    }
    return out;
}

QString check(const QString& dir, QByteArrayView input, QString (&dump)[2], QString& hives)
{
    const QString first = dir + QStringLiteral("/first");
    const QString again = dir + QStringLiteral("/again");
    for (const QString& folder : {first, again}) {
        if (!QDir(folder).removeRecursively() || !QDir().mkpath(folder))
            return QStringLiteral("cannot empty ") + folder;
    }
    for (const Hive hive : kHives) {
        if (!writeFile(hiveFile(first, hive), input))
            return QStringLiteral("cannot write the hive file");
    }
    const Registry registry(first);
    bool parsed[2];
    for (const int i : {0, 1}) {
        const Hive hive = kHives[i];
        const QString file = hiveFile(first, hive);
        const QString name = Registry::hiveName(hive);
        parsed[i] = !registry.setAside().contains(file);
        dump[i] = dumpHive(registry, hive);
        if (parsed[i])
            hives += i == 0 ? "CU" : "LM";
        if (!parsed[i]) {
            if (readFile(file + QStringLiteral(".corrupt")) != input || QFile::exists(file))
                return name + QStringLiteral(": the damaged file was not set aside as it was");
            if (registry.exportHive(hive)
                    != QStringLiteral("Windows Registry Editor Version 5.00\n")
                || dump[i] != QStringLiteral("[]\n"))
                return name + QStringLiteral(": a set-aside hive is not empty");
        } else if (readFile(file) != input) {
            return name + QStringLiteral(": loading changed the file");
        } else if (!writeFile(hiveFile(again, hive), registry.exportHive(hive).toUtf8())) {
            return QStringLiteral("cannot write the exported hive");
        }
    }
    const Registry reread(again);
    if (!reread.setAside().isEmpty())
        return QStringLiteral("its own export does not parse");
    for (const int i : {0, 1}) {
        if (parsed[i]
            && (reread.exportHive(kHives[i]) != registry.exportHive(kHives[i])
                || dumpHive(reread, kHives[i]) != dump[i]))
            return Registry::hiveName(kHives[i]) + QStringLiteral(": changed on the way round");
    }
    return {};
}

} // namespace

Probe registryProbe(const QString& dir)
{
    return [dir](QByteArrayView input) {
        QString dump[2];
        QString hives;
        const QString failure = check(dir, input, dump, hives);
        return ProbeResult{failure, hives.isEmpty() ? QStringLiteral("-") : hives,
                           dump[hives.startsWith(u'C') ? 0 : 1]};
    };
}

} // namespace brovant::test
