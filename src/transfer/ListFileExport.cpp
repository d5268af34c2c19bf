#include "transfer/ListFileExport.h"

#include "data/FixedRecords.h"
#include "data/ListStore.h"
#include "data/MasterRows.h"
#include "data/RegionRows.h"
#include "data/Schema.h"
#include "data/TreeRows.h"
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

// Two regions are the same when their first eight characters agree once trailing blanks are
// gone; case counts.
QString regionKey(const FieldValue& value)
{
    return withoutTrailingBlanks(textOf(value).left(kRegionKeyLength));
}

// The named fields of a row, each formatted to its width, joined in the order given.
QString joined(const TableRow& row, std::initializer_list<const char16_t*> names)
{
    QString line;
    for (const char16_t* name : names)
        line += row.formatted(name);
    return line;
}

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
    return ListStore(m_db).markedCount();
}

int ListFileExport::writeMarked()
{
    const QString folder = QString::fromUtf16(kFolder);
    m_root.removeMatching(DeviceRoot::join(folder, QStringLiteral("*.*")));
    // Row ids first: writing a file must not disturb the walk.
    std::vector<std::int64_t> rows;
    for (const TableRow& list : ListStore(m_db).marked())
        rows.push_back(list.rowId());
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
    return transaction.active() && ListStore(m_db).markSent() && transaction.commit();
}

std::optional<std::int64_t> ListFileExport::headerRow(std::int64_t listId) const
{
    const auto list = ListStore(m_db).byId(listId);
    if (!list)
        return std::nullopt;
    return list->rowId();
}

QString ListFileExport::fileName(std::int64_t headerRowId) const
{
    const auto list = ListStore(m_db).byRowId(headerRowId);
    return (list ? list->formatted(u"LISTE_NR")
                 : TableRow(schema::Kopfdaten).formatted(u"LISTE_NR"))
           + QStringLiteral(".DAT");
}

bool ListFileExport::writeHeaderRow(std::int64_t headerRowId)
{
    const auto header = ListStore(m_db).byRowId(headerRowId);
    if (!header)
        return false;
    const auto value = [&](QStringView name) -> const FieldValue& {
        return header->value(name);
    };
    const auto formatted = [&](QStringView name) {
        return header->formatted(name);
    };
    const std::int64_t listId = header->number(u"ID_FILE");

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
    for (const TableRow& region : RegionRows(m_db).ofList(listId))
        out.add(QStringLiteral("REG") + joined(region, {u"REGION_A", u"BAUMART", u"TARIF"}));

    m_dialogs.progress(40);
    {
        const QString felled = QStringLiteral("10A");
        const QString other = QStringLiteral("10B");
        for (const TableRow& tree : TreeRows(m_db).ofList(listId)) {
            out.add((tree.number(u"ID_TYPE") == 1 ? felled : other)
                    + joined(tree, {u"PARZ", u"STK", u"BAUMART", u"BHD", u"DMSTUFE", u"KUBATUR",
                                    u"NA", u"KA", u"TARIF"}));
        }
    }

    m_dialogs.progress(60);
    {
        const QString listRegion = regionKey(value(u"REGION_A"));
        for (const TableRow& tariff :
             MasterRows(m_db).ofType(schema::TariffAssignmentRow, MasterRows::Order::ById)) {
            if (regionKey(tariff.value(u"REGION_A")) == listRegion)
                out.add(QStringLiteral("712")
                        + joined(tariff, {u"REGION_A", u"BAUMART", u"TARIF"}));
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
