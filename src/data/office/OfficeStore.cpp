#include "data/office/OfficeStore.h"

#include <QCryptographicHash>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QUrlQuery>
#include <QVariant>

#include <QThread>

#include <atomic>
#include <mutex>
#include <optional>

namespace brovant::office {

QString roleName(Role role)
{
    switch (role) {
    case Role::Reader:
        return QStringLiteral("reader");
    case Role::Clerk:
        return QStringLiteral("clerk");
    case Role::Admin:
        return QStringLiteral("admin");
    }
    return {};
}

std::optional<Role> roleFromName(const QString& name)
{
    for (Role role : {Role::Reader, Role::Clerk, Role::Admin})
        if (roleName(role) == name)
            return role;
    return std::nullopt;
}

namespace {

// The migrations, oldest first; a store is at the version of the last one applied. Types that the
// two databases spell differently are written as {id}, {blob} and {int64}.
const char* const kMigrations[] = {
    // 1: lists with their file, header, regions and trees; users; published configurations.
    R"(CREATE TABLE lists (
         id {id},
         liste_nr TEXT NOT NULL,
         version INTEGER NOT NULL,
         is_current INTEGER NOT NULL,
         sha256 TEXT NOT NULL UNIQUE,
         file_name TEXT NOT NULL,
         device TEXT NOT NULL,
         received TEXT NOT NULL,
         list_date TEXT NOT NULL,
         list_day TEXT NOT NULL,
         region TEXT NOT NULL,
         factor INTEGER NOT NULL,
         header_text TEXT NOT NULL,
         tree_count {int64} NOT NULL,
         volume {int64} NOT NULL,
         UNIQUE (liste_nr, version));
       CREATE INDEX lists_day ON lists (list_day);
       CREATE TABLE list_files (
         list_id {int64} PRIMARY KEY REFERENCES lists (id),
         bytes {blob} NOT NULL);
       CREATE TABLE header_fields (
         list_id {int64} NOT NULL REFERENCES lists (id),
         pos INTEGER NOT NULL,
         label TEXT NOT NULL,
         text TEXT NOT NULL,
         PRIMARY KEY (list_id, pos));
       CREATE TABLE list_regions (
         list_id {int64} NOT NULL REFERENCES lists (id),
         pos INTEGER NOT NULL,
         region TEXT NOT NULL,
         species TEXT NOT NULL,
         tariff TEXT NOT NULL,
         PRIMARY KEY (list_id, pos));
       CREATE TABLE trees (
         list_id {int64} NOT NULL REFERENCES lists (id),
         pos INTEGER NOT NULL,
         kind INTEGER NOT NULL,
         parcel TEXT NOT NULL,
         stk INTEGER NOT NULL,
         species TEXT NOT NULL,
         bhd INTEGER NOT NULL,
         class TEXT NOT NULL,
         volume {int64} NOT NULL,
         na TEXT NOT NULL,
         ka TEXT NOT NULL,
         tariff TEXT NOT NULL,
         PRIMARY KEY (list_id, pos));
       CREATE TABLE users (
         name TEXT PRIMARY KEY,
         role TEXT NOT NULL,
         salt {blob} NOT NULL,
         hash {blob} NOT NULL,
         iterations INTEGER NOT NULL);
       CREATE TABLE configurations (
         id {id},
         published TEXT NOT NULL,
         published_by TEXT NOT NULL,
         bytes {blob} NOT NULL))",
};


QString nowText()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

} // namespace

// A connection is only ever used by the thread that opened it: every other thread (the web
// server's workers) gets its own clone, opened on first use and closed with the store.
struct OfficeStore::Connection {
    QString name;
    bool postgres = false;
    QThread* owner = QThread::currentThread();
    std::mutex clonesMutex;
    QStringList clones;

