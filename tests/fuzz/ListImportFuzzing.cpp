// List files through the import, from memory as the channels hand one over and from "\Import" as
// after a receive, and out again through the export, and what must hold for any file, however
// damaged: both ways store the same rows; a wrong structure stores nothing and says so; a list
// that was there before is untouched; the rows count from 0 in file order and fill their fields;
// and the export writes the list again as well-formed lines with the same regions and trees.
// Outcome: "wrong structure", or "[header, ]<n> regions, <m> trees, <k> of type 2" of what was
// stored.
#include "fuzz/FuzzTargets.h"

#include "data/Database.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"

#include <QFile>

#include <memory>

namespace brovant::test {
namespace {

constexpr std::int64_t kExistingList = 41;
constexpr std::int64_t kNewList = 42;
constexpr const TableDescriptor* kTables[] = {&schema::Kopfdaten, &schema::Region,
                                              &schema::Holzdaten};

// Per table, what a stored row of the new list must be (SQL over its columns).
QString sound(int table)
{
    if (table == 1)
        return QStringLiteral("length(REGION_A) = 8 AND length(BAUMART) = 3 AND length(TARIF) = 5");
    if (table == 2)
        return QStringLiteral(
            "ID_TYPE IN (1, 2) AND length(PARZ) = 5 AND length(BAUMART) = 3"
            " AND length(DMSTUFE) = 2 AND length(NA) = 2 AND length(KA) = 2 AND length(TARIF) = 5"
            " AND IFNULL(abs(STK), 0) <= 4294967295 AND IFNULL(abs(BHD), 0) <= 4294967295"
            " AND IFNULL(abs(KUBATUR), 0) <= 4294967295");
    // Texts alone leave the structure NULL; a "001" only gets in with the right tag.
    QString header = QStringLiteral(
        "IFNULL(length(LISTE_NR), 8) = 8 AND IFNULL(length(DATUM_A), 10) = 10"
        " AND IFNULL(length(REGION_A), 8) = 8 AND IFNULL(STRUKTUR, 'T00300') = 'T00300'"
        " AND DUE_MARK = 0 AND EXPORTED_N_NI = 0 AND ZUSATZ_A IS NULL"
        " AND IFNULL(abs(KOR_FAKTOR_N), 0) <= 4294967295");
    for (int n = 1; n <= 16; ++n)
        header += QStringLiteral(" AND IFNULL(length(KOPF%1_A), 40) = 40").arg(n);
    return header;
}

class ListProbe {
public:
    explicit ListProbe(const QString& dir)
        : m_session(dir, Database::Durability::Relaxed)
    {
        if (m_session.openDatabase() == DeviceSession::DatabaseState::Failed)
            m_setupError = QStringLiteral("database: ") + db().lastError();
    }

    ProbeResult check(QByteArrayView input)
    {
        if (!m_setupError.isEmpty())
            return {m_setupError};
        if (QString failure = reset(); !failure.isEmpty())
            return {failure};
        ScriptedDialogs quiet;
        ListFileImport importer(m_session.root(), db(), quiet);
        bool wrong = false;
        const bool imported = importer.importFile(input.toByteArray(), kNewList, &wrong);
        if (imported == wrong)
            return {
                QStringLiteral("importFile gave %1, wrong structure %2").arg(imported).arg(wrong)};
        QString outcome;
        QList<std::int64_t> types;
        qsizetype regions = 0;
        if (QString failure = verify(wrong, outcome, types, regions); !failure.isEmpty())
            return {QStringLiteral("importFile: ") + failure, outcome};
        const QStringList fromMemory = dump();
        const bool header = outcome.startsWith(QStringLiteral("header"));

        if (QString failure = reset(); !failure.isEmpty())
            return {failure};
        if (!writeFile(m_session.root().hostPath(QStringLiteral("\\Import\\FUZZ.DAT")), input))
            return {QStringLiteral("cannot stage the input")};
        const ListFileImport::Outcome ran = importer.run();
        if (ran.result
                != (wrong ? ListFileImport::Result::WrongStructure
                          : ListFileImport::Result::Imported)
            || ran.files != (wrong ? 0 : 1) || ran.lastList != (header ? kNewList : -1))
            return {QStringLiteral("run: result %1, %2 files, last list %3")
                        .arg(int(ran.result))
                        .arg(ran.files)
                        .arg(ran.lastList),
                    outcome};
        if (quiet.asked()
            != (wrong ? QStringList{QStringLiteral("Falsche Struktur der Liste!||")}
                      : QStringList()))
            return {QStringLiteral("run: messages ") + quiet.asked().join(u'/'), outcome};
        if (!m_session.root().find(QStringLiteral("\\Import\\*.*")).isEmpty())
            return {QStringLiteral("run: \\Import not emptied"), outcome};
        if (dump() != fromMemory)
            return {QStringLiteral("run and importFile stored different rows"), outcome};
        return {header ? verifyExport(regions, types) : QString(), outcome};
    }

private:
    Database& db() { return m_session.database(); }

    // Only the list that was there before, and empty folders.
    QString reset()
    {
        const bool ok = db().exec(
            QStringLiteral("DELETE FROM Brov_Kopfdaten; DELETE FROM Brov_Region; DELETE FROM "
                           "Brov_Holzdaten; INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, "
                           "DUE_MARK, EXPORTED_N_NI) VALUES (%1, 'VORHER', 0, 3); INSERT INTO "
                           "Brov_Region (ID, ID_FILE, REGION_A) VALUES (0, %1, 'ALT'); INSERT INTO "
                           "Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK) VALUES (0, %1, 1, 5)")
                .arg(kExistingList));
        m_session.root().removeMatching(QStringLiteral("\\Import\\*.*"));
        m_session.root().removeMatching(QStringLiteral("\\Export\\*.*"));
        return ok ? QString() : QStringLiteral("cannot set up: ") + db().lastError();
    }

