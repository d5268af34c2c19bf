#include "transfer/ListFileExport.h"

#include "data/Database.h"
#include "data/FieldDescriptor.h"
#include "data/FixedRecords.h"
#include "data/Schema.h"
#include "masterdata/SettingsStore.h"
#include "platform/DeviceRoot.h"
#include "platform/MediumFile.h"
#include "platform/MessageDialogs.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <vector>

namespace brovant {
namespace {

// The office identifies the sender by this word and the format tag; the device number is 0.
constexpr QLatin1StringView kHeaderWord("Quendrax");
constexpr QLatin1StringView kFormatTag("Brovant_V300_D");
constexpr int kLabelWidth = 20;
constexpr int kRegionKeyLength = 8;

const QString& cannotCreate()
{
    static const QString text = QStringLiteral("Datei kann nicht erzeugt werden!");
    return text;
}

QLatin1StringView tableName(const TableDescriptor& table)
{
    return QLatin1StringView(table.name);
}

const FieldDescriptor& fieldOf(const TableDescriptor& table, QStringView name)
{
    return table.fields[size_t(table.indexOf(name))];
}

std::int64_t numberOf(const FieldValue& value)
{
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return *n;
    if (const auto* s = std::get_if<QString>(&value))
        return s->trimmed().toLongLong();
    return 0;
}

QString textOf(const FieldValue& value)
{
    if (const auto* s = std::get_if<QString>(&value))
        return *s;
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return QString::number(*n);
    return {};
}

// Two regions are the same when their first eight characters agree once trailing blanks are
// gone; case counts.
QString regionKey(const FieldValue& value)
{
    return withoutTrailingBlanks(textOf(value).left(kRegionKeyLength));
}

// Columns of a SELECT and the fields that format them, in one order.
class Columns {
public:
    Columns(const TableDescriptor& table, std::initializer_list<const char16_t*> names)
    {
        for (const char16_t* name : names) {
            m_fields.push_back(&fieldOf(table, name));
            m_sql +=
                (m_sql.isEmpty() ? QString() : QStringLiteral(", ")) + QString::fromUtf16(name);
        }
    }
    const QString& sql() const { return m_sql; }
    QString formatted(const Database::Query& q, int column) const
    {
        return formatValue(*m_fields[size_t(column)], q.value(column));
    }
    // All columns formatted and joined, from `first` on.
    QString joined(const Database::Query& q, int first = 0) const
    {
        QString line;
        for (int i = first; i < int(m_fields.size()); ++i)
            line += formatted(q, i);
        return line;
    }

private:
    std::vector<const FieldDescriptor*> m_fields;
    QString m_sql;
};

QString label(const SettingsStore& store, int index)
{
    // "%-20s": padded, never cut.
    return store.readText(Setting::KopfLabel, index).leftJustified(kLabelWidth, u' ');
}

// The header record's texts as "KOPF<n>_A".
QString headerTextField(int n)
{
    return QStringLiteral("KOPF%1_A").arg(n);
}

} // namespace

ListFileExport::ListFileExport(const DeviceRoot& root, Database& db, const SettingsStore& store,
                               MessageDialogs& dialogs)
    : m_root(root)
    , m_db(db)
    , m_store(store)
    , m_dialogs(dialogs)
{
}

int ListFileExport::markedCount() const
{
    auto q = m_db.query(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE DUE_MARK <> 0")
                            .arg(tableName(schema::Kopfdaten)));
    return q.next() ? int(q.integer(0)) : 0;
}

int ListFileExport::writeMarked()
{
    const QString folder = QString::fromUtf16(kFolder);
    m_root.removeMatching(DeviceRoot::join(folder, QStringLiteral("*.*")));
    // Row ids first: writing a file must not disturb the walk.
    std::vector<std::int64_t> rows;
    {
        auto q =
            m_db.query(QStringLiteral("SELECT rowid FROM %1 WHERE DUE_MARK <> 0 ORDER BY rowid")
                           .arg(tableName(schema::Kopfdaten)));
        while (q.next())
            rows.push_back(q.integer(0));
    }
    // A list whose file cannot be written is still counted, and unmarked with the others after
    // the transfer; its message has been shown.
    for (const std::int64_t row : rows)
        writeHeaderRow(row);
    return int(rows.size());
}

bool ListFileExport::writeList(std::int64_t listId)
{
    const auto row = headerRow(listId);
    return row && writeHeaderRow(*row);
}

QString ListFileExport::filePath(std::int64_t listId) const
{
    const auto row = headerRow(listId);
    if (!row)
        return {};
    const QString name = fileName(*row);
    if (!DeviceRoot::isSafeFileName(name))
        return {};
    return DeviceRoot::join(QString::fromUtf16(kFolder), name);
}

bool ListFileExport::markExported()
{
    Database::Transaction transaction(m_db);
    auto q = m_db.query(QStringLiteral("UPDATE %1 SET DUE_MARK = 0, "
                                       "EXPORTED_N_NI = COALESCE(EXPORTED_N_NI, 0) + 1 "
                                       "WHERE DUE_MARK <> 0")
                            .arg(tableName(schema::Kopfdaten)));
    return transaction.active() && q.run() && transaction.commit();
}

std::optional<std::int64_t> ListFileExport::headerRow(std::int64_t listId) const
{
    auto q =
        m_db.query(QStringLiteral("SELECT rowid FROM %1 WHERE ID_FILE = ? ORDER BY rowid LIMIT 1")
                       .arg(tableName(schema::Kopfdaten)));
    q.bind(1, listId);
    if (!q.next())
        return std::nullopt;
    return q.integer(0);
}

QString ListFileExport::fileName(std::int64_t headerRowId) const
{
    auto q = m_db.query(QStringLiteral("SELECT LISTE_NR FROM %1 WHERE rowid = ?")
                            .arg(tableName(schema::Kopfdaten)));
    q.bind(1, headerRowId);
    const FieldValue value = q.next() ? q.value(0) : FieldValue{};
    return formatValue(fieldOf(schema::Kopfdaten, u"LISTE_NR"), value) + QStringLiteral(".DAT");
}

bool ListFileExport::writeHeaderRow(std::int64_t headerRowId)
{
    // Every header field, in the table's order, so a column is its field's index.
    const TableDescriptor& kopf = schema::Kopfdaten;
    std::vector<FieldValue> header(kopf.fields.size());
    {
        QString columns;
        for (const FieldDescriptor& f : kopf.fields)
            columns +=
                (columns.isEmpty() ? QString() : QStringLiteral(", ")) + QLatin1StringView(f.name);
        auto q = m_db.query(
            QStringLiteral("SELECT %1 FROM %2 WHERE rowid = ?").arg(columns, tableName(kopf)));
        q.bind(1, headerRowId);
        if (!q.next())
            return false;
        for (size_t i = 0; i < header.size(); ++i)
            header[i] = q.value(int(i));
    }
    const auto value = [&](QStringView name) -> const FieldValue& {
        return header[size_t(kopf.indexOf(name))];
    };
    const auto formatted = [&](QStringView name) {
        return formatValue(fieldOf(kopf, name), value(name));
    };
    const std::int64_t listId = numberOf(value(u"ID_FILE"));

    // A list number from the office may hold anything; it never names a file outside "\Export".
    const QString name = formatted(u"LISTE_NR") + QStringLiteral(".DAT");
    if (!DeviceRoot::isSafeFileName(name)) {
        m_dialogs.notice(cannotCreate());
        return false;
    }
    const QString folder = QString::fromUtf16(kFolder);
    m_root.makeFolder(folder);
    const QString path = m_root.hostPath(DeviceRoot::join(folder, name));
    // A link left under the name would carry the file elsewhere; the file replaces it instead.
    if (QFileInfo(path).isSymLink())
        QFile::remove(path);
    // Written under a temporary name and renamed into place when complete.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_dialogs.notice(cannotCreate());
        return false;
    }

