// Runs configuration files through the import and the settings load and checks what must hold
// for any input, however damaged. Shared by the corpus test and the libFuzzer target, so a crash
// the fuzzer finds becomes an ordinary test case by dropping the input into the corpus.
#pragma once

#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/MessageDialogs.h"

#include <QByteArrayView>
#include <QString>

#include <array>
#include <memory>

namespace brovant::test {

// What a configuration file must give, worked out from its bytes alone: whether the import
// accepts it, and how many master rows of each kind (indexed by ID_TYPE) it writes before it
// stops. Fed in pieces, so a huge file is never held whole.
class ConfigShapeScanner {
public:
    void feed(QByteArrayView bytes);
    void finish();

    bool accepted() const { return m_accepted; }
    const std::array<int, 5>& rows() const { return m_rows; }

private:
    void endLine();

    QByteArray m_prefix; // the first bytes of the current line, as many as a header has
    bool m_inLine = false;
    bool m_firstLine = true;
    bool m_stopped = false;
    bool m_accepted = false;
    std::array<int, 5> m_rows = {};
};

class ConfigImportProbe {
public:
    // Opens one device session in `rootDir` (an existing, empty folder) and reuses it for every
    // input; the database skips its flushes, the rows are thrown away anyway.
    explicit ConfigImportProbe(const QString& rootDir);
    ~ConfigImportProbe();

    // Stages `input` as "\Brovant\passive.dtr" and checks it. Empty when every invariant holds,
    // else a description of the first that did not.
    QString check(QByteArrayView input);
    // Checks whatever is staged now; for files too big to hold in memory.
    QString checkStaged();
    // Host path of the staged file.
    QString stagedFile() const;

    // The session the inputs run in; tests break its database to see the checks fail.
    DeviceSession& session() { return *m_session; }

    // Outcome of the last check.
    ConfigImport::Result lastResult() const { return m_lastResult; }
    int lastLoaded() const { return m_lastLoaded; }

private:
    QString verify(const ConfigShapeScanner& expected, const ScriptedDialogs& importDialogs,
                   const ScriptedDialogs& loadDialogs, const MasterTables& tables);

    std::unique_ptr<DeviceSession> m_session;
    QString m_setupError;
    ConfigImport::Result m_lastResult = ConfigImport::Result::NoFile;
    int m_lastLoaded = -1;
};

} // namespace brovant::test
