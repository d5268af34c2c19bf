// Configuration files through the import and the settings load, and what must hold for any file,
// however damaged: the result is Loaded or WrongStructure with its message, Loaded only for a file
// that begins with the header; the master rows count from 0 and fit their fields; the progress
// window closes; the suspend time-out and the settings of other sections are as before; the
// staged file stays; and the registry the file filled reads back the same.
// Outcome: "<KONFIG/Loaded> loaded, <n>/<n>/<n>/<n> rows" by ID_TYPE 1..4.
#include "fuzz/FuzzTargets.h"

#include "data/Schema.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/MessageDialogs.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <memory>

namespace brovant::test {
namespace {

constexpr int kSuspendTimeout = 180;

class ConfigProbe {
public:
    explicit ConfigProbe(const QString& dir)
        : m_session(dir, Database::Durability::Relaxed)
    {
        if (m_session.openDatabase() == DeviceSession::DatabaseState::Failed)
            m_setupError = QStringLiteral("cannot open the database: ") + db().lastError();
    }

    QString staged()
    {
        return m_session.root().hostPath(QString::fromUtf16(ConfigImport::kStagedPath));
    }

    ProbeResult check(QByteArrayView input)
    {
        if (!writeFile(staged(), input))
            return {QStringLiteral("cannot stage the input")};
        return checkStaged();
    }

    ProbeResult checkStaged()
    {
        if (!m_setupError.isEmpty())
            return {m_setupError};
        // Every input starts from the same registry: no master data, a few settings of other
        // sections that the import must leave alone, and a suspend time-out to be restored.
        DeviceSession& s = m_session;
        {
            Registry::Batch batch(s.registry());
            s.profile().deleteAll();
            s.store().writeInt(Setting::DuePort, 0, 4);
            s.store().writeText(Setting::PrinterPath, 0, QStringLiteral("\\Karte"));
            s.registry().setDword(Hive::LocalMachine, QString::fromUtf16(KeepAwake::kTimeoutsKey),
                                  QString::fromUtf16(KeepAwake::kValue), kSuspendTimeout);
            s.keepAwake().setSaved(kSuspendTimeout);
        }
        ScriptedDialogs importDialogs;
        const ConfigImport::Result result =
            ConfigImport(s.root(), db(), s.store(), importDialogs, &s.keepAwake()).run();
        const int loaded = s.store().readInt(Setting::KonfigLoaded, 0, -1);
        ScriptedDialogs loadDialogs;
        const MasterTables tables = loadSettings(s.store(), db(), &loadDialogs, &s.keepAwake());

        int rows[5] = {};
        auto q = db().query(
            QStringLiteral("SELECT ID_TYPE, COUNT(*) FROM Brov_Einstellungen GROUP BY ID_TYPE"));
        while (q.next()) {
            if (q.integer(0) < 1 || q.integer(0) > 4)
                return {QStringLiteral("row of unknown ID_TYPE %1").arg(q.integer(0))};
            rows[q.integer(0)] = int(q.integer(1));
        }
        const QString outcome = QStringLiteral("%1 loaded, %2/%3/%4/%5 rows")
                                    .arg(loaded)
                                    .arg(rows[1])
                                    .arg(rows[2])
                                    .arg(rows[3])
                                    .arg(rows[4]);
        return {verify(result, loaded, rows, importDialogs, loadDialogs, tables), outcome};
    }

private:
    Database& db() { return m_session.database(); }

