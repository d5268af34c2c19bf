#include "evaluation/ReportSources.h"

#include "data/ListStore.h"
#include "masterdata/SettingsStore.h"

namespace brovant::report {
namespace {

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
    const auto list = ListStore(db).byId(listId);
    if (!list)
        return std::nullopt;
    return int(list->number(u"KOR_FAKTOR_N"));
}

std::optional<ListHeader> listHeader(Database& db, const SettingsStore& store, std::int64_t listId)
{
    const auto list = ListStore(db).byId(listId);
    if (!list)
        return std::nullopt;

    // The labels as imported keep their blanks; a label never imported reads as the screen's own.
    const auto label = [&store](int index, const QString& fallback) {
        const QString text = store.readText(Setting::KopfLabel, index).trimmed();
        return text.isEmpty() ? fallback : text;
    };
    ListHeader header;
    header.listNo = withoutTrailingBlanks(list->text(u"LISTE_NR"));
    header.factor = int(list->number(u"KOR_FAKTOR_N"));
    header.fields.emplace_back(QStringLiteral("Liste:"), header.listNo);
    const QString addition = list->text(u"ZUSATZ_A").trimmed();
    if (!addition.isEmpty())
        header.fields.emplace_back(label(0, QStringLiteral("Zusatz:")), addition);
    header.fields.emplace_back(label(1, QStringLiteral("Datum:")),
                               list->text(u"DATUM_A").trimmed());
    header.fields.emplace_back(label(2, QStringLiteral("Korr.-Faktor:")),
                               QStringLiteral("%1 %").arg(header.factor));
    header.fields.emplace_back(label(3, QStringLiteral("Wuchsreg:")),
                               list->text(u"REGION_A").trimmed());
    for (int k = 1; k <= kFreeFields; ++k) {
        const QString value = list->text(QStringLiteral("KOPF%1_A").arg(k)).trimmed();
        if (!value.isEmpty())
            header.fields.emplace_back(label(k + 3, QStringLiteral("Feld %1:").arg(k)), value);
    }
    return header;
}

} // namespace brovant::report
