#include "tool/ToolEvaluation.h"

#include "data/FieldDescriptor.h"
#include "tool/ToolCommands.h"

#include "workflow/ListSelectionLogic.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "data/TreeRows.h"
#include "evaluation/Totals.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "workflow/TallyLogic.h"
#include "tool/ConsoleDialogs.h"

#include <QCommandLineParser>
#include <QFile>
#include <QRegularExpression>

#include <array>
#include <cstdio>
#include <functional>
#include <optional>
#include <utility>

namespace brovant {
namespace {

const QString kDiameterOption = QStringLiteral("bhd");
const QString kSpeciesOption = QStringLiteral("species");
const QString kCountOption = QStringLiteral("stk");
const QString kTariffOption = QStringLiteral("tarif");
const QString kTreesOption = QStringLiteral("trees");

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

// A whole number given for `option`; false, with the reason on `err` after `where`, otherwise.
bool numberOption(const QCommandLineParser& parser, const QString& option, QTextStream& err,
                  const QString& where = {})
{
    bool ok = false;
    parser.value(option).trimmed().toLongLong(&ok);
    if (!ok)
        err << where << "Ungültige Zahl für --" << option << ": " << parser.value(option) << '\n';
    return ok;
}

// One tree as the options give it; what is not given stays as the screen has it.
struct TreeEntry {
    QString diameter;
    std::optional<QString> species;
    std::optional<QString> tariff;
    std::optional<QString> count;
};

// The tree of --bhd, --species, --stk and --tarif; nullopt, with the reason on `err` after
// `where`, when they do not describe one.
std::optional<TreeEntry> treeEntry(const QCommandLineParser& parser, QTextStream& err,
                                   const QString& where = {})
{
    if (!parser.isSet(kDiameterOption)) {
        err << where << "tally: --bhd fehlt\n";
        return std::nullopt;
    }
    if (!numberOption(parser, kDiameterOption, err, where)
        || (parser.isSet(kCountOption) && !numberOption(parser, kCountOption, err, where)))
        return std::nullopt;
    TreeEntry entry{parser.value(kDiameterOption), {}, {}, {}};
    if (parser.isSet(kSpeciesOption))
        entry.species = parser.value(kSpeciesOption);
    if (parser.isSet(kTariffOption))
        entry.tariff = parser.value(kTariffOption);
    if (parser.isSet(kCountOption))
        entry.count = parser.value(kCountOption);
    return entry;
}

bool hasTreeOption(const QCommandLineParser& parser)
{
    for (const QString& option : {kDiameterOption, kSpeciesOption, kCountOption, kTariffOption}) {
        if (parser.isSet(option))
            return true;
    }
    return false;
}

// The trees of a file or of standard input, one line each in the form of the single tree's
// options. Lines are taken as they come, so trees piped in one by one are saved at once.
class TreeLines {
public:
    // False, with the reason on `err`, when `source` ("-": standard input) cannot be read.
    bool open(const QString& source, QTextStream& err)
    {
        bool ok = false;
        if (source == QLatin1StringView("-")) {
            ok = m_in.open(stdin, QIODevice::ReadOnly);
        } else {
            m_in.setFileName(source);
            ok = m_in.open(QIODevice::ReadOnly);
        }
        if (!ok)
            err << "Datei kann nicht gelesen werden: " << source << '\n';
        return ok;
    }

