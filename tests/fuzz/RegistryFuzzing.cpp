#include "fuzz/RegistryFuzzing.h"

#include <QDir>
#include <QFile>

#include <utility>
#include <vector>

namespace brovant::test {
namespace {

constexpr Hive kHives[] = {Hive::CurrentUser, Hive::LocalMachine};
const QString kHeader = QStringLiteral("Windows Registry Editor Version 5.00\n");

QString hiveFile(const QString& folder, Hive hive)
{
    return folder + u'/' + Registry::hiveName(hive) + QStringLiteral(".reg");
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

bool emptyFolder(const QString& path)
{
    QDir folder(path);
    return (!folder.exists() || folder.removeRecursively()) && QDir().mkpath(path);
}

} // namespace

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

RegistryProbe::RegistryProbe(const QString& dir)
    : m_dir(dir)
{
}

QString RegistryProbe::check(QByteArrayView input)
{
    const QString first = m_dir + QStringLiteral("/first");
    const QString again = m_dir + QStringLiteral("/again");
    if (!emptyFolder(first) || !emptyFolder(again))
        return QStringLiteral("cannot empty the folders in ") + m_dir;
    for (const Hive hive : kHives) {
        if (!writeFile(hiveFile(first, hive), input))
            return QStringLiteral("cannot write the hive file");
    }

    const Registry registry(first);
    for (const Hive hive : kHives) {
        const int i = hive == Hive::CurrentUser ? 0 : 1;
        const QString file = hiveFile(first, hive);
        const QString name = Registry::hiveName(hive);
        m_parsed[i] = !registry.setAside().contains(file);
        m_dump[i] = dumpHive(registry, hive);
        const QString exported = registry.exportHive(hive);
        if (!m_parsed[i]) {
            // Set aside whole, and the hive starts empty.
            if (readFile(file + QStringLiteral(".corrupt")) != input || QFile::exists(file))
                return name + QStringLiteral(": the damaged file was not set aside as it was");
            if (exported != kHeader || m_dump[i] != QStringLiteral("[]\n"))
                return name + QStringLiteral(": a set-aside hive is not empty");
            continue;
        }
        if (readFile(file) != input)
            return name + QStringLiteral(": loading changed the file");
        if (!writeFile(hiveFile(again, hive), exported.toUtf8()))
            return QStringLiteral("cannot write the exported hive");
    }

    const Registry reread(again);
    for (const Hive hive : kHives) {
        const int i = hive == Hive::CurrentUser ? 0 : 1;
        if (!m_parsed[i])
            continue;
        const QString name = Registry::hiveName(hive);
        if (!reread.setAside().isEmpty())
            return name + QStringLiteral(": its own export does not parse");
        if (reread.exportHive(hive) != registry.exportHive(hive))
            return name + QStringLiteral(": the export changed on the way round");
        if (dumpHive(reread, hive) != m_dump[i])
            return name + QStringLiteral(": the keys and values changed on the way round");
    }
    return {};
}

} // namespace brovant::test