    m_dialogs.info(MessageDialogs::Show, QStringLiteral("Datenübertragung wird"),
                   QStringLiteral("vorbereitet..."), name);
    m_dialogs.progress(0);
    // Each line cut to the limit with its CR LF kept, so a record never runs into the next one.
    RecordWriter out(file, RecordWriter::Encoding::Windows1252,
                     kMaxLine - int(RecordWriter::kLineEnd.size()));

    out.add(QStringLiteral("TD0") + name + kHeaderWord + QStringLiteral("%1").arg(0, 6)
            + kFormatTag);
    out.add(QStringLiteral("001") + formatted(u"LISTE_NR") + label(m_store, 0)
            + formatted(u"ZUSATZ_A") + label(m_store, 1) + formatted(u"DATUM_A") + label(m_store, 2)
            + formatted(u"KOR_FAKTOR_N") + label(m_store, 3) + formatted(u"REGION_A")
            + formatted(u"STRUKTUR"));
    // Records 002 to 009 carry the texts 2n-3 and 2n-2 with labels 2n and 2n+1.
    for (int record = 2; record <= 9; ++record) {
        const QString first = headerTextField(2 * record - 3);
        const QString second = headerTextField(2 * record - 2);
        if (isEmptyValue(value(first)) && isEmptyValue(value(second)))
            continue;
        out.add(QStringLiteral("%1").arg(record, 3, 10, QChar(u'0')) + label(m_store, 2 * record)
                + formatted(first) + label(m_store, 2 * record + 1) + formatted(second)
                + QString::number(m_store.readInt(Setting::Plausi, 2 * record - 3))
                + QString::number(m_store.readInt(Setting::Plausi, 2 * record - 2)));
    }