    QString verify(ConfigImport::Result result, int loaded, const int (&rows)[5],
                   const ScriptedDialogs& importDialogs, const ScriptedDialogs& loadDialogs,
                   const MasterTables& tables)
    {
        using Result = ConfigImport::Result;
        DeviceSession& s = m_session;
        if (result != Result::Loaded && result != Result::WrongStructure)
            return QStringLiteral("result %1 on a healthy database with a staged file: %2")
                .arg(int(result))
                .arg(db().lastError());
        if (loaded != (result == Result::Loaded ? 1 : 0))
            return QStringLiteral("KONFIG/Loaded %1 after result %2").arg(loaded).arg(int(result));
        QFile file(staged());
        if (loaded && (!file.open(QIODevice::ReadOnly) || file.read(15) != "TD0STAMM300.DAT"))
            return QStringLiteral("loaded although the first line does not start with the header");

        // The rows are numbered 0, 1, 2, ... across the kinds; text columns never exceed their
        // fields; volumes stay in what an int holds.
        QString sql = QStringLiteral(
            "SELECT COUNT(*) = COUNT(DISTINCT ID) AND IFNULL(MIN(ID), 0) = 0"
            " AND IFNULL(MAX(ID), -1) = COUNT(*) - 1,"
            " IFNULL(MAX(length(DMSTUFE)), 0) <= 2 AND IFNULL(MAX(length(TARIF)), 0) <= 5"
            " AND IFNULL(MAX(length(REGION_A)), 0) <= 8 AND IFNULL(MAX(length(BAUMART)), 0) <= 3,"
            " SUM(typeof(KUBATUR) != 'integer' OR KUBATUR NOT BETWEEN -2147483647 AND 2147483647"
            " OR (ID_TYPE = 4 AND (0");
        for (int n = 1; n <= 6; ++n)
            sql += QStringLiteral(" OR HS%1 NOT BETWEEN -2147483647 AND 2147483647").arg(n);
        auto q = db().query(sql + QStringLiteral("))) FROM Brov_Einstellungen"));
        if (!q.next())
            return QStringLiteral("cannot read the rows: ") + db().lastError();
        if (q.integer(0) != 1)
            return QStringLiteral("the rows are not numbered 0, 1, 2, ...");
        if (q.integer(1) != 1)
            return QStringLiteral("a text column is longer than its field");
        if (q.integer(2) != 0)
            return QStringLiteral("%1 rows with a volume out of range").arg(q.integer(2));
        const int classes = s.store().readInt(Setting::Stufenanzahl, 0, -1);
        if (loaded && classes != rows[schema::DiameterClassRow])
            return QStringLiteral("ALLG/Stufenanzahl %1, but %2 diameter classes")
                .arg(classes)
                .arg(rows[schema::DiameterClassRow]);

        if (importDialogs.asked()
            != (loaded ? QStringList()
                       : QStringList{QStringLiteral("Falsche Struktur der Konfigura-|tion!|")}))
            return QStringLiteral("messages: ") + importDialogs.asked().join(u'/');
        for (const ScriptedDialogs* dialogs : {&importDialogs, &loadDialogs}) {
            for (const double percent : dialogs->progressValues()) {
                if (!std::isfinite(percent) || percent < 0 || percent > 100)
                    return QStringLiteral("progress %1").arg(percent);
            }
            const ScriptedDialogs::Message* lastInfo = nullptr;
            for (const auto& m : dialogs->messages()) {
                if (m.kind == ScriptedDialogs::Kind::Info)
                    lastInfo = &m;
            }
            if (!lastInfo || lastInfo->showCommand != MessageDialogs::Hide)
                return QStringLiteral("the progress window is left open");
        }

        if (s.registry().dword(Hive::LocalMachine, QString::fromUtf16(KeepAwake::kTimeoutsKey),
                               QString::fromUtf16(KeepAwake::kValue))
            != quint32(kSuspendTimeout))
            return QStringLiteral("the suspend time-out is not restored");
        if (s.store().readInt(Setting::DuePort) != 4
            || s.store().readText(Setting::PrinterPath) != QStringLiteral("\\Karte"))
            return QStringLiteral("settings outside the master data changed");
        if (!QFileInfo::exists(staged()))
            return QStringLiteral("the staged file is gone");

        const int volumeRows = rows[schema::TariffVolumeRow];
        if (tables.tariffs.size() > std::min(MasterTables::kMaxTariffs, volumeRows)
            || (volumeRows > 0 && tables.tariffs.isEmpty()))
            return QStringLiteral("%1 tariffs loaded from %2 volume rows")
                .arg(tables.tariffs.size())
                .arg(volumeRows);
        for (const QString& tariff : tables.tariffs) {
            if (tariff.size() > 5)
                return QStringLiteral("tariff \"%1\" is longer than its field").arg(tariff);
        }

        // Whatever the file put into the registry must survive its own file: a fresh read of the
        // hives gives the same values and sets nothing aside as corrupt.
        Registry reread(s.root().hostPath(QString::fromUtf16(DeviceSession::kRegistryFolder)));
        if (!reread.setAside().isEmpty() || reread.exportText() != s.registry().exportText())
            return QStringLiteral("the saved registry does not read back the same");
        return {};
    }

    DeviceSession m_session;
    QString m_setupError;
};

} // namespace

Probe configProbe(const QString& dir)
{
    return probeOf(std::make_shared<ConfigProbe>(dir));
}

Probe configProbeOnStaged(const QString& dir, QString* stagedFile)
{
    auto probe = std::make_shared<ConfigProbe>(dir);
    *stagedFile = probe->staged();
    return [probe](QByteArrayView) {
        return probe->checkStaged();
    };
}

} // namespace brovant::test