    // 0 with the next tree in `entry`, -1 at the end of the input, 2 for a line that does not
    // describe a tree (the reason, with the line number, is on `err`).
    int next(TreeEntry& entry, QTextStream& err)
    {
        static const QRegularExpression blanks(QStringLiteral("\\s+"));
        QByteArray line;
        while (!(line = m_in.readLine()).isEmpty()) {
            ++m_number;
            const QString text = QString::fromUtf8(line).trimmed();
            if (text.isEmpty())
                continue;
            const QString where = QStringLiteral("Zeile %1: ").arg(m_number);
            QCommandLineParser parser;
            addEvaluationOptions(parser);
            if (!parser.parse(QStringList{QStringLiteral("tally")}
                              + text.split(blanks, Qt::SkipEmptyParts))) {
                err << where << parser.errorText() << '\n';
                return 2;
            }
            if (!parser.positionalArguments().isEmpty() || parser.isSet(kTreesOption)) {
                err << where << "nur --bhd, --species, --stk und --tarif: " << text << '\n';
                return 2;
            }
            const auto parsed = treeEntry(parser, err, where);
            if (!parsed)
                return 2;
            entry = *parsed;
            return 0;
        }
        return -1;
    }

private:
    QFile m_in;
    int m_number = 0;
};

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

// The list's last record, the one a save from behind the last record has just written, as
// NAME=value fields.
QStringList savedTree(Database& db, std::int64_t listId)
{
    Dataset trees(db, schema::Holzdaten);
    trees.reset(Filter::byList(listId));
    trees.moveLast();
    QStringList fields;
    const auto add = [&fields](const char16_t* name, const QString& value) {
        fields << QString::fromUtf16(name) + u'=' + value;
    };
    for (const char16_t* field : {u"ID", u"ID_TYPE"})
        add(field, QString::number(trees.loadInt(field)));
    for (const char16_t* field : {u"TARIF", u"BAUMART", u"NA", u"KA"})
        add(field, withoutTrailingBlanks(trees.loadText(field)));
    for (const char16_t* field : {u"STK", u"BHD"})
        add(field, QString::number(trees.loadInt(field)));
    add(u"DMSTUFE", withoutTrailingBlanks(trees.loadText(u"DMSTUFE")));
    add(u"KUBATUR", formatScaled(trees.loadInt(u"KUBATUR"), 2));
    return fields;
}

// Saves the trees `next` hands out (see TreeLines::next) one after the other through one tally
// logic, as the tally screen saves them; `saved` gets each tree's fields right after its commit.
// Returns 0, 1 after a refused tree, or `next`'s status for an entry that is no tree; the trees
// before either stay saved.
int tally(DeviceSession& session, std::int64_t listId, const std::function<int(TreeEntry&)>& next,
          const std::function<void(const QStringList&)>& saved, QTextStream& err)
{
    const MasterTables tables = loadSettings(session.store(), session.database(), nullptr, nullptr);
    // A run of its own remembers what the screen would have: the tariffs flagged at the last
    // shutdown, and over them the tariff of each species' latest tree in this list.
    std::array<QString, TallyLogic::kSpeciesSlots> speciesTariffs;
    for (const TableRow& tree : TreeRows(session.database()).ofList(listId)) {
        const int slot = tables.speciesIndex(tree.text(u"BAUMART"));
        if (slot >= 0)
            speciesTariffs[size_t(slot)] = withoutTrailingBlanks(tree.text(u"TARIF")).left(5);
    }
    TallyLogic::recallSpeciesTariffs(session.database(), tables, speciesTariffs);
    ConsoleDialogs dialogs(err, false);
    TallyLogic logic(session.database(), tables, speciesTariffs, dialogs);
    if (!logic.open(listId)) {
        err << "Datenbank nicht lesbar!\n";
        return 1;
    }
    TreeEntry entry;
    for (int status = next(entry); status != -1; status = next(entry)) {
        if (status != 0)
            return status;
        // In the order the screen's fields are entered: the species proposes its tariff, which a
        // given tariff then replaces; the diameter last, as it finds the class and the volume.
        using Field = TallyLogic::Field;
        if (entry.species)
            logic.setField(Field::Species, *entry.species);
        if (entry.tariff)
            logic.setField(Field::Tariff, *entry.tariff);
        if (entry.count)
            logic.setField(Field::Count, *entry.count);
        logic.setField(Field::Diameter, entry.diameter);
        // A refused tree has had its message lines printed by the dialogs.
        if (!logic.save())
            return 1;
        saved(savedTree(session.database(), listId));
    }
    return 0;
}

} // namespace

QString evaluationCommandsHelp()
{
    return QStringLiteral(
        "\n  totals LISTE_NR      the totals screen's rows of the list (cells separated by '|')"
        "\n  tally LISTE_NR --bhd N [--species S] [--stk N] [--tarif T]"
        "\n                       save one tree with the tally screen's checks; prints its fields"
        "\n  tally LISTE_NR --trees FILE"
        "\n                       save the trees of FILE ('-': standard input), one line each in"
        "\n                       the form '--bhd N [--species S] [--stk N] [--tarif T]', one after"
        "\n                       the other as the tally screen does; prints each tree as soon as"
        "\n                       it is committed, its fields on one line separated by tabs; ends"
        "\n                       at the first refused tree (status 1) or bad line (status 2)");
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
    parser.addOption({kTreesOption,
                      QStringLiteral("tally: the trees of FILE, one line each ('-': standard "
                                     "input)."),
                      QStringLiteral("FILE")});
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

    const bool bulk = !totals && parser.isSet(kTreesOption);
    std::optional<TreeEntry> single;
    TreeLines lines;
    if (bulk) {
        if (hasTreeOption(parser)) {
            err << "tally: --trees nicht zusammen mit --bhd, --species, --stk oder --tarif\n";
            return 2;
        }
        if (!lines.open(parser.value(kTreesOption), err))
            return 2;
    } else if (!totals) {
        single = treeEntry(parser, err);
        if (!single)
            return 2;
    }
    if (!openDatabaseOrReport(session, err))
        return 1;
    const auto listId = findList(session, args[1], err);
    if (!listId)
        return 1;
    if (totals)
        return printTotals(session, *listId, out, err);
    if (bulk) {
        // Tabs and line breaks in a value would split the tree's line.
        static const QRegularExpression breaks(QStringLiteral("[\t\r\n]"));
        return tally(
            session, *listId, [&](TreeEntry& entry) { return lines.next(entry, err); },
            [&out](QStringList fields) {
                for (QString& field : fields)
                    field.replace(breaks, QStringLiteral(" "));
                out << fields.join(u'\t') << '\n';
                out.flush();
            },
            err);
    }
    bool taken = false;
    return tally(
        session, *listId,
        [&](TreeEntry& entry) {
            if (std::exchange(taken, true))
                return -1;
            entry = *single;
            return 0;
        },
        [&out](const QStringList& fields) {
            for (const QString& field : fields)
                out << field << '\n';
        },
        err);
}

} // namespace brovant