    QSqlDatabase db()
    {
        if (QThread::currentThread() == owner)
            return QSqlDatabase::database(name, false);
        const QString clone =
            name + QStringLiteral("-t%1").arg(quintptr(QThread::currentThreadId()));
        if (!QSqlDatabase::contains(clone)) {
            QSqlDatabase copy = QSqlDatabase::cloneDatabase(name, clone);
            if (copy.open())
                prepare(copy, postgres);
            std::lock_guard lock(clonesMutex);
            clones << clone;
        }
        return QSqlDatabase::database(clone, false);
    }
    static void prepare(const QSqlDatabase& db, bool postgres)
    {
        QSqlQuery pragma(db);
        if (postgres) {
            // "already exists, skipping" and the like are not news.
            pragma.exec(QStringLiteral("SET client_min_messages = warning"));
            return;
        }
        pragma.exec(QStringLiteral("PRAGMA journal_mode = WAL"));
        pragma.exec(QStringLiteral("PRAGMA synchronous = FULL"));
        pragma.exec(QStringLiteral("PRAGMA foreign_keys = ON"));
    }
    ~Connection()
    {
        for (const QString& clone : clones)
            QSqlDatabase::removeDatabase(clone);
        QSqlDatabase::removeDatabase(name);
    }
};

namespace {

// A statement with its values bound in order; the error of the last failure kept for the caller.
class Statement {
public:
    Statement(const QSqlDatabase& db, const QString& sql) : m_query(db)
    {
        m_query.setForwardOnly(true);
        m_prepared = m_query.prepare(sql);
    }
    // Texts are never NULL in this schema: an empty text is bound as one.
    Statement& operator<<(const QVariant& value)
    {
        if (value.typeId() == QMetaType::QString && value.toString().isNull())
            m_query.addBindValue(QString(QLatin1StringView("")));
        else
            m_query.addBindValue(value);
        return *this;
    }
    // Ends a statement whose rows were read, so the transaction can commit.
    void finish() { m_query.finish(); }
    bool run()
    {
        return m_prepared && m_query.exec();
    }
    bool next() { return m_query.next(); }
    QVariant value(int column) const { return m_query.value(column); }
    QString error() const { return m_query.lastError().text(); }

private:
    QSqlQuery m_query;
    bool m_prepared = false;
};

QString translated(QString sql, bool postgres)
{
    sql.replace(QStringLiteral("{id}"), postgres ? QStringLiteral("BIGSERIAL PRIMARY KEY")
                                                 : QStringLiteral("INTEGER PRIMARY KEY"));
    sql.replace(QStringLiteral("{blob}"), postgres ? QStringLiteral("BYTEA") : QStringLiteral("BLOB"));
    sql.replace(QStringLiteral("{int64}"), postgres ? QStringLiteral("BIGINT") : QStringLiteral("INTEGER"));
    return sql;
}

ListSummary summaryOf(const Statement& q)
{
    ListSummary s;
    s.id = q.value(0).toLongLong();
    s.listNumber = q.value(1).toString();
    s.version = q.value(2).toInt();
    s.current = q.value(3).toInt() != 0;
    s.fileName = q.value(4).toString();
    s.device = q.value(5).toString();
    s.received = QDateTime::fromString(q.value(6).toString(), Qt::ISODateWithMs);
    s.date = q.value(7).toString();
    s.day = q.value(8).toString();
    s.region = q.value(9).toString();
    s.headerText = q.value(10).toString();
    s.treeCount = q.value(11).toLongLong();
    s.volume = q.value(12).toLongLong();
    s.sha256 = q.value(13).toString();
    return s;
}

const QString kSummaryColumns = QStringLiteral(
    "id, liste_nr, version, is_current, file_name, device, received, list_date, list_day, region, "
    "header_text, tree_count, volume, sha256");

QString likePattern(const QString& text)
{
    QString escaped = text.toLower();
    escaped.replace(u'\\', QStringLiteral("\\\\"));
    escaped.replace(u'%', QStringLiteral("\\%"));
    escaped.replace(u'_', QStringLiteral("\\_"));
    return u'%' + escaped + u'%';
}

// The WHERE clause of a list query with its values in order.
QString whereOf(const ListQuery& query, QVariantList& values)
{
    QStringList parts;
    if (!query.withHistory)
        parts << QStringLiteral("is_current = 1");
    if (!query.fromDay.isEmpty()) {
        parts << QStringLiteral("list_day <> '' AND list_day >= ?");
        values << query.fromDay;
    }
    if (!query.toDay.isEmpty()) {
        parts << QStringLiteral("list_day <> '' AND list_day <= ?");
        values << query.toDay;
    }
    if (!query.region.isEmpty()) {
        parts << QStringLiteral("region = ?");
        values << query.region;
    }
    if (!query.text.isEmpty()) {
        parts << QStringLiteral("(LOWER(header_text) LIKE ? ESCAPE '\\' OR LOWER(liste_nr) LIKE ? "
                                "ESCAPE '\\')");
        values << likePattern(query.text) << likePattern(query.text);
    }
    return parts.isEmpty() ? QString() : QStringLiteral(" WHERE ") + parts.join(QStringLiteral(" AND "));
}

QString orderOf(const ListQuery& query)
{
    QString column;
    switch (query.sort) {
    case ListQuery::Column::Number:
        column = QStringLiteral("liste_nr");
        break;
    case ListQuery::Column::Date:
        column = QStringLiteral("list_day");
        break;
    case ListQuery::Column::Region:
        column = QStringLiteral("region");
        break;
    case ListQuery::Column::Trees:
        column = QStringLiteral("tree_count");
        break;
    case ListQuery::Column::Volume:
        column = QStringLiteral("volume");
        break;
    case ListQuery::Column::Device:
        column = QStringLiteral("device");
        break;
    case ListQuery::Column::Received:
        column = QStringLiteral("received");
        break;
    }
    const QString dir = query.descending ? QStringLiteral(" DESC") : QStringLiteral(" ASC");
    return QStringLiteral(" ORDER BY ") + column + dir + QStringLiteral(", id") + dir;
}


// SQLite: one row a statement, prepared once, since Qt looks its parameters up by name at a cost
// that grows with their count.
bool insertTreesByRow(const QSqlDatabase& db, qlonglong id, const std::vector<StoredTree>& trees,
                      QString& error)
{
    Statement row(db, QStringLiteral("INSERT INTO trees (list_id, pos, kind, parcel, stk, species, "
                                     "bhd, class, volume, na, ka, tariff) VALUES "
                                     "(?,?,?,?,?,?,?,?,?,?,?,?)"));
    for (size_t i = 0; i < trees.size(); ++i) {
        const StoredTree& t = trees[i];
        row << id << qlonglong(i) << t.kind << t.parcel << t.count << t.species << t.diameter
            << t.diameterClass << qlonglong(t.volume) << t.na << t.ka << t.tariff;
        if (!row.run()) {
            error = row.error();
            return false;
        }
    }
    return true;
}

// A PostgreSQL array literal of texts: every element quoted, quotes and backslashes escaped.
QString textArray(const std::vector<StoredTree>& trees, QString StoredTree::*field)
{
    QString out = QStringLiteral("{");
    for (size_t i = 0; i < trees.size(); ++i) {
        QString value = trees[i].*field;
        value.replace(u'\\', QStringLiteral("\\\\"));
        value.replace(u'"', QStringLiteral("\\\""));
        out += (i ? QStringLiteral(",\"") : QStringLiteral("\"")) + value + u'"';
    }
    return out + u'}';
}

template <class Number>
QString numberArray(const std::vector<StoredTree>& trees, Number StoredTree::*field)
{
    QString out = QStringLiteral("{");
    for (size_t i = 0; i < trees.size(); ++i)
        out += (i ? QStringLiteral(",") : QString()) + QString::number(trees[i].*field);
    return out + u'}';
}

// PostgreSQL: all trees of a list in one statement, each column bound as one array, so a list
// costs one round trip however many trees it has.
bool insertTreesAsArrays(const QSqlDatabase& db, qlonglong id, const std::vector<StoredTree>& trees,
                         QString& error)
{
    if (trees.empty())
        return true;
    Statement all(db, QStringLiteral(
                          "INSERT INTO trees (list_id, pos, kind, parcel, stk, species, bhd, class, "
                          "volume, na, ka, tariff) SELECT ?, t.ord - 1, t.kind, t.parcel, t.stk, "
                          "t.species, t.bhd, t.class, t.volume, t.na, t.ka, t.tariff FROM unnest("
                          "CAST(? AS integer[]), CAST(? AS text[]), CAST(? AS integer[]), "
                          "CAST(? AS text[]), CAST(? AS integer[]), CAST(? AS text[]), "
                          "CAST(? AS bigint[]), CAST(? AS text[]), CAST(? AS text[]), "
                          "CAST(? AS text[])) WITH ORDINALITY AS t(kind, parcel, stk, species, "
                          "bhd, class, volume, na, ka, tariff, ord)"));
    all << id << numberArray(trees, &StoredTree::kind) << textArray(trees, &StoredTree::parcel)
        << numberArray(trees, &StoredTree::count) << textArray(trees, &StoredTree::species)
        << numberArray(trees, &StoredTree::diameter)
        << textArray(trees, &StoredTree::diameterClass)
        << numberArray(trees, &StoredTree::volume) << textArray(trees, &StoredTree::na)
        << textArray(trees, &StoredTree::ka) << textArray(trees, &StoredTree::tariff);
    if (!all.run()) {
        error = all.error();
        return false;
    }
    return true;
}
} // namespace

