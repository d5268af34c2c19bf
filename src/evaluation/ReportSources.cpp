#include "evaluation/ReportSources.h"

#include "data/Database.h"
#include "data/FieldDescriptor.h"
#include "masterdata/SettingsStore.h"

namespace brovant::report {
namespace {

std::int64_t numberOf(const FieldValue& value)
{
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return *n;
    if (const auto* s = std::get_if<QString>(&value))
        return s->trimmed().toLongLong();
    return 0;
}

constexpr int kFreeFields = 16;

} // namespace

QStringList companyLines(const SettingsStore& store)
{
    QStringList lines;
    for (int i = 1; i <= 5; ++i) {
        QString text = withoutTrailingBlanks(store.readText(Setting::Firmenkopf, i));
        if (text.trimmed().isEmpty() && i <= 3)
            text = QString::fromUtf16(kDefaultCompany[i - 1]);
        if (!text.trimmed().isEmpty())
            lines << text;
    }
    return lines;
}

std::optional<int> listFactor(Database& db, std::int64_t listId)
{
    auto q = db.query(QStringLiteral("SELECT KOR_FAKTOR_N FROM Brov_Kopfdaten WHERE ID_FILE = ?"
                                     " ORDER BY rowid LIMIT 1"));
    q.bind(1, listId);
    if (!q.next())
        return std::nullopt;
    return int(numberOf(q.value(0)));
}

std::optional<ListHeader> listHeader(Database& db, const SettingsStore& store, std::int64_t listId)
{
    QString columns = QStringLiteral("LISTE_NR, ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, REGION_A");
    for (int k = 1; k <= kFreeFields; ++k)
        columns += QStringLiteral(", KOPF%1_A").arg(k);
    auto q = db.query(QStringLiteral("SELECT %1 FROM Brov_Kopfdaten WHERE ID_FILE = ?"
                                     " ORDER BY rowid LIMIT 1")
                          .arg(columns));
    q.bind(1, listId);
    if (!q.next())
        return std::nullopt;

    // The labels as imported keep their blanks; a label never imported reads as the screen's own.
    const auto label = [&store](int index, const QString& fallback) {
        const QString text = store.readText(Setting::KopfLabel, index).trimmed();
        return text.isEmpty() ? fallback : text;
    };
    ListHeader header;
    header.listNo = withoutTrailingBlanks(q.text(0));
    header.factor = int(numberOf(q.value(3)));
    header.fields.emplace_back(QStringLiteral("Liste:"), header.listNo);
    const QString addition = q.text(1).trimmed();
    if (!addition.isEmpty())
        header.fields.emplace_back(label(0, QStringLiteral("Zusatz:")), addition);
    header.fields.emplace_back(label(1, QStringLiteral("Datum:")), q.text(2).trimmed());
    header.fields.emplace_back(label(2, QStringLiteral("Korr.-Faktor:")),
                               QStringLiteral("%1 %").arg(header.factor));
    header.fields.emplace_back(label(3, QStringLiteral("Wuchsreg:")), q.text(4).trimmed());
    for (int k = 1; k <= kFreeFields; ++k) {
        const QString value = q.text(4 + k).trimmed();
        if (!value.isEmpty())
            header.fields.emplace_back(label(k + 3, QStringLiteral("Feld %1:").arg(k)), value);
    }
    return header;
}

} // namespace brovant::report