    m_dialogs.progress(10);
    {
        const Columns regions(schema::Region, {u"REGION_A", u"BAUMART", u"TARIF"});
        auto q = m_db.query(QStringLiteral("SELECT %1 FROM %2 WHERE ID_FILE = ? ORDER BY rowid")
                                .arg(regions.sql(), tableName(schema::Region)));
        q.bind(1, listId);
        while (q.next())
            out.add(QStringLiteral("REG") + regions.joined(q));
    }

    m_dialogs.progress(40);
    {
        const Columns trees(schema::Holzdaten, {u"ID_TYPE", u"PARZ", u"STK", u"BAUMART", u"BHD",
                                                u"DMSTUFE", u"KUBATUR", u"NA", u"KA", u"TARIF"});
        auto q = m_db.query(QStringLiteral("SELECT %1 FROM %2 WHERE ID_FILE = ? ORDER BY rowid")
                                .arg(trees.sql(), tableName(schema::Holzdaten)));
        q.bind(1, listId);
        const QString felled = QStringLiteral("10A");
        const QString other = QStringLiteral("10B");
        while (q.next())
            out.add((numberOf(q.value(0)) == 1 ? felled : other) + trees.joined(q, 1));
    }

    m_dialogs.progress(60);
    {
        const QString listRegion = regionKey(value(u"REGION_A"));
        const Columns tariffs(schema::Einstellungen, {u"REGION_A", u"BAUMART", u"TARIF"});
        auto q = m_db.query(QStringLiteral("SELECT %1 FROM %2 WHERE ID_TYPE = ? ORDER BY ID, rowid")
                                .arg(tariffs.sql(), tableName(schema::Einstellungen)));
        q.bind(1, std::int64_t(schema::TariffAssignmentRow));
        while (q.next()) {
            if (regionKey(q.value(0)) == listRegion)
                out.add(QStringLiteral("712") + tariffs.joined(q));
        }
    }

    m_dialogs.progress(70);
    m_dialogs.progress(90);
    out.flush();
    const bool written = commitToMedium(file);
    m_dialogs.info(MessageDialogs::Hide, QString());
    // Nothing reached "\Export" under the list's name; say so rather than send without it.
    if (!written)
        m_dialogs.notice(cannotCreate());
    return written;
}

} // namespace brovant
