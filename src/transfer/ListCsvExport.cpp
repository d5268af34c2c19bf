#include "transfer/ListCsvExport.h"

#include "data/Database.h"
#include "data/FieldDescriptor.h"
#include "data/FixedRecords.h"
#include "data/Schema.h"
#include "masterdata/SettingsStore.h"
#include "platform/DeviceRoot.h"
#include "platform/MediumFile.h"
#include "platform/MessageDialogs.h"
#include "tally/Lookup.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

namespace brovant {
namespace {

// German Excel opens a CSV without a byte order mark in the ANSI code page, which garbles every
// umlaut of a UTF-8 file; with the mark it reads UTF-8.
constexpr QByteArrayView kByteOrderMark = "\xEF\xBB\xBF";
constexpr QChar kSeparator = u';';

// The tree columns first, then the list's header data on every line, so the lines of several
// lists can be put together and sorted or pivoted without losing which list a tree came from.
constexpr const char* kHeadings[] = {
    "Liste",
    "Nr",
    "Holzart",
    "Tarif",
    "Güte",
    "Kal",
    "Stk",
    "BHD",
    "Stufe",
    "Kubatur m³",
    "Kubatur korr. m³",
    "Zusatz",
    "Datum",
    "Wuchsregion",
    "Korr.-Faktor",
};

const QString& cannotCreate()
{
    static const QString text = QStringLiteral("Datei kann nicht erzeugt werden!");
    return text;
}

QLatin1StringView tableName(const TableDescriptor& table)
{
    return QLatin1StringView(table.name);
}

// Codes and texts come blank-padded from list files and unpadded when typed.
QString textOf(const FieldValue& value)
{
    QString text;
    if (const auto* s = std::get_if<QString>(&value))
        text = *s;
    else if (const auto* n = std::get_if<std::int64_t>(&value))
        text = QString::number(*n);
    return withoutTrailingBlanks(std::move(text));
}

std::optional<std::int64_t> numberOf(const FieldValue& value)
{
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return *n;
    if (const auto* s = std::get_if<QString>(&value))
        return s->trimmed().toLongLong();
    return std::nullopt;
}

QString textCell(const FieldValue& value)
{
    return ListCsvExport::guarded(textOf(value));
}

// An empty field stays an empty cell rather than a 0 nobody entered.
QString integerCell(const FieldValue& value)
{
    const auto n = numberOf(value);
    return n ? QString::number(*n) : QString();
}

QString hundredthsCell(const FieldValue& value)
{
    const auto n = numberOf(value);
    return n ? ListCsvExport::hundredths(*n) : QString();
}

struct ListHeader {
    QString number; // LISTE_NR without trailing blanks
    QString addition;
    QString date;
    QString region;
    FieldValue factor;
};

std::optional<ListHeader> readHeader(Database& db, std::int64_t listId)
{
    auto q = db.query(QStringLiteral("SELECT LISTE_NR, ZUSATZ_A, DATUM_A, REGION_A, KOR_FAKTOR_N "
                                     "FROM %1 WHERE ID_FILE = ? ORDER BY rowid LIMIT 1")
                          .arg(tableName(schema::Kopfdaten)));
    q.bind(1, listId);
    if (!q.next())
        return std::nullopt;
    return ListHeader{textOf(q.value(0)), textOf(q.value(1)), textOf(q.value(2)),
                      textOf(q.value(3)), q.value(4)};
}

QString fileNameOf(const ListHeader& header)
{
    return header.number + QString::fromUtf16(ListCsvExport::kExtension);
}

void addLine(RecordWriter& out, const QStringList& fields)
{
    QString line;
    for (qsizetype i = 0; i < fields.size(); ++i) {
        if (i > 0)
            line += kSeparator;
        line += ListCsvExport::quoted(fields[i]);
    }
    out.add(line);
}

} // namespace

ListCsvExport::ListCsvExport(const DeviceRoot& root, Database& db, const SettingsStore& store,
                             MessageDialogs& dialogs)
    : m_root(root)
    , m_db(db)
    , m_store(store)
    , m_dialogs(dialogs)
{
}

QString ListCsvExport::folder() const
{
    const QString printer = m_store.readText(Setting::PrinterPath).trimmed();
    const QString host = m_root.hostPath(printer);
    const bool emptied = host == m_root.hostPath(QString::fromUtf16(ListFileExport::kFolder))
                         || host == m_root.hostPath(QString::fromUtf16(ListFileImport::kFolder));
    if (printer.isEmpty() || emptied)
        return SettingsStore::defaultText(Setting::PrinterPath);
    return printer;
}

QString ListCsvExport::quoted(const QString& field)
{
    if (!field.contains(kSeparator) && !field.contains(u'"') && !field.contains(u'\r')
        && !field.contains(u'\n'))
        return field;
    QString out = field;
    out.replace(u'"', QStringLiteral("\"\""));
    return u'"' + out + u'"';
}

QString ListCsvExport::guarded(const QString& text)
{
    static constexpr QStringView kFormulaStarts = u"=+-@\t\r";
    if (text.isEmpty() || !kFormulaStarts.contains(text.front()))
        return text;
    return u'\'' + text;
}

QString ListCsvExport::hundredths(std::int64_t value)
{
    const std::uint64_t magnitude =
        value < 0 ? std::uint64_t(0) - std::uint64_t(value) : std::uint64_t(value);
    return QStringLiteral("%1%2,%3")
        .arg(value < 0 ? QStringLiteral("-") : QString())
        .arg(magnitude / 100)
        .arg(magnitude % 100, 2, 10, QChar(u'0'));
}

QString ListCsvExport::filePath(std::int64_t listId) const
{
    const auto header = readHeader(m_db, listId);
    if (!header)
        return {};
    const QString name = fileNameOf(*header);
    if (header->number.isEmpty() || !DeviceRoot::isSafeFileName(name))
        return {};
    return DeviceRoot::join(folder(), name);
}

std::optional<QString> ListCsvExport::write(std::int64_t listId)
{
    const auto header = readHeader(m_db, listId);
    if (!header)
        return std::nullopt;
    const QString devicePath = filePath(listId);
    if (devicePath.isEmpty()) {
        m_dialogs.notice(cannotCreate());
        return std::nullopt;
    }
    m_root.makeFolder(folder());
    const QString path = m_root.hostPath(devicePath);
    // A link left under the name would carry the file elsewhere; the file replaces it instead.
    if (QFileInfo(path).isSymLink())
        QFile::remove(path);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_dialogs.notice(cannotCreate());
        return std::nullopt;
    }