OfficeStore::OfficeStore(std::unique_ptr<Connection> connection) : m_db(std::move(connection)) {}
OfficeStore::~OfficeStore() = default;

std::unique_ptr<OfficeStore> OfficeStore::open(const QString& location, QString* error)
{
    static std::atomic<int> serial{0};
    auto connection = std::make_unique<Connection>();
    connection->name = QStringLiteral("office-store-%1").arg(++serial);
    const QUrl url(location);
    connection->postgres =
        url.scheme() == QLatin1String("postgresql") || url.scheme() == QLatin1String("postgres");
    QSqlDatabase db = QSqlDatabase::addDatabase(
        connection->postgres ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE"), connection->name);
    if (!db.isValid()) {
        if (error)
            *error = QStringLiteral("Datenbanktreiber fehlt: %1").arg(db.lastError().text());
        return nullptr;
    }
    if (connection->postgres) {
        const QUrlQuery items(url);
        const QString socket = items.queryItemValue(QStringLiteral("host"), QUrl::FullyDecoded);
        db.setHostName(socket.isEmpty() ? url.host() : socket);
        if (url.port() > 0)
            db.setPort(url.port());
        db.setDatabaseName(url.path().mid(1));
        db.setUserName(url.userName(QUrl::FullyDecoded));
        db.setPassword(url.password(QUrl::FullyDecoded));
    } else {
        db.setDatabaseName(location);
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    }
    if (!db.open()) {
        if (error)
            *error = db.lastError().text();
        return nullptr;
    }
    Connection::prepare(db, connection->postgres);
    std::unique_ptr<OfficeStore> store(new OfficeStore(std::move(connection)));
    if (!store->migrate()) {
        if (error)
            *error = store->m_error;
        return nullptr;
    }
    return store;
}

bool OfficeStore::isPostgres() const
{
    return m_db->postgres;
}

int OfficeStore::schemaVersion() const
{
    QSqlQuery q(m_db->db());
    if (!q.exec(QStringLiteral("SELECT MAX(version) FROM schema_version")) || !q.next())
        return 0;
    return q.value(0).toInt();
}

bool OfficeStore::migrate()
{
    QSqlDatabase db = m_db->db();
    {
        QSqlQuery q(db);
        if (!q.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version (version INTEGER "
                                   "PRIMARY KEY, applied TEXT NOT NULL)"))) {
            m_error = q.lastError().text();
            return false;
        }
    }
    const int total = int(std::size(kMigrations));
    for (int version = schemaVersion() + 1; version <= total; ++version) {
        if (!db.transaction()) {
            m_error = db.lastError().text();
            return false;
        }
        bool ok = true;
        QSqlQuery q(db);
        const QStringList statements =
            translated(QString::fromUtf8(kMigrations[version - 1]), isPostgres())
                .split(u';', Qt::SkipEmptyParts);
        for (const QString& statement : statements) {
            if (statement.trimmed().isEmpty())
                continue;
            if (!q.exec(statement)) {
                ok = false;
                break;
            }
        }
        Statement done(db, QStringLiteral("INSERT INTO schema_version (version, applied) VALUES (?, ?)"));
        done << version << nowText();
        // Two programs migrating at once: the second finds the version taken and rolls back.
        if (!ok || !done.run()) {
            m_error = ok ? done.error() : q.lastError().text();
            db.rollback();
            if (schemaVersion() >= version)
                continue;
            return false;
        }
        if (!db.commit()) {
            m_error = db.lastError().text();
            return false;
        }
    }
    return true;
}

