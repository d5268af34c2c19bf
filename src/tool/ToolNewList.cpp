#include "tool/ToolNewList.h"

#include "workflow/AppState.h"
#include "workflow/ListHeaderLogic.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"

#include <QCommandLineParser>

#include <optional>
#include <utility>
#include <vector>

namespace brovant {
namespace {

const QString kRegionOption = QStringLiteral("region");
const QString kDateOption = QStringLiteral("date");
const QString kFactorOption = QStringLiteral("factor");
const QString kFieldOption = QStringLiteral("field");

// Nobody is there to answer: a notice is printed whole, a question by its first line (the rest
// asks what the tool cannot be asked) and answered so that nothing is written.
class ToolDialogs final : public MessageDialogs {
public:
    explicit ToolDialogs(QTextStream& err)
        : m_err(err)
    {
    }
    void notice(const QString& line1, const QString& line2, const QString& line3, const QString&,
                bool) override
    {
        for (const QString& line : {line1, line2, line3}) {
            if (!line.isEmpty())
                m_err << line << '\n';
        }
    }
    Answer yesNo(const QString& line1, const QString&, const QString&, const QString&,
                 const QString&) override
    {
        m_err << line1 << '\n';
        return Answer::No;
    }
    Answer question(const QString& line1, const QString&, const QString&, const QString&,
                    const QString&, const QString&) override
    {
        m_err << line1 << '\n';
        return Answer::None;
    }
    void info(int, const QString&, const QString&, const QString&) override {}
    void progress(double) override {}

private:
    QTextStream& m_err;
};

int fieldLength(const char* name)
{
    return schema::Kopfdaten.fields[size_t(schema::Kopfdaten.indexOf(QString::fromLatin1(name)))]
        .length;
}

// A value longer than its field would be cut by the database; the tool refuses it instead.
bool fits(const char* field, const QString& value, const QString& what, QTextStream& err)
{
    if (value.size() <= fieldLength(field))
        return true;
    err << "Zu lang für " << what << " (höchstens " << fieldLength(field) << " Zeichen): " << value
        << '\n';
    return false;
}

} // namespace

QString newListCommandHelp()
{
    return QStringLiteral("\n  new-list NAME [--region R] [--date D] [--factor N] [--field K=TEXT "
                          "...]\n"
                          "                       create a list with the list header's checks; "
                          "prints its ID_FILE");
}

void addNewListOptions(QCommandLineParser& parser)
{
    parser.addOption(
        {kRegionOption, QStringLiteral("new-list: growth region."), QStringLiteral("R")});
    parser.addOption(
        {kDateOption, QStringLiteral("new-list: date (else today)."), QStringLiteral("D")});
    parser.addOption({kFactorOption,
                      QStringLiteral("new-list: correction factor in percent "
                                     "(else 100)."),
                      QStringLiteral("N")});
    parser.addOption({kFieldOption, QStringLiteral("new-list: free header field K (1 to 16)."),
                      QStringLiteral("K=TEXT")});
}

int runNewListCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                      QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    if (args.size() != 2 || args.first() != QLatin1StringView("new-list"))
        return -1;

    // Everything the command line says, checked before the database is touched.
    const QString name = args[1];
    if (!fits("LISTE_NR", name, QStringLiteral("den Listennamen"), err))
        return 2;
    std::optional<std::int64_t> factor;
    if (parser.isSet(kFactorOption)) {
        bool ok = false;
        factor = parser.value(kFactorOption).trimmed().toLongLong(&ok);
        if (!ok) {
            err << "Ungültiger K-Faktor: " << parser.value(kFactorOption) << '\n';
            return 2;
        }
    }
    if (!fits("REGION_A", parser.value(kRegionOption), QStringLiteral("--region"), err)
        || !fits("DATUM_A", parser.value(kDateOption), QStringLiteral("--date"), err))
        return 2;
    std::vector<std::pair<int, QString>> fields;
    for (const QString& given : parser.values(kFieldOption)) {
        const qsizetype equals = given.indexOf(u'=');
        bool ok = false;
        const int field = equals > 0 ? given.left(equals).trimmed().toInt(&ok) : 0;
        if (!ok || field < 1 || field > ListHeaderLogic::kFreeFields) {
            err << "Ungültige Angabe --field " << given << " (erwartet K=TEXT, K von 1 bis "
                << ListHeaderLogic::kFreeFields << ")\n";
            return 2;
        }
        const QString text = given.mid(equals + 1);
        if (!fits("KOPF1_A", text, QStringLiteral("--field %1").arg(field), err))
            return 2;
        fields.emplace_back(field, text);
    }

    const auto state = session.openDatabase();
    if (state == DeviceSession::DatabaseState::Failed) {
        err << "Datenbank kann nicht geöffnet werden: " << session.database().lastError() << '\n';
        return 1;
    }
    Dataset rows(session.database(), schema::Kopfdaten);
    AppState app;
    SystemClock clock;
    ToolDialogs dialogs(err);
    ListHeaderLogic logic(rows, session.store(), app, clock, dialogs);
    if (!logic.startNew(name, false)) {
        err << "Datenbank nicht lesbar!\n";
        return 1;
    }
    if (parser.isSet(kRegionOption))
        rows.setText(u"REGION_A", parser.value(kRegionOption));
    if (parser.isSet(kDateOption))
        rows.setText(u"DATUM_A", parser.value(kDateOption));
    if (factor)
        rows.setInt(u"KOR_FAKTOR_N", *factor);
    for (const auto& [field, text] : fields)
        rows.setText(ListHeaderLogic::freeFieldName(field), text);

    // Page 1's checks, then the mandatory fields of all pages, then one write.
    if (logic.checkFirstPage() != PageExit::NextPage)
        return 1;
    const QList<int> missing = logic.missingMandatory();
    if (!logic.checkAllMandatory()) {
        QStringList named;
        for (const int field : missing) {
            QString label = ListHeaderLogic::freeLabel(session.store(), field);
            if (label.endsWith(u':'))
                label.chop(1);
            named << QStringLiteral("%1 %2").arg(field).arg(label);
        }
        err << "Fehlende Felder: " << named.join(QStringLiteral(", ")) << '\n';
        return 1;
    }
    if (!logic.save()) {
        err << "Satz nicht gespeichert!\n";
        return 1;
    }
    out << logic.listId() << '\n';
    return 0;
}

} // namespace brovant
