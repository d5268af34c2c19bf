#include "transfer/ListFileImport.h"

#include "data/FixedRecords.h"
#include "data/ListStore.h"
#include "data/RegionRows.h"
#include "data/Schema.h"
#include "data/TreeRows.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"

#include <QBuffer>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <functional>
#include <limits>

namespace brovant {
namespace {

// The device's "%lu" reads into a 32-bit unsigned long and stops growing there.
constexpr std::int64_t kNumberLimit = std::numeric_limits<std::uint32_t>::max();
constexpr int kMaxDecimals = 18;

int decimalsOf(const TableDescriptor& table, QStringView field)
{
    return table.fields[size_t(table.indexOf(field))].decimals;
}

// Fields of a line padded with blanks to 500 characters.
struct Line : Record {
    std::int64_t number(int start, int length, int decimals) const
    {
        return ListFileImport::number(text(start, length), decimals);
    }
};

// Writes the rows of one list file. The header row is made by the first header record and
// updated by every later one.
class ListWriter {
public:
    ListWriter(Database& db, std::int64_t listId)
        : m_lists(db)
        , m_trees(db)
        , m_regions(db)
        , m_listId(listId)
    {
    }

    enum class Step { Ok, WrongStructure, Failed };

    Step line(const Line& line)
    {
        const QByteArray tag = line.raw(0, 3);
        if (tag == "001")
            return header(line);
        if (tag.startsWith("00") && tag[2] >= '2' && tag[2] <= '9')
            return texts(line, tag[2] - '0');
        if (tag == "REG")
            return region(line);
        if (tag == "10A")
            return tree(line, 1);
        if (tag == "10B")
            return tree(line, 2);
        return Step::Ok;
    }

    bool headerMade() const { return m_headerRow >= 0; }

private:
    Step header(const Line& line)
    {
        // The check comes before anything of the record is kept.
        if (line.raw(93, 6) != QByteArrayView(schema::kStructureVersion))
            return Step::WrongStructure;
        if (!ensureHeader())
            return Step::Failed;
        const bool written = m_lists.update(
            m_headerRow, {{QStringLiteral("LISTE_NR"), line.text(3, 8)},
                          {QStringLiteral("DATUM_A"), line.text(31, 10)},
                          {QStringLiteral("KOR_FAKTOR_N"),
                           line.number(61, 4, decimalsOf(schema::Kopfdaten, u"KOR_FAKTOR_N"))},
                          {QStringLiteral("REGION_A"), line.text(85, 8)},
                          {QStringLiteral("STRUKTUR"), line.text(93, 6)}});
        return written ? Step::Ok : Step::Failed;
    }

    // Record n carries the header texts 2n-3 and 2n-2.
    Step texts(const Line& line, int record)
    {
        if (!ensureHeader())
            return Step::Failed;
        const bool written = m_lists.update(
            m_headerRow, {{QStringLiteral("KOPF%1_A").arg(2 * record - 3), line.text(23, 40)},
                          {QStringLiteral("KOPF%1_A").arg(2 * record - 2), line.text(83, 40)}});
        return written ? Step::Ok : Step::Failed;
    }

    Step region(const Line& line)
    {
        TableRow row(schema::Region);
        row.set(u"ID", m_regionCount++);
        row.set(u"ID_FILE", m_listId);
        row.set(u"REGION_A", line.text(3, 8));
        row.set(u"BAUMART", line.text(11, 3));
        row.set(u"TARIF", line.text(14, 5));
        return m_regions.insert(row) ? Step::Ok : Step::Failed;
    }

