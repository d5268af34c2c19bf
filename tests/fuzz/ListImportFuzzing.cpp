#include "fuzz/ListImportFuzzing.h"

#include "data/Database.h"
#include "data/Schema.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"

#include <QFile>

namespace brovant::test {
namespace {

constexpr int kLine = ListFileImport::kLineLength;
constexpr std::int64_t kNumberLimit = 4294967295;

QString tableSql(const char* format, const TableDescriptor& table)
{
    return QString::fromLatin1(format).arg(QLatin1StringView(table.name));
}

} // namespace

void ListShapeScanner::feed(QByteArrayView bytes)
{
    for (const char b : bytes) {
        if (m_wrong)
            return;
        if (b == '\n') {
            endLine(true);
            continue;
        }
        m_inLine = true;
        if (b == '\0')
            m_textEnded = true;
        if (!m_textEnded) {
            if (m_text.size() <= kLine)
                m_text.append(b);
            else
                m_textEnded = true; // the rest of the line is skipped
        }
    }
}

void ListShapeScanner::finish()
{
    if (m_inLine && !m_wrong)
        endLine(false);
}

void ListShapeScanner::endLine(bool byLineFeed)
{
    QByteArray text = m_text;
    const bool cut = m_textEnded;
    m_text.clear();
    m_textEnded = false;
    m_inLine = false;
    // Only the CR right before the line feed belongs to the line end.
    if (byLineFeed && !cut && text.endsWith('\r'))
        text.chop(1);
    text.truncate(kLine);
    if (text.isEmpty())
        return;
    text = text.leftJustified(kLine, ' ');
    const QByteArrayView tag = QByteArrayView(text).first(3);
    if (tag == "001" && QByteArrayView(text).sliced(93, 6) != "T00300") {
        m_wrong = true;
        return;
    }
    if (tag.startsWith("00") && tag[2] >= '1' && tag[2] <= '9')
        m_header = true;
    else if (tag == "REG")
        ++m_regions;
    else if (tag == "10A")
        m_treeTypes.append(1);
    else if (tag == "10B")
        m_treeTypes.append(2);
}

ListImportProbe::ListImportProbe(const QString& rootDir)
    : m_session(std::make_unique<DeviceSession>(rootDir, Database::Durability::Relaxed))
{
    if (m_session->openDatabase() == DeviceSession::DatabaseState::Failed)
        m_setupError = QStringLiteral("database: ") + m_session->database().lastError();
}

ListImportProbe::~ListImportProbe() = default;

QString ListImportProbe::reset()
{
    Database& db = m_session->database();
    for (const TableDescriptor* t : {&schema::Kopfdaten, &schema::Region, &schema::Holzdaten}) {
        if (!db.deleteAll(*t))
            return QStringLiteral("cannot empty ") + QLatin1StringView(t->name);
    }
    // A list that was there before: nothing of an import may touch it.
    const bool ok =
        db.exec(QStringLiteral("INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, DUE_MARK, "
                               "EXPORTED_N_NI) VALUES (%1, 'VORHER', 0, 3)")
                    .arg(kExistingList))
        && db.exec(QStringLiteral("INSERT INTO Brov_Region (ID, ID_FILE, REGION_A) VALUES (0, %1, "
                                  "'ALT')")
                       .arg(kExistingList))
        && db.exec(QStringLiteral("INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK) VALUES "
                                  "(0, %1, 1, 5)")
                       .arg(kExistingList));
    m_session->root().removeMatching(QStringLiteral("\\Import\\*.*"));
    m_session->root().removeMatching(QStringLiteral("\\Export\\*.*"));
    return ok ? QString() : QStringLiteral("cannot set up: ") + db.lastError();
}

QStringList ListImportProbe::dump()
{
    QStringList out;
    for (const TableDescriptor* t : {&schema::Kopfdaten, &schema::Region, &schema::Holzdaten}) {
        auto q = m_session->database().query(tableSql("SELECT * FROM %1 ORDER BY rowid", *t));
        while (q.next()) {
            QString row = QLatin1StringView(t->name);
            for (int c = 0; c < q.columnCount(); ++c) {
                const FieldValue v = q.value(c);
                row += u'|';
                if (const auto* n = std::get_if<std::int64_t>(&v))
                    row += QString::number(*n);
                else if (const auto* s = std::get_if<QString>(&v))
                    row += u'"' + *s + u'"';
                else
                    row += QStringLiteral("NULL");
            }
            out << row;
        }
    }
    return out;
}

QString ListImportProbe::check(QByteArrayView input)
{
    if (!m_setupError.isEmpty())
        return m_setupError;
    ListShapeScanner expected;
    expected.feed(input);
    expected.finish();
    m_lastWrong = expected.wrongStructure();
    m_lastHeader = expected.header() && !m_lastWrong;
    m_lastRegions = expected.regions();
    m_lastTrees = int(expected.treeTypes().size());

    // From memory, as the channels may hand a file over.
    if (QString failure = reset(); !failure.isEmpty())
        return failure;
    ScriptedDialogs quiet;
    ListFileImport importer(m_session->root(), m_session->database(), quiet);
    bool wrong = false;
    const bool imported = importer.importFile(input.toByteArray(), kNewList, &wrong);
    if (imported == m_lastWrong || wrong != m_lastWrong)
        return QStringLiteral(
                   "importFile gave %1 (wrong structure %2), expected wrong structure %3")
            .arg(imported)
            .arg(wrong)
            .arg(m_lastWrong);
    if (QString failure = verify(expected); !failure.isEmpty())
        return QStringLiteral("importFile: ") + failure;
    const QStringList fromMemory = dump();

    // From "\Import", as after a receive.
    if (QString failure = reset(); !failure.isEmpty())
        return failure;
    {
        QFile staged(m_session->root().hostPath(QStringLiteral("\\Import\\FUZZ.DAT")));
        if (!staged.open(QIODevice::WriteOnly)
            || staged.write(input.data(), input.size()) != input.size())
            return QStringLiteral("cannot stage the input");
    }
    const ListFileImport::Outcome outcome = importer.run();
    const auto expectedResult =
        m_lastWrong ? ListFileImport::Result::WrongStructure : ListFileImport::Result::Imported;
    if (outcome.result != expectedResult)
        return QStringLiteral("run: result %1, expected %2")
            .arg(int(outcome.result))
            .arg(int(expectedResult));
    if (outcome.files != (m_lastWrong ? 0 : 1)
        || outcome.lastList != (m_lastHeader ? kNewList : -1))
        return QStringLiteral("run: %1 files, last list %2")
            .arg(outcome.files)
            .arg(outcome.lastList);
    const QStringList notices = quiet.asked();
    if (notices
        != (m_lastWrong ? QStringList{QStringLiteral("Falsche Struktur der Liste!||")}
                        : QStringList()))
        return QStringLiteral("run: messages ") + notices.join(u'/');
    if (!m_session->root().find(QStringLiteral("\\Import\\*.*")).isEmpty())
        return QStringLiteral("run: \\Import not emptied");
    if (QString failure = verify(expected); !failure.isEmpty())
        return QStringLiteral("run: ") + failure;
    if (dump() != fromMemory)
        return QStringLiteral("run and importFile stored different rows");
    return verifyExport(expected);
}

QString ListImportProbe::verify(const ListShapeScanner& expected)
{
    Database& db = m_session->database();
    auto existing = db.query(QStringLiteral(
        "SELECT (SELECT COUNT(*) FROM Brov_Kopfdaten WHERE ID_FILE = ?1 AND LISTE_NR = 'VORHER' "
        "AND EXPORTED_N_NI = 3), (SELECT COUNT(*) FROM Brov_Region WHERE ID_FILE = ?1 AND "
        "REGION_A = 'ALT'), (SELECT COUNT(*) FROM Brov_Holzdaten WHERE ID_FILE = ?1 AND STK = 5), "
        "(SELECT COUNT(*) FROM Brov_Kopfdaten), (SELECT COUNT(*) FROM Brov_Region), "
        "(SELECT COUNT(*) FROM Brov_Holzdaten)"));
    existing.bind(1, kExistingList);
    if (!existing.next())
        return QStringLiteral("cannot count rows: ") + db.lastError();
    if (existing.integer(0) != 1 || existing.integer(1) != 1 || existing.integer(2) != 1)
        return QStringLiteral("the list that was there before changed");
    const bool wrong = expected.wrongStructure();
    const std::int64_t heads = existing.integer(3) - 1;
    const std::int64_t regions = existing.integer(4) - 1;
    const std::int64_t trees = existing.integer(5) - 1;
    if (heads != (m_lastHeader ? 1 : 0))
        return QStringLiteral("%1 new headers").arg(heads);
    if (regions != (wrong ? 0 : expected.regions()))
        return QStringLiteral("%1 regions, expected %2").arg(regions).arg(expected.regions());
    if (trees != (wrong ? 0 : expected.treeTypes().size()))
        return QStringLiteral("%1 trees, expected %2").arg(trees).arg(expected.treeTypes().size());
    if (wrong)
        return {};

    if (m_lastHeader) {
        auto head = db.query(QStringLiteral(
            "SELECT LISTE_NR, DATUM_A, REGION_A, STRUKTUR, DUE_MARK, EXPORTED_N_NI, ZUSATZ_A, "
            "KOR_FAKTOR_N FROM Brov_Kopfdaten WHERE ID_FILE = ?"));
        head.bind(1, kNewList);
        if (!head.next())
            return QStringLiteral("the new header has another number");
        const int widths[] = {8, 10, 8, 6};
        for (int c = 0; c < 4; ++c) {
            const FieldValue v = head.value(c);
            if (const auto* s = std::get_if<QString>(&v); s && s->size() != widths[c])
                return QStringLiteral("header text %1 is \"%2\"").arg(c).arg(*s);
        }
        // Texts alone leave it NULL; a "001" only gets in with the right tag.
        if (!std::holds_alternative<std::monostate>(head.value(3))
            && head.text(3) != QLatin1StringView(schema::kStructureVersion))
            return QStringLiteral("structure stored as \"%1\"").arg(head.text(3));
        if (head.integer(4) != 0 || head.integer(5) != 0
            || !std::holds_alternative<std::monostate>(head.value(6)))
            return QStringLiteral("the new header is marked, exported or has an addition");
        if (std::abs(head.integer(7)) > kNumberLimit)
            return QStringLiteral("factor out of range");
        for (int n = 1; n <= 16; ++n) {
            auto text = db.query(
                QStringLiteral("SELECT KOPF%1_A FROM Brov_Kopfdaten WHERE ID_FILE = ?").arg(n));
            text.bind(1, kNewList);
            if (!text.next())
                return QStringLiteral("header text %1 unreadable").arg(n);
            const FieldValue v = text.value(0);
            if (const auto* s = std::get_if<QString>(&v); s && s->size() != 40)
                return QStringLiteral("KOPF%1_A has %2 characters").arg(n).arg(s->size());
        }
    }

    auto regionRows = db.query(QStringLiteral(
        "SELECT ID, REGION_A, BAUMART, TARIF FROM Brov_Region WHERE ID_FILE = ? ORDER BY rowid"));
    regionRows.bind(1, kNewList);
    for (std::int64_t id = 0; regionRows.next(); ++id) {
        if (regionRows.integer(0) != id)
            return QStringLiteral("region %1 numbered %2").arg(id).arg(regionRows.integer(0));
        const int widths[] = {8, 3, 5};
        for (int c = 0; c < 3; ++c) {
            if (regionRows.text(c + 1).size() != widths[c])
                return QStringLiteral("region %1 field %2 is \"%3\"")
                    .arg(id)
                    .arg(c)
                    .arg(regionRows.text(c + 1));
        }
    }

    auto treeRows = db.query(QStringLiteral(
        "SELECT ID, ID_TYPE, PARZ, BAUMART, DMSTUFE, NA, KA, TARIF, STK, BHD, KUBATUR "
        "FROM Brov_Holzdaten WHERE ID_FILE = ? ORDER BY rowid"));
    treeRows.bind(1, kNewList);
    for (std::int64_t id = 0; treeRows.next(); ++id) {
        if (treeRows.integer(0) != id)
            return QStringLiteral("tree %1 numbered %2").arg(id).arg(treeRows.integer(0));
        if (treeRows.integer(1) != expected.treeTypes().value(id))
            return QStringLiteral("tree %1 has ID_TYPE %2").arg(id).arg(treeRows.integer(1));
        const int widths[] = {5, 3, 2, 2, 2, 5};
        for (int c = 0; c < 6; ++c) {
            if (treeRows.text(c + 2).size() != widths[c])
                return QStringLiteral("tree %1 text %2 is \"%3\"")
                    .arg(id)
                    .arg(c)
                    .arg(treeRows.text(c + 2));
        }
        for (int c = 8; c <= 10; ++c) {
            if (std::abs(treeRows.integer(c)) > kNumberLimit)
                return QStringLiteral("tree %1 number %2 out of range").arg(id).arg(c);
        }
    }
    return {};
}

QString ListImportProbe::verifyExport(const ListShapeScanner& expected)
{
    if (!m_lastHeader)
        return {};
    // Whatever came in goes out again as well-formed lines.
    m_session->database().exec(
        QStringLiteral("UPDATE Brov_Kopfdaten SET DUE_MARK = (ID_FILE = %1)").arg(kNewList));
    ScriptedDialogs quiet;
    ListFileExport exporter(m_session->root(), m_session->database(), m_session->store(), quiet);
    if (exporter.writeMarked() != 1)
        return QStringLiteral("export: the new list is not marked");
    const QString path = exporter.filePath(kNewList);
    if (path.isEmpty()) {
        // Only a list number that is no file name is refused, and then with the notice.
        if (quiet.asked() != QStringList{QStringLiteral("Datei kann nicht erzeugt werden!||")})
            return QStringLiteral("export: no file and messages ") + quiet.asked().join(u'/');
        return {};
    }
    if (!quiet.asked().isEmpty())
        return QStringLiteral("export: messages ") + quiet.asked().join(u'/');
    QFile file(m_session->root().hostPath(path));
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("export: no file at ") + path;
    const QByteArray bytes = file.readAll();
    if (!bytes.endsWith("\r\n"))
        return QStringLiteral("export: the file does not end with CR LF");
    const QList<QByteArray> lines = bytes.first(bytes.size() - 2).split('\n');
    int regions = 0;
    QList<int> treeTypes;
    for (const QByteArray& line : lines) {
        if (!line.endsWith('\r') && &line != &lines.last())
            return QStringLiteral("export: a line ends without CR LF");
        if (line.size() + (&line == &lines.last() ? 2 : 1) > ListFileExport::kMaxLine)
            return QStringLiteral("export: a line of %1 bytes").arg(line.size() + 1);
        if (line.startsWith("REG"))
            ++regions;
        else if (line.startsWith("10A"))
            treeTypes.append(1);
        else if (line.startsWith("10B"))
            treeTypes.append(2);
    }
    if (!lines.first().startsWith("TD0") || !lines.value(1).startsWith("001"))
        return QStringLiteral("export: header lines missing");
    if (regions != expected.regions() || treeTypes != expected.treeTypes())
        return QStringLiteral("export: %1 regions and %2 trees").arg(regions).arg(treeTypes.size());
    return {};
}

} // namespace brovant::test
