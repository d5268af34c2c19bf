#include "tool/ToolEvaluation.h"

#include "data/FieldDescriptor.h"
#include "tool/ToolCommands.h"

#include "app/logic/ListSelectionLogic.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "evaluation/Totals.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "tally/TallyLogic.h"
#include "tool/ConsoleDialogs.h"

#include <QCommandLineParser>

#include <array>
#include <optional>

namespace brovant {
namespace {

const QString kDiameterOption = QStringLiteral("bhd");
const QString kSpeciesOption = QStringLiteral("species");
const QString kCountOption = QStringLiteral("stk");
const QString kTariffOption = QStringLiteral("tarif");

// The first list in table order whose LISTE_NR, without its padding, is `name`.
std::optional<std::int64_t> findList(DeviceSession& session, const QString& name, QTextStream& err)
{
    const QString wanted = withoutTrailingBlanks(name);
    for (const auto& row : ListSelectionLogic::readRows(session.database())) {
        if (withoutTrailingBlanks(row.listNo) == wanted)
            return row.idFile;
    }
    err << "Liste nicht gefunden: " << name << '\n';
    return std::nullopt;
}

// A whole number given for `option`; false, with the reason on `err`, otherwise.
bool numberOption(const QCommandLineParser& parser, const QString& option, QTextStream& err)
{
    bool ok = false;
    parser.value(option).trimmed().toLongLong(&ok);
    if (!ok)
        err << "Ungültige Zahl für --" << option << ": " << parser.value(option) << '\n';
    return ok;
}

int printTotals(DeviceSession& session, std::int64_t listId, QTextStream& out, QTextStream& err)
{
    const auto totals = Totals::compute(session.database(), listId);
    if (!totals) {
        err << "Datenbank nicht lesbar!\n";
        return 1;
    }
    for (const Totals::Row& row : totals->rows())
        out << QStringList(row.begin(), row.end()).join(u'|') << '\n';
    return 0;
}

// The list's last record, the one a save from behind the last record has just written.
void printSavedTree(Database& db, std::int64_t listId, QTextStream& out)
{
    Dataset trees(db, schema::Holzdaten);
    trees.reset(Filter::byList(listId));
    trees.moveLast();
    for (const char16_t* field : {u"ID", u"ID_TYPE"})
        out << QStringView(field) << '=' << trees.loadInt(field) << '\n';
    for (const char16_t* field : {u"TARIF", u"BAUMART", u"NA", u"KA"})
        out << QStringView(field) << '=' << withoutTrailingBlanks(trees.loadText(field)) << '\n';
    for (const char16_t* field : {u"STK", u"BHD"})
        out << QStringView(field) << '=' << trees.loadInt(field) << '\n';
    out << "DMSTUFE=" << withoutTrailingBlanks(trees.loadText(u"DMSTUFE")) << '\n';
    out << "KUBATUR=" << formatScaled(trees.loadInt(u"KUBATUR"), 2) << '\n';
}

int tally(DeviceSession& session, std::int64_t listId, const QCommandLineParser& parser,
          QTextStream& out, QTextStream& err)
{
    const MasterTables tables = loadSettings(session.store(), session.database(), nullptr, nullptr);
    // A run of its own remembers what the screen would have: the tariffs flagged at the last
    // shutdown, and over them the tariff of each species' latest tree in this list.
    std::array<QString, TallyLogic::kSpeciesSlots> speciesTariffs;
    auto earlier = session.database().query(QStringLiteral(
        "SELECT BAUMART, TARIF FROM Brov_Holzdaten WHERE ID_FILE = ? ORDER BY rowid"));
    earlier.bind(1, listId);
    while (earlier.next()) {
        const int slot = tables.speciesIndex(earlier.text(0));
        if (slot >= 0)
            speciesTariffs[size_t(slot)] = withoutTrailingBlanks(earlier.text(1)).left(5);
    }
    TallyLogic::recallSpeciesTariffs(session.database(), tables, speciesTariffs);
    ConsoleDialogs dialogs(err, false);
    TallyLogic logic(session.database(), tables, speciesTariffs, dialogs);
    if (!logic.open(listId)) {
        err << "Datenbank nicht lesbar!\n";
        return 1;
    }
    // In the order the screen's fields are entered: the species proposes its tariff, which a
    // given tariff then replaces; the diameter last, as it finds the class and the volume.
    using Field = TallyLogic::Field;
    if (parser.isSet(kSpeciesOption))
        logic.setField(Field::Species, parser.value(kSpeciesOption));
    if (parser.isSet(kTariffOption))
        logic.setField(Field::Tariff, parser.value(kTariffOption));
    if (parser.isSet(kCountOption))
        logic.setField(Field::Count, parser.value(kCountOption));
    logic.setField(Field::Diameter, parser.value(kDiameterOption));
    // A refused tree has had its message lines printed by the dialogs.
    if (!logic.save())
        return 1;
    printSavedTree(session.database(), listId, out);
    return 0;
}

} // namespace

QString evaluationCommandsHelp()
{
    return QStringLiteral(
        "\n  totals LISTE_NR      the totals screen's rows of the list (cells separated by '|')"
        "\n  tally LISTE_NR --bhd N [--species S] [--stk N] [--tarif T]"
        "\n                       save one tree with the tally screen's checks; prints its fields");
}

void addEvaluationOptions(QCommandLineParser& parser)
{
    parser.addOption(
        {kDiameterOption, QStringLiteral("tally: diameter in cm."), QStringLiteral("N")});
    parser.addOption({kSpeciesOption, QStringLiteral("tally: species (else the previous tree's)."),
                      QStringLiteral("S")});
    parser.addOption(
        {kCountOption, QStringLiteral("tally: number of trees (else 1)."), QStringLiteral("N")});
    parser.addOption({kTariffOption,
                      QStringLiteral("tally: tariff (else the previous tree's when the species "
                                     "stays, none when it changes)."),
                      QStringLiteral("T")});
}

int runEvaluationCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                         QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    if (args.size() != 2)
        return -1;
    const bool totals = args.first() == QLatin1StringView("totals");
    if (!totals && args.first() != QLatin1StringView("tally"))
        return -1;

    if (!totals) {
        if (!parser.isSet(kDiameterOption)) {
            err << "tally: --bhd fehlt\n";
            return 2;
        }
        if (!numberOption(parser, kDiameterOption, err)
            || (parser.isSet(kCountOption) && !numberOption(parser, kCountOption, err)))
            return 2;
    }
    if (!openDatabaseOrReport(session, err))
        return 1;
    const auto listId = findList(session, args[1], err);
    if (!listId)
        return 1;
    return totals ? printTotals(session, *listId, out, err)
                  : tally(session, *listId, parser, out, err);
}

} // namespace brovant