OfficeStore::AddResult OfficeStore::add(const QByteArray& bytes, const QString& fileName,
                                        const ListContent& content)
{
    QSqlDatabase db = m_db->db();
    const QString sha = QString::fromLatin1(
        QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
    AddResult result;
    const auto existing = [&] {
        Statement q(db, QStringLiteral("SELECT id, version FROM lists WHERE sha256 = ?"));
        q << sha;
        if (q.run() && q.next()) {
            result.added = Added::Duplicate;
            result.id = q.value(0).toLongLong();
            result.version = q.value(1).toInt();
            return true;
        }
        q.finish();
        return false;
    };
    // A second program adding the same list number at the same moment loses the race on the
    // unique keys; it tries again and finds the list, or the next version free.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (existing())
            return result;
        if (!db.transaction()) {
            m_error = db.lastError().text();
            return {};
        }
        const auto fail = [&](const Statement& q) {
            m_error = q.error();
            db.rollback();
        };
        Statement last(db, QStringLiteral("SELECT MAX(version) FROM lists WHERE liste_nr = ?"));
        last << content.listNumber;
        if (!last.run()) {
            fail(last);
            return {};
        }
        const int version = last.next() ? last.value(0).toInt() + 1 : 1;
        last.finish();
        Statement older(db, QStringLiteral("UPDATE lists SET is_current = 0 WHERE liste_nr = ?"));
        older << content.listNumber;
        QStringList headerLines;
        for (const HeaderField& field : content.header)
            if (!field.text.trimmed().isEmpty())
                headerLines << field.text.trimmed();
        Statement insert(db, QStringLiteral(
                                 "INSERT INTO lists (liste_nr, version, is_current, sha256, "
                                 "file_name, device, received, list_date, list_day, region, "
                                 "factor, header_text, tree_count, volume) VALUES "
                                 "(?, ?, 1, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) RETURNING id"));
        insert << content.listNumber << version << sha << fileName << content.device << nowText()
               << content.date << content.day << content.region << content.factor
               << headerLines.join(u'\n') << qlonglong(content.treeCount)
               << qlonglong(content.volume);
        if (!older.run()) {
            fail(older);
            return {};
        }
        if (!insert.run() || !insert.next()) {
            fail(insert);
            if (attempt < 2)
                continue;
            return {};
        }
        const qlonglong id = insert.value(0).toLongLong();
        insert.finish();
        Statement file(db, QStringLiteral("INSERT INTO list_files (list_id, bytes) VALUES (?, ?)"));
        file << id << bytes;
        bool ok = file.run();
        for (int i = 0; ok && i < int(content.header.size()); ++i) {
            Statement field(db, QStringLiteral("INSERT INTO header_fields (list_id, pos, label, "
                                               "text) VALUES (?, ?, ?, ?)"));
            field << id << i << content.header[size_t(i)].label << content.header[size_t(i)].text;
            ok = field.run();
        }
        for (int i = 0; ok && i < int(content.regions.size()); ++i) {
            const StoredRegion& r = content.regions[size_t(i)];
            Statement region(db, QStringLiteral("INSERT INTO list_regions (list_id, pos, region, "
                                                "species, tariff) VALUES (?, ?, ?, ?, ?)"));
            region << id << i << r.region << r.species << r.tariff;
            ok = region.run();
        }
        if (isPostgres())
            ok = ok && insertTreesAsArrays(db, id, content.trees, m_error);
        else
            ok = ok && insertTreesByRow(db, id, content.trees, m_error);
        if (!ok) {
            if (m_error.isEmpty())
                m_error = db.lastError().text();
            db.rollback();
            return {};
        }
        if (!db.commit()) {
            m_error = db.lastError().text();
            db.rollback();
            continue;
        }
        result.added = Added::Imported;
        result.id = id;
        result.version = version;
        return result;
    }
    return {};
}

