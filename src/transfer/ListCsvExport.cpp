#include "transfer/ListCsvExport.h"

#include "data/FixedRecords.h"
#include "data/ListStore.h"
#include "data/TreeRows.h"
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

// Codes and texts come blank-padded from list files and unpadded when typed.
QString unpadded(const FieldValue& value)
{
    return withoutTrailingBlanks(textOf(value));
}

// Empty when nothing was stored.
std::optional<std::int64_t> storedNumber(const FieldValue& value)
{
    if (std::holds_alternative<std::monostate>(value))
        return std::nullopt;
    return numberOf(value);
}

QString textCell(const FieldValue& value)
{
    return ListCsvExport::guarded(unpadded(value));
}

// An empty field stays an empty cell rather than a 0 nobody entered.
QString integerCell(const FieldValue& value)
{
    const auto n = storedNumber(value);
    return n ? QString::number(*n) : QString();
}

QString hundredthsCell(const FieldValue& value)
{
    const auto n = storedNumber(value);
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
    const auto list = ListStore(db).byId(listId);
    if (!list)
        return std::nullopt;
    return ListHeader{unpadded(list->value(u"LISTE_NR")), unpadded(list->value(u"ZUSATZ_A")),
                      unpadded(list->value(u"DATUM_A")), unpadded(list->value(u"REGION_A")),
                      list->value(u"KOR_FAKTOR_N")};
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
    const std::int64_t factor = storedNumber(header->factor).value_or(0);
    const QStringList listColumns = {guarded(header->addition), guarded(header->date),
                                     guarded(header->region), hundredthsCell(header->factor)};
    const QString number = guarded(header->number);
    const auto add = [&](const Database::Query& q) {
        const FieldValue volume = q.value(8);
        const auto stored = storedNumber(volume);
        addLine(
            out,
            QStringList{number, integerCell(q.value(0)), textCell(q.value(1)), textCell(q.value(2)),
                        textCell(q.value(3)), textCell(q.value(4)), integerCell(q.value(5)),
                        integerCell(q.value(6)), textCell(q.value(7)), hundredthsCell(volume),
                        stored ? hundredths(lookup::correctedVolume(*stored, factor)) : QString()}
                + listColumns);
        return true;
    };
    if (!TreeRows(m_db).scan(
            listId, TreeRows::Order::Stored,
            {"ID", "BAUMART", "TARIF", "NA", "KA", "STK", "BHD", "DMSTUFE", "KUBATUR"}, add)) {
        file.cancelWriting();
        m_dialogs.notice(cannotCreate());
        return std::nullopt;
    }
    out.flush();
    if (!commitToMedium(file)) {
        m_dialogs.notice(cannotCreate());
        return std::nullopt;
    }
    return devicePath;
}

} // namespace brovant
