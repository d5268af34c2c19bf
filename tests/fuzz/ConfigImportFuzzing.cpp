#include "fuzz/ConfigImportFuzzing.h"

#include "data/Schema.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstring>

namespace brovant::test {
namespace {

constexpr QByteArrayView kHeader = "TD0STAMM300.DAT";
constexpr int kSuspendTimeout = 180;

} // namespace

void ConfigShapeScanner::feed(QByteArrayView bytes)
{
    qsizetype pos = 0;
    while (pos < bytes.size()) {
        const char* begin = bytes.data() + pos;
        const auto* newline =
            static_cast<const char*>(std::memchr(begin, '\n', size_t(bytes.size() - pos)));
        const qsizetype length = newline ? newline - begin : bytes.size() - pos;
        const qsizetype wanted = std::min<qsizetype>(kHeader.size() - m_prefix.size(), length);
        if (wanted > 0)
            m_prefix.append(begin, wanted);
        m_inLine = true;
        pos += length;
        if (newline) {
            endLine();
            ++pos;
        }
    }
}

void ConfigShapeScanner::finish()
{
    if (m_inLine)
        endLine();
    if (m_firstLine)
        m_accepted = false; // an empty file has no header
}

void ConfigShapeScanner::endLine()
{
    const bool header = QByteArrayView(m_prefix) == kHeader;
    const QByteArrayView tag =
        QByteArrayView(m_prefix).first(std::min<qsizetype>(3, m_prefix.size()));
    if (m_stopped) {
        // Nothing after a bad header line counts.
    } else if (m_firstLine) {
        m_accepted = header;
        m_stopped = !header;
    } else if (tag == "TD0") {
        if (!header) {
            m_accepted = false;
            m_stopped = true;
        }
    } else if (tag == "30E") {
        ++m_rows[schema::DiameterClassRow];
    } else if (tag == "40F") {
        ++m_rows[schema::TariffVolumeRow];
    } else if (tag == "712") {
        ++m_rows[schema::TariffAssignmentRow];
    } else if (tag == "611") {
        ++m_rows[schema::SpeciesVolumeRow];
    }
    m_firstLine = false;
    m_inLine = false;
    m_prefix.clear();
}

ConfigImportProbe::ConfigImportProbe(const QString& rootDir)
    : m_session(std::make_unique<DeviceSession>(rootDir, Database::Durability::Relaxed))
{
    if (m_session->openDatabase() == DeviceSession::DatabaseState::Failed)
        m_setupError =
            QStringLiteral("cannot open the database: ") + m_session->database().lastError();
}

ConfigImportProbe::~ConfigImportProbe() = default;

QString ConfigImportProbe::stagedFile() const
{
    return m_session->root().hostPath(QString::fromUtf16(ConfigImport::kStagedPath));
}

QString ConfigImportProbe::check(QByteArrayView input)
{
    QFile file(stagedFile());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(input.data(), input.size()) != input.size())
        return QStringLiteral("cannot stage the input");
    file.close();
    return checkStaged();
}

QString ConfigImportProbe::checkStaged()
{
    m_lastResult = ConfigImport::Result::NoFile;
    m_lastLoaded = -1;
    if (!m_setupError.isEmpty())
        return m_setupError;

    ConfigShapeScanner expected;
    {
        QFile file(stagedFile());
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("nothing staged");
        QByteArray chunk(1 << 16, Qt::Uninitialized);
        qint64 n = 0;
        while ((n = file.read(chunk.data(), chunk.size())) > 0)
            expected.feed(QByteArrayView(chunk.constData(), n));
        expected.finish();
    }

    // Every input starts from the same registry: no master data, a few settings of other
    // sections that the import must leave alone, and a suspend time-out to be restored.
    DeviceSession& s = *m_session;
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
    ConfigImport import(s.root(), s.database(), s.store(), importDialogs, &s.keepAwake());
    m_lastResult = import.run();
    m_lastLoaded = s.store().readInt(Setting::KonfigLoaded, 0, -1);

    ScriptedDialogs loadDialogs;
    const MasterTables tables = loadSettings(s.store(), s.database(), &loadDialogs, &s.keepAwake());
    return verify(expected, importDialogs, loadDialogs, tables);
}