    // Every row of the three tables, each value quoted by its type.
    QStringList dump()
    {
        QStringList out;
        for (const TableDescriptor* t : kTables) {
            const QLatin1StringView table(t->name);
            QString sql = QStringLiteral("SELECT '%1'").arg(table);
            for (const FieldDescriptor& f : t->fields)
                sql += QStringLiteral(" || '|' || quote(%1)").arg(QLatin1StringView(f.name));
            auto q = db().query(sql + QStringLiteral(" FROM %1 ORDER BY rowid").arg(table));
            while (q.next())
                out << q.text(0);
        }
        return out;
    }

    QString verify(bool wrong, QString& outcome, QList<std::int64_t>& types, qsizetype& regions)
    {
        auto existing = db().query(QStringLiteral(
            "SELECT (SELECT COUNT(*) FROM Brov_Kopfdaten WHERE ID_FILE = ?1 AND LISTE_NR = "
            "'VORHER' AND EXPORTED_N_NI = 3) + (SELECT COUNT(*) FROM Brov_Region WHERE ID_FILE = "
            "?1 AND REGION_A = 'ALT') + (SELECT COUNT(*) FROM Brov_Holzdaten WHERE ID_FILE = ?1 "
            "AND STK = 5)"));
        existing.bind(1, kExistingList);
        if (!existing.next() || existing.integer(0) != 3)
            return QStringLiteral("the list that was there before changed");
        qsizetype counts[3] = {};
        for (int t = 0; t < 3; ++t) {
            const QString table = QLatin1StringView(kTables[t]->name);
            auto all = db().query(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table));
            auto rows = db().query(
                QStringLiteral("SELECT %1, IFNULL((%2), 0), %3 FROM %4 WHERE ID_FILE = ? "
                               "ORDER BY rowid")
                    .arg(t == 0 ? "0" : "ID", sound(t), t == 2 ? "ID_TYPE" : "0", table));
            rows.bind(1, kNewList);
            for (; rows.next(); ++counts[t]) {
                if (rows.integer(0) != (t > 0 ? counts[t] : 0) || rows.integer(1) != 1)
                    return QStringLiteral("%1 row %2 numbered %3, or its fields unsound")
                        .arg(table)
                        .arg(counts[t])
                        .arg(rows.integer(0));
                if (t == 2)
                    types << rows.integer(2);
            }
            if (!all.next() || all.integer(0) != counts[t] + 1)
                return QStringLiteral("rows of %1 under another list").arg(table);
        }
        if (counts[0] > 1 || (wrong && counts[0] + counts[1] + counts[2] > 0))
            return QStringLiteral("a wrong structure left rows");
        regions = counts[1];
        outcome = wrong ? QStringLiteral("wrong structure")
                        : QStringLiteral("%1%2 regions, %3 trees, %4 of type 2")
                              .arg(counts[0] ? "header, " : "")
                              .arg(counts[1])
                              .arg(counts[2])
                              .arg(types.count(2));
        return {};
    }

    // Whatever came in goes out again as well-formed lines.
    QString verifyExport(qsizetype storedRegions, const QList<std::int64_t>& types)
    {
        db().exec(
            QStringLiteral("UPDATE Brov_Kopfdaten SET DUE_MARK = (ID_FILE = %1)").arg(kNewList));
        ScriptedDialogs quiet;
        ListFileExport exporter(m_session.root(), db(), m_session.store(), quiet);
        if (exporter.writeMarked() != 1)
            return QStringLiteral("export: the new list is not marked");
        const QString path = exporter.filePath(kNewList);
        // Only a list number that is no file name is refused, and then with the notice.
        if (quiet.asked()
            != (path.isEmpty() ? QStringList{QStringLiteral("Datei kann nicht erzeugt werden!||")}
                               : QStringList()))
            return QStringLiteral("export: messages ") + quiet.asked().join(u'/');
        if (path.isEmpty())
            return {};
        QFile file(m_session.root().hostPath(path));
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("export: no file at ") + path;
        const QByteArray bytes = file.readAll();
        if (!bytes.endsWith("\r\n"))
            return QStringLiteral("export: the file does not end with CR LF");
        const QList<QByteArray> lines = bytes.chopped(2).split('\n');
        qsizetype regions = 0;
        QList<std::int64_t> exported;
        for (const QByteArray& line : lines) {
            const bool last = &line == &lines.last();
            if (!last && !line.endsWith('\r'))
                return QStringLiteral("export: a line ends without CR LF");
            if (line.size() + (last ? 2 : 1) > ListFileExport::kMaxLine)
                return QStringLiteral("export: a line of %1 bytes").arg(line.size() + 1);
            regions += line.startsWith("REG");
            if (line.startsWith("10A") || line.startsWith("10B"))
                exported << (line[2] == 'A' ? 1 : 2);
        }
        if (!lines.first().startsWith("TD0") || !lines.value(1).startsWith("001"))
            return QStringLiteral("export: header lines missing");
        if (regions != storedRegions || exported != types)
            return QStringLiteral("export: %1 regions and %2 trees")
                .arg(regions)
                .arg(exported.size());
        return {};
    }

    DeviceSession m_session;
    QString m_setupError;
};

} // namespace

Probe listProbe(const QString& dir)
{
    return probeOf(std::make_shared<ListProbe>(dir));
}

} // namespace brovant::test
