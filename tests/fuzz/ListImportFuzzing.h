// Runs list files through the import (both from memory and from "\Import") and the export of what
// came in, and checks what must hold for any input, however damaged. Shared by the corpus test
// and the libFuzzer target, so an input the fuzzer finds becomes a test case by dropping it into
// tests/fuzz/corpus/lists.
#pragma once

#include "masterdata/DeviceSession.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <memory>

namespace brovant::test {

// What a list file must give, worked out from its bytes alone with the line rules of the import:
// whether its structure is refused, whether it makes a header, its regions and its tree kinds.
// Fed in pieces, so a huge file is never held whole.
class ListShapeScanner {
public:
    void feed(QByteArrayView bytes);
    void finish();

    bool wrongStructure() const { return m_wrong; }
    bool header() const { return m_header; }
    int regions() const { return m_regions; }
    const QList<int>& treeTypes() const { return m_treeTypes; } // 1 for "10A", 2 for "10B"

private:
    void endLine(bool byLineFeed);

    QByteArray m_text; // the line's text so far, one byte more than a line keeps
    bool m_textEnded = false;
    bool m_inLine = false;
    bool m_wrong = false;
    bool m_header = false;
    int m_regions = 0;
    QList<int> m_treeTypes;
};

class ListImportProbe {
public:
    static constexpr std::int64_t kExistingList = 41;
    static constexpr std::int64_t kNewList = 42;

    // Opens one device in `rootDir` (an existing, empty folder) and reuses it for every input; the
    // database skips its flushes, the rows are thrown away anyway.
    explicit ListImportProbe(const QString& rootDir);
    ~ListImportProbe();

    // Empty when every invariant holds for `input`, else a description of the first that did not.
    QString check(QByteArrayView input);

    DeviceSession& session() { return *m_session; }

    bool lastWrongStructure() const { return m_lastWrong; }
    int lastRegions() const { return m_lastRegions; }
    int lastTrees() const { return m_lastTrees; }
    bool lastHeader() const { return m_lastHeader; }

private:
    QString reset();
    QString verify(const ListShapeScanner& expected);
    QString verifyExport(const ListShapeScanner& expected);
    QStringList dump();

    std::unique_ptr<DeviceSession> m_session;
    QString m_setupError;
    bool m_lastWrong = false;
    bool m_lastHeader = false;
    int m_lastRegions = 0;
    int m_lastTrees = 0;
};

} // namespace brovant::test