std::vector<ListSummary> OfficeStore::lists(const ListQuery& query)
{
    QVariantList values;
    QString sql = QStringLiteral("SELECT ") + kSummaryColumns + QStringLiteral(" FROM lists") +
                  whereOf(query, values) + orderOf(query);
    if (query.limit > 0)
        sql += QStringLiteral(" LIMIT %1 OFFSET %2").arg(query.limit).arg(std::max(0, query.offset));
    Statement q(m_db->db(), sql);
    for (const QVariant& v : values)
        q << v;
    std::vector<ListSummary> out;
    if (!q.run()) {
        m_error = q.error();
        return out;
    }
    while (q.next())
        out.push_back(summaryOf(q));
    return out;
}

int OfficeStore::count(const ListQuery& query)
{
    QVariantList values;
    Statement q(m_db->db(), QStringLiteral("SELECT COUNT(*) FROM lists") + whereOf(query, values));
    for (const QVariant& v : values)
        q << v;
    return q.run() && q.next() ? q.value(0).toInt() : 0;
}

std::optional<ListSummary> OfficeStore::list(std::int64_t id)
{
    Statement q(m_db->db(),
                QStringLiteral("SELECT ") + kSummaryColumns + QStringLiteral(" FROM lists WHERE id = ?"));
    q << qlonglong(id);
    if (!q.run() || !q.next())
        return std::nullopt;
    return summaryOf(q);
}