    Step tree(const Line& line, std::int64_t type)
    {
        static const int stkDecimals = decimalsOf(schema::Holzdaten, u"STK");
        static const int bhdDecimals = decimalsOf(schema::Holzdaten, u"BHD");
        static const int volumeDecimals = decimalsOf(schema::Holzdaten, u"KUBATUR");
        TableRow row(schema::Holzdaten);
        row.set(u"ID", m_treeCount++);
        row.set(u"ID_FILE", m_listId);
        row.set(u"ID_TYPE", type);
        row.set(u"PARZ", line.text(3, 5));
        row.set(u"STK", line.number(8, 2, stkDecimals));
        row.set(u"BAUMART", line.text(10, 3));
        row.set(u"BHD", line.number(13, 3, bhdDecimals));
        row.set(u"DMSTUFE", line.text(16, 2));
        row.set(u"KUBATUR", line.number(18, 7, volumeDecimals));
        row.set(u"NA", line.text(25, 2));
        row.set(u"KA", line.text(27, 2));
        row.set(u"TARIF", line.text(29, 5));
        return m_trees.insert(row) ? Step::Ok : Step::Failed;
    }

    // The new header starts cleared, with its number and nothing marked or exported.
    bool ensureHeader()
    {
        if (m_headerRow >= 0)
            return true;
        const auto row = m_lists.addEmpty(m_listId);
        if (!row)
            return false;
        m_headerRow = *row;
        return true;
    }

