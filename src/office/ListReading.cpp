#include "office/ListReading.h"

#include "data/Database.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "evaluation/DiameterDistribution.h"
#include "evaluation/Totals.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "transfer/ListCsvExport.h"
#include "platform/Cp1252.h"
#include "platform/MessageDialogs.h"
#include "platform/DeviceRoot.h"
#include "tally/Lookup.h"
#include "transfer/ListFileImport.h"

#include <QDate>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <map>

namespace brovant::office {
namespace {

constexpr int kLabelWidth = 20;

// A device database in memory, thrown away with the reading.
class Scratch {
public:
    Scratch() : m_db(QString::fromLatin1(Database::kInMemory), Database::Durability::Relaxed)
    {
        m_db.open();
    }
    Database& db() { return m_db; }
    bool import(const QByteArray& bytes, std::int64_t listId, bool* wrongStructure = nullptr)
    {
        ListFileImport import(m_root, m_db, m_dialogs);
        return import.importFile(bytes, listId, wrongStructure);
    }

private:
    Database m_db;
    DeviceRoot m_root{QString()};
    // Nobody answers: the import asks nothing of a file it reads from bytes.
    ScriptedDialogs m_dialogs;
};

int fieldWidth(const TableDescriptor& table, const char* field)
{
    const int index = table.indexOf(QString::fromLatin1(field));
    return index < 0 ? 0 : table.fields[size_t(index)].width();
}

QString trimmed(const QString& text)
{
    return withoutTrailingBlanks(text);
}

QString dayOf(const QString& date)
{
    for (const char* format : {"dd.MM.yyyy", "d.M.yyyy", "yyyy-MM-dd", "dd.MM.yy"}) {
        QDate day = QDate::fromString(date.trimmed(), QLatin1StringView(format));
        if (day.isValid()) {
            if (day.year() < 1950)
                day = day.addYears(100);
            return day.toString(Qt::ISODate);
        }
    }
    return {};
}

// Record "001" as a device writes it: number, label, Zusatz, label, date, label, factor, label,
// region, structure tag, each in its field's width.
struct DeviceHead {
    QString listNumber, zusatz, date, factor, region, tag;
    QString labels[4];
};

DeviceHead deviceHeadOf(const QString& line)
{
    DeviceHead head;
    int at = 3;
    const auto take = [&](int width) {
        const QString part = line.mid(at, width);
        at += width;
        return part;
    };
    head.listNumber = take(fieldWidth(schema::Kopfdaten, "LISTE_NR"));
    head.labels[0] = take(kLabelWidth);
    head.zusatz = take(fieldWidth(schema::Kopfdaten, "ZUSATZ_A"));
    head.labels[1] = take(kLabelWidth);
    head.date = take(fieldWidth(schema::Kopfdaten, "DATUM_A"));
    head.labels[2] = take(kLabelWidth);
    head.factor = take(fieldWidth(schema::Kopfdaten, "KOR_FAKTOR_N"));
    head.labels[3] = take(kLabelWidth);
    head.region = take(fieldWidth(schema::Kopfdaten, "REGION_A"));
    head.tag = take(fieldWidth(schema::Kopfdaten, "STRUKTUR"));
    return head;
}

// The same record in the columns the office sends to a device, which the list import reads:
// number, label, date, label, factor, label, region, tag (no Zusatz).
QString officeHeadOf(const DeviceHead& head)
{
    return QStringLiteral("001") + head.listNumber + head.labels[0].left(kLabelWidth) + head.date +
           head.labels[2] + head.factor + head.labels[3] + head.region + head.tag;
}

// The labels a device wrote into records "002" to "009", by header text 1 to 16.
std::vector<QString> textLabelsOf(const QList<QByteArray>& lines)
{
    std::vector<QString> labels(17);
    const int text = fieldWidth(schema::Kopfdaten, "KOPF1_A");
    for (const QByteArray& raw : lines) {
        if (raw.size() < 3 || raw[0] != '0' || raw[1] != '0' || raw[2] < '2' || raw[2] > '9')
            continue;
        const QString line = cp1252::decode(raw);
        const int first = 1 + (raw[2] - '2') * 2;
        labels[size_t(first)] = line.mid(3, kLabelWidth).trimmed();
        labels[size_t(first + 1)] = line.mid(3 + kLabelWidth + text, kLabelWidth).trimmed();
    }
    return labels;
}

} // namespace

std::variant<PreparedList, QString> prepareListFile(const QByteArray& bytes)
{
    if (bytes.size() > kMaxListFileBytes)
        return QStringLiteral("Datei zu groß");
    if (bytes.isEmpty())
        return QStringLiteral("leere Datei");
    if (!bytes.startsWith("TD0") || bytes.contains('\0'))
        return QStringLiteral("keine Listendatei");
    // Every line of a whole file ends with CR LF; a file cut short ends inside a line.
    if (!bytes.endsWith("\r\n"))
        return QStringLiteral("Datei unvollständig");
    QList<QByteArray> lines = bytes.split('\n');
    lines.removeLast(); // after the last CR LF
    for (QByteArray& line : lines)
        line.chop(1); // its CR
    const auto headAt = std::find_if(lines.begin(), lines.end(),
                                     [](const QByteArray& line) { return line.startsWith("001"); });
    if (headAt == lines.end())
        return QStringLiteral("Datei unvollständig");
    const DeviceHead head = deviceHeadOf(cp1252::decode(*headAt));
    if (head.tag != QLatin1StringView(schema::kStructureVersion))
        return QStringLiteral("Falsche Struktur der Liste!");
    PreparedList out;
    out.bytes.reserve(bytes.size());
    for (const QByteArray& line : lines) {
        out.bytes += &line == &*headAt ? cp1252::encode(officeHeadOf(head)) : line;
        out.bytes += "\r\n";
    }
    out.zusatz = trimmed(head.zusatz);
    out.labels = textLabelsOf(lines);
    out.labels[0] = head.labels[0].trimmed();
    // "TD0" NAME "Quendrax" %6lu TAG: the device number stands after the fixed word.
    const qsizetype word = lines.front().indexOf("Quendrax");
    if (word >= 0)
        out.device = QString::fromLatin1(lines.front().mid(word + 8, 6)).trimmed();
    return out;
}

std::optional<PreparedList> preparedForImport(const QByteArray& bytes)
{
    auto prepared = prepareListFile(bytes);
    if (auto* list = std::get_if<PreparedList>(&prepared))
        return std::move(*list);
    return std::nullopt;
}

std::variant<ListContent, QString> readListFile(const QByteArray& bytes)
{
    const auto prepared = prepareListFile(bytes);
    if (const auto* reason = std::get_if<QString>(&prepared))
        return *reason;
    const PreparedList& list = std::get<PreparedList>(prepared);
    Scratch scratch;
    bool wrongStructure = false;
    if (!scratch.import(list.bytes, 1, &wrongStructure))
        return wrongStructure ? QStringLiteral("Falsche Struktur der Liste!")
                              : QStringLiteral("Liste nicht lesbar");

    ListContent content;
    Dataset stored(scratch.db(), schema::Kopfdaten);
    if (!stored.reset(Filter::byList(1)) || stored.eof())
        return QStringLiteral("Liste nicht lesbar");
    content.listNumber = trimmed(stored.loadText(u"LISTE_NR"));
    content.date = trimmed(stored.loadText(u"DATUM_A"));
    content.day = dayOf(content.date);
    content.region = trimmed(stored.loadText(u"REGION_A"));
    content.factor = int(stored.loadInt(u"KOR_FAKTOR_N"));
    content.device = list.device;
    const std::vector<QString>& labels = list.labels;
    content.header.push_back({labels[0], list.zusatz});
    for (int i = 1; i <= 16; ++i)
        content.header.push_back(
            {labels[size_t(i)], trimmed(stored.loadText(QStringLiteral("KOPF%1_A").arg(i)))});

    Dataset regions(scratch.db(), schema::Region);
    if (regions.reset(Filter::byList(1)))
        for (bool more = !regions.eof(); more; more = regions.moveNext())
            content.regions.push_back({trimmed(regions.loadText(u"REGION_A")),
                                       trimmed(regions.loadText(u"BAUMART")),
                                       trimmed(regions.loadText(u"TARIF"))});
    Dataset trees(scratch.db(), schema::Holzdaten);
    if (trees.reset(Filter::byList(1)))
        for (bool more = !trees.eof(); more; more = trees.moveNext()) {
            StoredTree t;
            t.kind = trees.loadInt(u"ID_TYPE") == 1 ? 1 : 2;
            t.parcel = trimmed(trees.loadText(u"PARZ"));
            t.count = int(trees.loadInt(u"STK"));
            t.species = trimmed(trees.loadText(u"BAUMART"));
            t.diameter = int(trees.loadInt(u"BHD"));
            t.diameterClass = trimmed(trees.loadText(u"DMSTUFE"));
            t.volume = trees.loadInt(u"KUBATUR");
            t.na = trimmed(trees.loadText(u"NA"));
            t.ka = trimmed(trees.loadText(u"KA"));
            t.tariff = trimmed(trees.loadText(u"TARIF"));
            content.trees.push_back(t);
        }
    if (const auto totals = Totals::compute(scratch.db(), 1)) {
        content.treeCount = totals->count();
        content.volume = totals->volume();
    }
    return content;
}

std::vector<TotalsRow> totalsOf(const std::vector<QByteArray>& listFiles)
{
    Scratch scratch;
    // One list: the device's own rows. Several: species summed in order of first appearance.
    std::vector<SpeciesTotal> species;
    std::int64_t count = 0, volume = 0;
    std::int64_t id = 0;
    for (const QByteArray& bytes : listFiles) {
        const auto prepared = preparedForImport(bytes);
        if (!prepared || !scratch.import(prepared->bytes, ++id))
            continue;
        const auto totals = Totals::compute(scratch.db(), id);
        if (!totals)
            continue;
        if (listFiles.size() == 1)
            return totals->rows();
        for (const SpeciesTotal& t : totals->species()) {
            auto found = std::find_if(species.begin(), species.end(),
                                      [&](const SpeciesTotal& s) { return s.species == t.species; });
            if (found == species.end())
                species.push_back(t);
            else {
                found->count += t.count;
                found->volume += t.volume;
            }
        }
        count += totals->count();
        volume += totals->volume();
    }
    std::sort(species.begin(), species.end(),
              [](const SpeciesTotal& a, const SpeciesTotal& b) { return a.species < b.species; });
    std::vector<TotalsRow> rows;
    for (const SpeciesTotal& t : species)
        rows.push_back(Totals::cells(t.species, t.volume, t.count));
    rows.push_back(TotalsRow{});
    rows.push_back(Totals::cells(QString(), volume, count));
    return rows;
}

std::vector<ClassTotal> classTotalsOf(const std::vector<QByteArray>& listFiles)
{
    std::map<std::pair<QString, QString>, ClassTotal> sums;
    for (const QByteArray& bytes : listFiles) {
        auto read = readListFile(bytes);
        auto* content = std::get_if<ListContent>(&read);
        if (!content)
            continue;
        for (const StoredTree& t : content->trees) {
            ClassTotal& sum = sums[{t.species, t.diameterClass}];
            sum.species = t.species;
            sum.diameterClass = t.diameterClass;
            sum.count += t.count;
            sum.volume += lookup::correctedVolume(t.volume, content->factor);
        }
    }
    std::vector<ClassTotal> out;
    for (auto& [key, sum] : sums)
        out.push_back(sum);
    return out;
}

} // namespace brovant::office