std::vector<ListSummary> OfficeStore::versions(const QString& listNumber)
{
    Statement q(m_db->db(), QStringLiteral("SELECT ") + kSummaryColumns +
                                QStringLiteral(" FROM lists WHERE liste_nr = ? ORDER BY version DESC"));
    q << listNumber;
    std::vector<ListSummary> out;
    if (q.run())
        while (q.next())
            out.push_back(summaryOf(q));
    return out;
}

std::optional<ListContent> OfficeStore::content(std::int64_t id)
{
    QSqlDatabase db = m_db->db();
    Statement head(db, QStringLiteral("SELECT liste_nr, list_date, list_day, region, factor, "
                                      "tree_count, volume FROM lists WHERE id = ?"));
    head << qlonglong(id);
    if (!head.run() || !head.next())
        return std::nullopt;
    ListContent c;
    c.listNumber = head.value(0).toString();
    c.date = head.value(1).toString();
    c.day = head.value(2).toString();
    c.region = head.value(3).toString();
    c.factor = head.value(4).toInt();
    c.treeCount = head.value(5).toLongLong();
    c.volume = head.value(6).toLongLong();
    Statement fields(db, QStringLiteral("SELECT label, text FROM header_fields WHERE list_id = ? "
                                        "ORDER BY pos"));
    fields << qlonglong(id);
    if (fields.run())
        while (fields.next())
            c.header.push_back({fields.value(0).toString(), fields.value(1).toString()});
    Statement regions(db, QStringLiteral("SELECT region, species, tariff FROM list_regions WHERE "
                                         "list_id = ? ORDER BY pos"));
    regions << qlonglong(id);
    if (regions.run())
        while (regions.next())
            c.regions.push_back({regions.value(0).toString(), regions.value(1).toString(),
                                 regions.value(2).toString()});
    Statement trees(db, QStringLiteral("SELECT kind, parcel, stk, species, bhd, class, volume, na, "
                                       "ka, tariff FROM trees WHERE list_id = ? ORDER BY pos"));
    trees << qlonglong(id);
    if (trees.run())
        while (trees.next()) {
            StoredTree t;
            t.kind = trees.value(0).toInt();
            t.parcel = trees.value(1).toString();
            t.count = trees.value(2).toInt();
            t.species = trees.value(3).toString();
            t.diameter = trees.value(4).toInt();
            t.diameterClass = trees.value(5).toString();
            t.volume = trees.value(6).toLongLong();
            t.na = trees.value(7).toString();
            t.ka = trees.value(8).toString();
            t.tariff = trees.value(9).toString();
            c.trees.push_back(t);
        }
    return c;
}