QString ConfigImportProbe::verify(const ConfigShapeScanner& expected,
                                  const ScriptedDialogs& importDialogs,
                                  const ScriptedDialogs& loadDialogs, const MasterTables& tables)
{
    using Result = ConfigImport::Result;
    DeviceSession& s = *m_session;
    Database& db = s.database();

    switch (m_lastResult) {
    case Result::NoFile:
        return QStringLiteral("NoFile although a file is staged");
    case Result::StoreFailed:
        return QStringLiteral("StoreFailed on a healthy database: ") + db.lastError();
    case Result::Loaded:
    case Result::WrongStructure:
        break;
    default:
        return QStringLiteral("result %1 is none of the import's").arg(int(m_lastResult));
    }
    const bool loaded = m_lastResult == Result::Loaded;
    if (loaded != expected.accepted())
        return loaded ? QStringLiteral("accepted a file without a valid header on every TD0 line")
                      : QStringLiteral("rejected a file whose TD0 lines are all valid");
    if (m_lastLoaded != 0 && m_lastLoaded != 1)
        return QStringLiteral("KONFIG/Loaded is %1").arg(m_lastLoaded);
    if ((m_lastLoaded == 1) != loaded)
        return QStringLiteral("KONFIG/Loaded %1 does not match the result").arg(m_lastLoaded);
    if (m_lastLoaded == 1) {
        QFile file(stagedFile());
        if (!file.open(QIODevice::ReadOnly) || file.read(kHeader.size()) != kHeader)
            return QStringLiteral("loaded although the first line does not start with the header");
    }

    // The rows written are exactly the row records before the point where the import stopped,
    // numbered 0, 1, 2, ... in file order.
    std::array<int, 5> rows = {};
    int total = 0;
    {
        auto q = db.query(
            QStringLiteral("SELECT ID_TYPE, COUNT(*) FROM Brov_Einstellungen GROUP BY ID_TYPE"));
        while (q.next()) {
            const std::int64_t type = q.integer(0);
            if (type < 1 || type > 4)
                return QStringLiteral("row of unknown ID_TYPE %1").arg(type);
            rows[size_t(type)] = int(q.integer(1));
            total += rows[size_t(type)];
        }
    }
    if (rows != expected.rows())
        return QStringLiteral("rows by kind %1/%2/%3/%4, expected %5/%6/%7/%8")
            .arg(rows[1])
            .arg(rows[2])
            .arg(rows[3])
            .arg(rows[4])
            .arg(expected.rows()[1])
            .arg(expected.rows()[2])
            .arg(expected.rows()[3])
            .arg(expected.rows()[4]);
    {
        auto q = db.query(QStringLiteral("SELECT COUNT(DISTINCT ID), IFNULL(MIN(ID), 0), "
                                         "IFNULL(MAX(ID), -1) FROM Brov_Einstellungen"));
        if (!q.next())
            return QStringLiteral("cannot read the row numbers: ") + db.lastError();
        if (q.integer(0) != total || q.integer(1) != 0 || q.integer(2) != total - 1)
            return QStringLiteral("row numbers are not 0..%1").arg(total - 1);
    }
    {
        // Text columns never exceed their fields; volumes stay in what an int holds.
        auto q = db.query(QStringLiteral(
            "SELECT IFNULL(MAX(length(DMSTUFE)), 0) <= 2 AND IFNULL(MAX(length(TARIF)), 0) <= 5"
            " AND IFNULL(MAX(length(REGION_A)), 0) <= 8 AND IFNULL(MAX(length(BAUMART)), 0) <= 3,"
            " SUM(typeof(KUBATUR) != 'integer' OR KUBATUR NOT BETWEEN -2147483647 AND 2147483647"
            " OR (ID_TYPE = 4 AND (HS1 NOT BETWEEN -2147483647 AND 2147483647"
            " OR HS2 NOT BETWEEN -2147483647 AND 2147483647"
            " OR HS3 NOT BETWEEN -2147483647 AND 2147483647"
            " OR HS4 NOT BETWEEN -2147483647 AND 2147483647"
            " OR HS5 NOT BETWEEN -2147483647 AND 2147483647"
            " OR HS6 NOT BETWEEN -2147483647 AND 2147483647)))"
            " FROM Brov_Einstellungen"));
        if (!q.next())
            return QStringLiteral("cannot read the rows: ") + db.lastError();
        if (q.integer(0) != 1)
            return QStringLiteral("a text column is longer than its field");
        if (q.integer(1) != 0)
            return QStringLiteral("%1 rows with a volume out of range").arg(q.integer(1));
    }
    if (loaded && s.store().readInt(Setting::Stufenanzahl, 0, -1) != rows[schema::DiameterClassRow])
        return QStringLiteral("ALLG/Stufenanzahl %1, but %2 diameter classes")
            .arg(s.store().readInt(Setting::Stufenanzahl, 0, -1))
            .arg(rows[schema::DiameterClassRow]);

    const QStringList asked = importDialogs.asked();
    const QStringList expectedAsked =
        loaded ? QStringList()
               : QStringList{QStringLiteral("Falsche Struktur der Konfigura-|tion!|")};
    if (asked != expectedAsked)
        return QStringLiteral("messages: ") + asked.join(u'/');
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

    const auto timeout =
        s.registry().dword(Hive::LocalMachine, QString::fromUtf16(KeepAwake::kTimeoutsKey),
                           QString::fromUtf16(KeepAwake::kValue));
    if (timeout != quint32(kSuspendTimeout))
        return QStringLiteral("the suspend time-out is not restored");
    if (s.store().readInt(Setting::DuePort) != 4
        || s.store().readText(Setting::PrinterPath) != QStringLiteral("\\Karte"))
        return QStringLiteral("settings outside the master data changed");
    if (!QFileInfo::exists(stagedFile()))
        return QStringLiteral("the staged file is gone");

    if (tables.tariffs.size() > MasterTables::kMaxTariffs
        || tables.tariffs.size() > rows[schema::TariffVolumeRow])
        return QStringLiteral("%1 tariffs loaded").arg(tables.tariffs.size());
    if (rows[schema::TariffVolumeRow] > 0 && tables.tariffs.isEmpty())
        return QStringLiteral("volume rows but no tariff loaded");
    for (const QString& tariff : tables.tariffs) {
        if (tariff.size() > 5)
            return QStringLiteral("tariff \"%1\" is longer than its field").arg(tariff);
    }

    // Whatever the file put into the registry must survive its own file: a fresh read of the
    // hives gives the same values and sets nothing aside as corrupt.
    Registry reread(s.root().hostPath(QString::fromUtf16(DeviceSession::kRegistryFolder)));
    if (!reread.setAside().isEmpty())
        return QStringLiteral("the saved registry does not read back");
    if (reread.exportText() != s.registry().exportText())
        return QStringLiteral("the saved registry reads back different values");
    return {};
}

} // namespace brovant::test
