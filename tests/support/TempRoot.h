// A fresh device root in a temporary folder, removed after the test.
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace brovant::test {

class TempRoot {
public:
    TempRoot();
    QString path() const { return m_dir.path(); }
    // Host path of a relative path below the root ("Brovant/passive.dtr").
    QString host(const QString& relative) const { return m_dir.path() + u'/' + relative; }
    void writeFile(const QString& relative, const QByteArray& bytes) const;
    QByteArray readFile(const QString& relative) const;

private:
    QTemporaryDir m_dir;
};

} // namespace brovant::test