std::optional<QByteArray> OfficeStore::fileBytes(std::int64_t id)
{
    Statement q(m_db->db(), QStringLiteral("SELECT bytes FROM list_files WHERE list_id = ?"));
    q << qlonglong(id);
    if (!q.run() || !q.next())
        return std::nullopt;
    return q.value(0).toByteArray();
}

QStringList OfficeStore::regions()
{
    Statement q(m_db->db(), QStringLiteral("SELECT DISTINCT region FROM lists WHERE is_current = 1 "
                                           "ORDER BY region"));
    QStringList out;
    if (q.run())
        while (q.next())
            out << q.value(0).toString();
    return out;
}

bool OfficeStore::addUser(const User& user)
{
    QSqlDatabase db = m_db->db();
    if (!db.transaction())
        return false;
    Statement gone(db, QStringLiteral("DELETE FROM users WHERE name = ?"));
    gone << user.name;
    Statement add(db, QStringLiteral("INSERT INTO users (name, role, salt, hash, iterations) "
                                     "VALUES (?, ?, ?, ?, ?)"));
    add << user.name << roleName(user.role) << user.salt << user.hash << user.iterations;
    if (!gone.run() || !add.run()) {
        m_error = add.error();
        db.rollback();
        return false;
    }
    return db.commit();
}

std::optional<User> OfficeStore::user(const QString& name)
{
    Statement q(m_db->db(), QStringLiteral("SELECT name, role, salt, hash, iterations FROM users "
                                           "WHERE name = ?"));
    q << name;
    if (!q.run() || !q.next())
        return std::nullopt;
    const auto role = roleFromName(q.value(1).toString());
    if (!role)
        return std::nullopt;
    return User{q.value(0).toString(), *role, q.value(2).toByteArray(), q.value(3).toByteArray(),
                q.value(4).toInt()};
}

std::vector<User> OfficeStore::users()
{
    Statement q(m_db->db(), QStringLiteral("SELECT name, role FROM users ORDER BY name"));
    std::vector<User> out;
    if (q.run())
        while (q.next())
            out.push_back({q.value(0).toString(),
                           roleFromName(q.value(1).toString()).value_or(Role::Reader),
                           {},
                           {},
                           0});
    return out;
}

bool OfficeStore::removeUser(const QString& name)
{
    Statement q(m_db->db(), QStringLiteral("DELETE FROM users WHERE name = ?"));
    q << name;
    return q.run();
}

bool OfficeStore::publishConfiguration(const QByteArray& bytes, const QString& by)
{
    Statement q(m_db->db(), QStringLiteral("INSERT INTO configurations (published, published_by, "
                                           "bytes) VALUES (?, ?, ?)"));
    q << nowText() << by << bytes;
    if (!q.run()) {
        m_error = q.error();
        return false;
    }
    return true;
}

QByteArray OfficeStore::configuration()
{
    Statement q(m_db->db(),
                QStringLiteral("SELECT bytes FROM configurations ORDER BY id DESC LIMIT 1"));
    return q.run() && q.next() ? q.value(0).toByteArray() : QByteArray();
}

} // namespace brovant::office
