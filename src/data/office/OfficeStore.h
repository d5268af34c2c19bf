// Office data: the office's store of received lists, in SQLite on one PC or in PostgreSQL for an
// enterprise. Owns the schema and its numbered migrations, the SQL of both, adding a list file
// (one list per content, a new version per list number), reading lists back and the users of the
// web page. What a list file says is read elsewhere; the store gets it already read.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace brovant::office {

struct HeaderField {
    QString label; // as the device labelled it in the file
    QString text;
};

struct StoredTree {
    int kind = 1; // 1 for a "10A" record, 2 for "10B"
    QString parcel, species, diameterClass, na, ka, tariff;
    int count = 0;
    int diameter = 0;
    std::int64_t volume = 0; // hundredths of m3, as in the file
};

struct StoredRegion {
    QString region, species, tariff;
};

// One list file as read: what the store keeps of it.
struct ListContent {
    QString listNumber;
    QString date;  // DATUM_A as written
    QString day;   // yyyy-MM-dd when the date reads as one, else empty
    QString region;
    QString device; // the device number of the file's first line
    int factor = 100;
    std::vector<HeaderField> header; // "Zusatz" first, then the header texts in order
    std::vector<StoredRegion> regions;
    std::vector<StoredTree> trees;
    std::int64_t treeCount = 0; // sum of STK
    std::int64_t volume = 0;    // corrected total, hundredths of m3
};

struct ListSummary {
    std::int64_t id = 0;
    QString listNumber;
    int version = 1;
    bool current = true;
    QString fileName, device, date, day, region;
    QDateTime received;
    QString headerText; // every header text, one line each
    std::int64_t treeCount = 0;
    std::int64_t volume = 0;
    QString sha256;
};

struct ListQuery {
    QString fromDay, toDay; // yyyy-MM-dd, inclusive; empty for open
    QString region;         // exact, empty for all
    QString text;           // found in any header text or the list number; empty for all
    enum class Column { Number, Date, Region, Trees, Volume, Device, Received };
    Column sort = Column::Received;
    bool descending = true;
    int offset = 0;
    int limit = 50; // 0 for all
    bool withHistory = false; // older versions too
};

enum class Role { Reader, Clerk, Admin };
QString roleName(Role role);
std::optional<Role> roleFromName(const QString& name);

struct User {
    QString name;
    Role role = Role::Reader;
    QByteArray salt;
    QByteArray hash;
    int iterations = 0;
};

class OfficeStore {
public:
    // `location` is a SQLite file path or a "postgresql://user@host:port/db" URL (a "host"
    // query item may name a Unix socket folder). Migrates the schema to the newest version.
    static std::unique_ptr<OfficeStore> open(const QString& location, QString* error);
    ~OfficeStore();
    OfficeStore(const OfficeStore&) = delete;
    OfficeStore& operator=(const OfficeStore&) = delete;

    bool isPostgres() const;
    int schemaVersion() const;
    QString lastError() const { return m_error; }

    enum class Added { Imported, Duplicate, Failed };
    struct AddResult {
        Added added = Added::Failed;
        std::int64_t id = 0;
        int version = 0;
    };
    // The file's bytes with what they say, in one transaction: the same bytes again give the list
    // already there; a list number already there with other content becomes its next version.
    AddResult add(const QByteArray& bytes, const QString& fileName, const ListContent& content);

    std::vector<ListSummary> lists(const ListQuery& query);
    int count(const ListQuery& query);
    std::optional<ListSummary> list(std::int64_t id);
    std::vector<ListSummary> versions(const QString& listNumber);
    std::optional<ListContent> content(std::int64_t id);
    std::optional<QByteArray> fileBytes(std::int64_t id);
    QStringList regions();

    bool addUser(const User& user);
    std::optional<User> user(const QString& name);
    std::vector<User> users();
    bool removeUser(const QString& name);

    // The configuration file the devices fetch, as published last (empty when none).
    bool publishConfiguration(const QByteArray& bytes, const QString& by);
    QByteArray configuration();

private:
    struct Connection;
    explicit OfficeStore(std::unique_ptr<Connection> connection);
    bool migrate();

    std::unique_ptr<Connection> m_db;
    QString m_error;
};

} // namespace brovant::office
