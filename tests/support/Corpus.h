// The fuzz targets' corpora (tests/fuzz/corpus/<name>) as parameters of the ordinary test runs:
// every seed becomes one case, named after its file.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace brovant::test {

inline QString corpusFolder(const char* name)
{
    return QStringLiteral(BROVANT_SOURCE_DIR "/tests/fuzz/corpus/") + QLatin1StringView(name);
}

inline std::vector<std::string> corpusFiles(const QString& folder)
{
    std::vector<std::string> names;
    for (const QString& name : QDir(folder).entryList(QDir::Files, QDir::Name))
        names.push_back(name.toStdString());
    return names;
}

inline QByteArray readCorpus(const QString& folder, const std::string& name)
{
    QFile file(folder + u'/' + QString::fromStdString(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A test name from a file name: everything but letters and digits becomes "_".
inline std::string corpusCaseName(const ::testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    }
    return name;
}

} // namespace brovant::test
