#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <stdexcept>

namespace brovant::test {

TempRoot::TempRoot()
{
    if (!m_dir.isValid())
        throw std::runtime_error("no temporary folder");
}

void TempRoot::writeFile(const QString& relative, const QByteArray& bytes) const
{
    const QString file = host(relative);
    QDir().mkpath(QFileInfo(file).path());
    QFile f(file);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write test file");
}

QByteArray TempRoot::readFile(const QString& relative) const
{
    QFile f(host(relative));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

} // namespace brovant::test