    ListStore m_lists;
    TreeRows m_trees;
    RegionRows m_regions;
    std::int64_t m_listId;
    std::int64_t m_headerRow = -1;
    std::int64_t m_regionCount = 0;
    std::int64_t m_treeCount = 0;
};

enum class FileResult { Imported, WrongStructure, Failed };

// One list file in a transaction of its own (a savepoint inside the caller's): all of it or
// nothing of it. `beforeCommit` runs once every line is in; false from it rolls the file back.
FileResult importLines(Database& db, QIODevice& in, std::int64_t listId, bool* headerMade,
                       const std::function<bool()>& beforeCommit = {})
{
    Database::Transaction transaction(db);
    if (!transaction.active())
        return FileResult::Failed;
    ListWriter writer(db, listId);
    // Lines as text mode hands them over: a CR goes only with the LF after it.
    RecordReader reader(in, ListFileImport::kLineLength, RecordReader::CrRule::BeforeLineFeed);
    QByteArray bytes;
    while (reader.next(bytes)) {
        if (bytes.isEmpty())
            continue;
        switch (writer.line(Line{{bytes}})) {
        case ListWriter::Step::Ok:
            break;
        case ListWriter::Step::WrongStructure:
            return FileResult::WrongStructure;
        case ListWriter::Step::Failed:
            return FileResult::Failed;
        }
    }
    if ((beforeCommit && !beforeCommit()) || !transaction.commit())
        return FileResult::Failed;
    if (headerMade)
        *headerMade = writer.headerMade();
    return FileResult::Imported;
}

// A file whose list is being committed is renamed to "<name>.<token>.imp" first, and the same
// transaction sets the database's user_version to the token. A crash between the commit and the
// removal of the file leaves the claim: the next run removes it when the database carries its
// token (the list is in) and reads it again when not, so no list comes in twice or goes missing.
const QString kClaimSuffix = QStringLiteral(".imp");

// The token of a claim's name, 0 for any other name.
std::int64_t claimToken(const QString& name)
{
    if (!name.endsWith(kClaimSuffix, Qt::CaseInsensitive))
        return 0;
    const QString rest = name.chopped(kClaimSuffix.size());
    bool ok = false;
    const std::int64_t token = rest.mid(rest.lastIndexOf(u'.') + 1).toLongLong(&ok);
    return ok && token > 0 && rest.lastIndexOf(u'.') > 0 ? token : 0;
}

// The name the file came with.
QString originalName(const QString& name)
{
    if (claimToken(name) == 0)
        return name;
    const QString rest = name.chopped(kClaimSuffix.size());
    return rest.left(rest.lastIndexOf(u'.'));
}

bool isSpace(QChar c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

} // namespace

ListFileImport::ListFileImport(const DeviceRoot& root, Database& db, MessageDialogs& dialogs)
    : m_root(root)
    , m_db(db)
    , m_dialogs(dialogs)
{
}

std::int64_t ListFileImport::number(QStringView text, int decimals)
{
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    QString digits;
    digits.reserve(text.size() + decimals + 1);
    for (const QChar c : text) {
        if (c != u' ')
            digits.append(c);
    }
    qsizetype point = digits.indexOf(u'.');
    if (point < 0 && decimals != 0) {
        digits.append(u'.');
        point = digits.size() - 1;
    }
    if (point >= 0) {
        // A longer fraction stays as it is; only the first point goes.
        while (digits.size() - point - 1 < decimals)
            digits.append(u'0');
        digits.remove(point, 1);
    }
    // "%lu": white space, a sign, then digits up to the first other character. A minus negates,
    // which is what the device's unsigned result amounts to once stored in a signed field.
    qsizetype i = 0;
    while (i < digits.size() && isSpace(digits[i]))
        ++i;
    bool negative = false;
    if (i < digits.size() && (digits[i] == u'+' || digits[i] == u'-'))
        negative = digits[i++] == u'-';
    std::int64_t value = 0;
    for (; i < digits.size() && digits[i] >= u'0' && digits[i] <= u'9'; ++i)
        value = std::min(value * 10 + (digits[i].unicode() - u'0'), kNumberLimit);
    return negative ? -value : value;
}

bool ListFileImport::importFile(const QByteArray& bytes, std::int64_t listId, bool* wrongStructure)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const FileResult result = importLines(m_db, buffer, listId, nullptr);
    if (wrongStructure)
        *wrongStructure = result == FileResult::WrongStructure;
    return result == FileResult::Imported;
}

ListFileImport::Outcome ListFileImport::run()
{
    Outcome outcome;
    const QString folder = QString::fromUtf16(kFolder);
    std::int64_t committed = m_db.userVersion();
    QStringList names;
    for (const QString& name :
         m_root.find(DeviceRoot::join(folder, u'*' + kClaimSuffix), DeviceRoot::Kind::Files)) {
        const std::int64_t token = claimToken(name);
        if (token != 0 && token == committed)
            m_root.removeFile(DeviceRoot::join(folder, name));
        else if (token != 0)
            names << name;
    }
    names +=
        m_root.find(DeviceRoot::join(folder, QStringLiteral("*.dat")), DeviceRoot::Kind::Files);
    for (const QString& name : names) {
        const QString devicePath = DeviceRoot::join(folder, name);
        QFile file(m_root.hostPath(devicePath));
        // A file that cannot be read is passed over; the folder is emptied all the same.
        if (!file.open(QIODevice::ReadOnly))
            continue;
        // The number follows the last header in table order, not the largest one.
        const auto last = ListStore(m_db).lastId();
        const std::int64_t listId = last ? *last + 1 : 0;
        std::int64_t token = 0;
        while (token == 0 || token == committed)
            token = QRandomGenerator::global()->bounded(std::numeric_limits<qint32>::max());
        const QString claim = DeviceRoot::join(
            folder, QStringLiteral("%1.%2").arg(originalName(name)).arg(token) + kClaimSuffix);
        QString current = devicePath;
        const auto claimFile = [&] {
            if (!m_db.setUserVersion(token))
                return false;
            // Where the file cannot be renamed, it is removed after the commit as before.
            if (m_root.moveFile(devicePath, claim))
                current = claim;
            return true;
        };
        bool headerMade = false;
        const FileResult result = importLines(m_db, file, listId, &headerMade, claimFile);
        file.close();
        if (result != FileResult::Imported && current != devicePath)
            m_root.moveFile(current, devicePath);
        if (result == FileResult::WrongStructure) {
            m_dialogs.notice(QStringLiteral("Falsche Struktur der Liste!"));
            m_root.removeMatching(DeviceRoot::join(folder, QStringLiteral("*.*")));
            outcome.result = Result::WrongStructure;
            return outcome;
        }
        if (result == FileResult::Failed) {
            // This file and the ones after it stay for another try; those already in are gone,
            // so a second run cannot bring them in twice.
            m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
            outcome.result = Result::Failed;
            return outcome;
        }
        ++outcome.files;
        if (headerMade)
            outcome.lastList = listId;
        committed = token;
        m_root.removeFile(current);
    }
    m_root.removeMatching(DeviceRoot::join(folder, QStringLiteral("*.*")));
    return outcome;
}

} // namespace brovant
