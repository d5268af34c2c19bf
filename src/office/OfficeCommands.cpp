#include "office/OfficeCommands.h"

#include "data/office/OfficeStore.h"
#include "office/Inbox.h"
#include "office/ListReading.h"
#include "office/Passwords.h"
#include "office/WebServer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>

namespace brovant::office {
namespace {

constexpr int kUsage = 2;

void usage(QTextStream& err)
{
    err << "usage: brovant-office [--data DIR] [--database URL] import FILE...\n"
           "       brovant-office [--data DIR] [--database URL] serve [--listen ADDR:PORT] "
           "[--inbox DIR] [--publish DIR]\n"
           "       brovant-office [--data DIR] [--database URL] user add NAME --role "
           "reader|clerk|admin\n"
           "       brovant-office [--data DIR] [--database URL] lists\n"
           "       brovant-office [--data DIR] [--database URL] inbox DIR   # take it once, as serve does\n";
}

QString defaultDataDir()
{
    QString base = qEnvironmentVariable("XDG_DATA_HOME");
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.local/share");
    return base + QStringLiteral("/brovant/office");
}

QString volumeText(std::int64_t hundredths)
{
    return QString::asprintf("%.2f", double(hundredths) / 100.0);
}

int importFiles(OfficeStore& store, const QStringList& files, QTextStream& out, QTextStream& err)
{
    if (files.isEmpty()) {
        usage(err);
        return kUsage;
    }
    bool anyRejected = false;
    for (const QString& path : files) {
        QFile file(path);
        IntakeResult result;
        if (!file.open(QIODevice::ReadOnly)) {
            result.file = path;
            result.reason = QStringLiteral("nicht lesbar");
        } else if (file.size() > kMaxListFileBytes) {
            result.file = path;
            result.reason = QStringLiteral("Datei zu groß");
        } else {
            result = intakeBytes(store, file.readAll(), QFileInfo(path).fileName());
            result.file = path;
        }
        anyRejected = anyRejected || result.kind == IntakeResult::Kind::Rejected;
        out << describe(result) << '\n';
        out.flush();
    }
    return anyRejected ? 1 : 0;
}

int listLists(OfficeStore& store, QTextStream& out)
{
    ListQuery query;
    query.limit = 0;
    query.sort = ListQuery::Column::Received;
    query.descending = false;
    for (const ListSummary& list : store.lists(query)) {
        out << list.id << '\t' << list.listNumber << '\t' << list.version << '\t' << list.date
            << '\t' << list.region << '\t' << list.treeCount << '\t' << volumeText(list.volume)
            << '\t' << list.device << '\t'
            << list.received.toString(Qt::ISODate) << '\n';
    }
    return 0;
}

int userCommand(OfficeStore& store, const QStringList& args, QTextStream& out, QTextStream& err,
                QTextStream& in)
{
    if (args.size() != 4 || args[0] != QLatin1String("add") || args[2] != QLatin1String("--role")) {
        usage(err);
        return kUsage;
    }
    const auto role = roleFromName(args[3]);
    if (!role || args[1].trimmed().isEmpty()) {
        usage(err);
        return kUsage;
    }
    const QString password = in.readLine();
    if (password.isEmpty()) {
        err << "Kein Passwort auf der Standardeingabe.\n";
        return 1;
    }
    if (!store.addUser(hashedUser(args[1], *role, password))) {
        err << "Benutzer nicht gespeichert: " << store.lastError() << '\n';
        return 1;
    }
    out << "user " << args[1] << ' ' << roleName(*role) << '\n';
    return 0;
}

} // namespace

int runOfficeCommand(const QStringList& argsIn, QTextStream& out, QTextStream& err, QTextStream& in)
{
    QStringList args = argsIn;
    QString dataDir = defaultDataDir();
    QString database;
    while (!args.isEmpty() && args.front().startsWith(QLatin1String("--"))) {
        const QString option = args.takeFirst();
        if (args.isEmpty()) {
            usage(err);
            return kUsage;
        }
        if (option == QLatin1String("--data"))
            dataDir = args.takeFirst();
        else if (option == QLatin1String("--database"))
            database = args.takeFirst();
        else {
            usage(err);
            return kUsage;
        }
    }
    if (args.isEmpty()) {
        usage(err);
        return kUsage;
    }
    const QString command = args.takeFirst();
    if (command != QLatin1String("import") && command != QLatin1String("lists") &&
        command != QLatin1String("user") && command != QLatin1String("serve") &&
        command != QLatin1String("inbox")) {
        usage(err);
        return kUsage;
    }
    if (!QDir().mkpath(dataDir)) {
        err << "Datenordner nicht anlegbar: " << dataDir << '\n';
        return 1;
    }
    QFile::setPermissions(dataDir, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                       QFileDevice::ExeOwner);
    if (database.isEmpty())
        database = QDir(dataDir).filePath(QStringLiteral("office.sqlite"));
    QString error;
    auto store = OfficeStore::open(database, &error);
    if (!store) {
        err << "Datenbank nicht geöffnet: " << error << '\n';
        return 1;
    }
    if (command == QLatin1String("import"))
        return importFiles(*store, args, out, err);
    if (command == QLatin1String("lists"))
        return args.isEmpty() ? listLists(*store, out) : (usage(err), kUsage);
    if (command == QLatin1String("user"))
        return userCommand(*store, args, out, err, in);
    if (command == QLatin1String("inbox")) {
        if (args.size() != 1 || !QFileInfo(args[0]).isDir()) {
            usage(err);
            return kUsage;
        }
        bool anyRejected = false;
        for (const IntakeResult& result : Inbox(*store, args[0]).scan()) {
            anyRejected = anyRejected || result.kind == IntakeResult::Kind::Rejected;
            out << describe(result) << '\n';
        }
        return anyRejected ? 1 : 0;
    }

    QString listen = QStringLiteral("127.0.0.1:8080");
    QString inbox;
    QString publish = QDir(dataDir).filePath(QStringLiteral("published"));
    while (!args.isEmpty()) {
        const QString option = args.takeFirst();
        if (args.isEmpty()) {
            usage(err);
            return kUsage;
        }
        if (option == QLatin1String("--listen"))
            listen = args.takeFirst();
        else if (option == QLatin1String("--inbox"))
            inbox = args.takeFirst();
        else if (option == QLatin1String("--publish"))
            publish = args.takeFirst();
        else {
            usage(err);
            return kUsage;
        }
    }
    WebServer server(*store, publish);
    if (!server.listen(listen)) {
        err << "Adresse nicht verfügbar: " << listen << '\n';
        return 1;
    }
    out << "listening on http://" << server.address() << '\n';
    out.flush();
    std::unique_ptr<Inbox> intake;
    QTimer poll;
    if (!inbox.isEmpty()) {
        QDir().mkpath(inbox);
        intake = std::make_unique<Inbox>(*store, inbox);
        QObject::connect(&poll, &QTimer::timeout, [&] {
            for (const IntakeResult& result : intake->scan()) {
                out << describe(result) << '\n';
                out.flush();
            }
        });
        poll.start(500);
    }
    return QCoreApplication::exec();
}

} // namespace brovant::office