    RecordWriter out(file, RecordWriter::Encoding::Utf8);
    out.addBytes(kByteOrderMark);
    QStringList headings;
    for (const char* heading : kHeadings)
        headings << QString::fromUtf8(heading);
    addLine(out, headings);

    // Each record's corrected volume truncated before anything sums it, as the totals screen does;
    // a list without a factor corrects to 0 there too.
    const std::int64_t factor = numberOf(header->factor).value_or(0);
    const QStringList listColumns = {guarded(header->addition), guarded(header->date),
                                     guarded(header->region), hundredthsCell(header->factor)};
    const QString number = guarded(header->number);
    auto q = m_db.query(QStringLiteral("SELECT ID, BAUMART, TARIF, NA, KA, STK, BHD, DMSTUFE, "
                                       "KUBATUR FROM %1 WHERE ID_FILE = ? ORDER BY rowid")
                            .arg(tableName(schema::Holzdaten)));
    if (!q.valid()) {
        file.cancelWriting();
        m_dialogs.notice(cannotCreate());
        return std::nullopt;
    }
    q.bind(1, listId);
    while (q.next()) {
        const FieldValue volume = q.value(8);
        const auto stored = numberOf(volume);
        addLine(
            out,
            QStringList{number, integerCell(q.value(0)), textCell(q.value(1)), textCell(q.value(2)),
                        textCell(q.value(3)), textCell(q.value(4)), integerCell(q.value(5)),
                        integerCell(q.value(6)), textCell(q.value(7)), hundredthsCell(volume),
                        stored ? hundredths(lookup::correctedVolume(*stored, factor)) : QString()}
                + listColumns);
    }
    out.flush();
    if (!commitToMedium(file)) {
        m_dialogs.notice(cannotCreate());
        return std::nullopt;
    }
    return devicePath;
}

} // namespace brovant
