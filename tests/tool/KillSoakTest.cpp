// Crash safety of the real programs. brovant-tool is killed (SIGKILL) at random moments while it
// tallies trees, imports the configuration, imports list files, writes backups and restores one,
// at least 500 times in a run. After every kill the device holds every tree the run reported and
// nothing it was not asked for, no list half imported, a sound database and registry, the old or
// the restored database and intact backups; the next run of the same activity goes on from there.
// Every 50 kills, and at the end on every device, the program is killed in its start and then
// started again: it must come up and end by itself without asking anything.
//
// BROVANT_SOAK_SEED repeats a run's random choices (the seed is printed); BROVANT_SOAK_KILLS asks
// for more or fewer kills. The bulk form of "tally" the soak drives is tested in
// ToolTest.cpp.
#include "tool/KillSoak.h"
#include "platform/CopyTree.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <random>

namespace brovant::test {
namespace {

const QString kProgram = QStringLiteral(BROVANT_PROGRAM_PATH);

// The soak.
using Rng = std::mt19937_64;

int uniform(Rng& rng, int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(rng);
}

QString padded(const QString& text, int width)
{
    return text.leftJustified(width, u' ', true);
}

// The lower quartile of the latest times, so that runs slowed down by a busy machine do not push
// the kills past the end of the quick ones.
struct Latest {
    std::deque<qint64> times;
    void add(qint64 ms)
    {
        times.push_back(ms);
        if (times.size() > 9)
            times.pop_front();
    }
    double quartile() const
    {
        std::vector<qint64> sorted(times.begin(), times.end());
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty() ? 0.0 : double(sorted[sorted.size() / 4]);
    }
};

// The lists and their trees, as a backup or a restore must keep them.
const std::vector<const char*> kListsAndTrees = {
    "SELECT ID_FILE, LISTE_NR, REGION_A, KOR_FAKTOR_N FROM Brov_Kopfdaten ORDER BY rowid",
    "SELECT * FROM Brov_Holzdaten ORDER BY rowid"};

// One kind of work the tool is killed in, on a device root of its own.
class Activity {
public:
    Activity(const char* name, const QString& base)
        : m_name(name)
        , m_root(base + u'/' + QLatin1StringView(name))
        , m_scratch(base + QStringLiteral("/scratch-") + QLatin1StringView(name))
    {
        QDir().mkpath(m_scratch);
    }
    // A killed program leaves its socket, named after the root, in the temporary folder; nobody
    // listens there once the soak is over, whichever way it ends.
    virtual ~Activity()
    {
        const QByteArray path = QDir(m_root).absolutePath().toUtf8();
        QFile::remove(
            QDir::tempPath() + QStringLiteral("/brovant-")
            + QString::fromLatin1(
                QCryptographicHash::hash(path, QCryptographicHash::Sha1).toHex().left(16)));
    }

    const char* name() const { return m_name; }
    const QString& root() const { return m_root; }

    // Builds the activity's state on its root, a copy of the demo device.
    virtual void setUp() {}
    // The tool's arguments for the next run, its input written.
    virtual QStringList nextRun(Rng& rng) = 0;
    // What the activity itself requires of the root after a run; "" when it holds.
    // `db` is a copy of the database as the run left it.
    virtual std::string check(const KillRun& run, const DbCopy& db) = 0;

    int hits = 0;
    int runs = 0;
    int completed = 0;
    int inTheWork = 0; // kills that found the work begun: something of it on the device
    // How long a run that ends by itself takes, and how long the tool takes to start and open
    // the device before any work ("init" on the same root, which on a device that has its folders
    // and database only opens them).
    Latest durations;
    Latest startUps;

protected:
    // Counts a kill that met the work begun.
    void touched(const KillRun& run, bool begun)
    {
        if (run.hit && begun)
            ++inTheWork;
    }

    std::unique_ptr<DbCopy> openDatabase() const
    {
        return std::make_unique<DbCopy>(database(m_root), m_scratch);
    }
    std::string run(const QStringList& args) const { return failure(tool(m_root, args)); }

    QStringList backupFiles() const
    {
        return fileNamesIn(m_root + QStringLiteral("/Brovant/Save"));
    }

    // The backups in \Brovant\Save: every one whole and sound, with one of `fingerprints` as its
    // lists and trees. Leftovers of a copy in progress are fine, any other file is not.
    std::string checkBackups(const QSet<QByteArray>& fingerprints)
    {
        static const QRegularExpression backup(QStringLiteral("^\\d{4}_(Auto|Manu)\\.cdb$"));
        static const QRegularExpression partial(QStringLiteral("^\\d{4}_(Auto|Manu)\\.cdb\\.tmp$"));
        const QString folder = m_root + QStringLiteral("/Brovant/Save");
        int automatic = 0;
        int manual = 0;
        for (const QString& name : fileNamesIn(folder)) {
            if (partial.match(name).hasMatch())
                continue;
            if (!backup.match(name).hasMatch())
                return "unexpected file in the backup folder: " + name.toStdString();
            (name.contains(QStringLiteral("Auto")) ? automatic : manual)++;
            // A backup is written once, under another name, and renamed; it never changes in
            // place, so one that kept its size and time was checked already.
            const QFileInfo info(folder + u'/' + name);
            const QByteArray hash = QByteArray::number(info.size()) + ' '
                                    + QByteArray::number(info.lastModified().toMSecsSinceEpoch());
            if (m_checkedBackups.value(name) == hash)
                continue;
            const DbCopy copy(folder + u'/' + name, m_scratch, QStringLiteral("backup.cdb"));
            if (const std::string error = copy.integrity(); !error.empty())
                return "backup " + name.toStdString() + " damaged: " + error;
            if (!fingerprints.contains(copy.fingerprint(kListsAndTrees)))
                return "backup " + name.toStdString() + " holds lists it never had";
            m_checkedBackups[name] = hash;
        }
        if (automatic > 30 || manual > 20)
            return "more backups kept than allowed: " + std::to_string(automatic) + " automatic, "
                   + std::to_string(manual) + " manual";
        return {};
    }

    const char* m_name;
    QString m_root;
    QString m_scratch;
    QMap<QString, QByteArray> m_checkedBackups;
};

// Trees saved one after the other, as a forester tallies them.
class TallyActivity final : public Activity {
public:
    using Activity::Activity;

    void setUp() override { remember(); }

    QStringList nextRun(Rng& rng) override
    {
        static const struct {
            const char* species;
            const char* tariff;
        } kinds[] = {{"FI", "FI01"}, {"FI", "FI02"}, {"BU", "BU01"}, {"BU", "BU02"},
                     {"KI", "KI01"}, {"EI", "EI01"}, {"DG", "DG01"}, {"TA", "TA01"}};
        // A full list makes way for a new one, so the runs stay short.
        if (m_before.size() > 500) {
            m_list = QStringLiteral("T%1").arg(m_list.mid(1).toInt() + 1);
            EXPECT_EQ(newList(m_root, m_list), "");
            remember();
        }
        m_asked.clear();
        QByteArray input;
        for (int i = 0; i < 100; ++i) {
            const auto& kind = kinds[uniform(rng, 0, std::size(kinds) - 1)];
            const int count = uniform(rng, 1, 3);
            m_asked.push_back({kind.species, kind.tariff, count});
            input += QStringLiteral("--bhd %1 --species %2 --tarif %3 --stk %4\n")
                         .arg(uniform(rng, 8, 88))
                         .arg(QLatin1StringView(kind.species), QLatin1StringView(kind.tariff))
                         .arg(count)
                         .toUtf8();
        }
        const QString file = m_scratch + QStringLiteral("/trees.txt");
        EXPECT_TRUE(writeAll(file, input)) << file.toStdString();
        return {"tally", m_list, "--trees", file};
    }

    std::string check(const KillRun& run, const DbCopy& db) override
    {
        const QStringList rows = db.rows(QString::fromLatin1(kTreeLinesSql), {m_listId});
        if (rows.mid(0, m_before.size()) != m_before)
            return "trees saved before the run changed";
        const QStringList added = rows.mid(m_before.size());
        const QStringList reported = completeLines(run.out);
        if (added.size() < reported.size())
            return "reported but not in the database: " + reported[added.size()].toStdString();
        // The tree in flight may be committed without its line.
        if (added.size() > reported.size() + 1 || added.size() > qsizetype(m_asked.size()))
            return "more trees saved than reported: " + std::to_string(added.size()) + " for "
                   + std::to_string(reported.size()) + " lines";
        if (!run.hit && (run.status != 0 || added.size() != qsizetype(m_asked.size())))
            return "run ended with status " + std::to_string(run.status) + " after "
                   + std::to_string(added.size()) + " trees";
        const qint64 firstId =
            m_before.isEmpty() ? 1 : m_before.last().section(u'\t', 0, 0).mid(3).toLongLong() + 1;
        for (qsizetype i = 0; i < added.size(); ++i) {
            if (i < reported.size() && added[i] != reported[i])
                return "saved tree differs from its line: " + added[i].toStdString() + " / "
                       + reported[i].toStdString();
            const QStringList fields = added[i].split(u'\t');
            const Asked& asked = m_asked[size_t(i)];
            if (fields.value(0) != QStringLiteral("ID=%1").arg(firstId + i)
                || fields.value(2) != QLatin1StringView("TARIF=") + asked.tariff
                || fields.value(3) != QLatin1StringView("BAUMART=") + asked.species
                || fields.value(6) != QStringLiteral("STK=%1").arg(asked.count))
                return "saved tree is not the one asked for: " + added[i].toStdString();
        }
        touched(run, !added.isEmpty());
        if (otherTrees(db) != m_otherTrees)
            return "trees of other lists changed";
        m_before = rows;
        return {};
    }

private:
    struct Asked {
        QString species;
        QString tariff;
        int count;
    };

    void remember()
    {
        const auto db = openDatabase();
        m_listId = db->single(QStringLiteral("SELECT ID_FILE FROM Brov_Kopfdaten WHERE "
                                             "RTRIM(LISTE_NR) = '%1'")
                                  .arg(m_list))
                       .toLongLong();
        EXPECT_GT(m_listId, 0) << "list " << m_list.toStdString() << " not found";
        m_before = db->rows(QString::fromLatin1(kTreeLinesSql), {m_listId});
        m_otherTrees = otherTrees(*db);
    }
    qint64 otherTrees(const DbCopy& db) const
    {
        return db
            .single(QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten WHERE ID_FILE <> ?"),
                    {m_listId})
            .toLongLong();
    }

    QString m_list = QStringLiteral("T1");
    qint64 m_listId = 0;
    QStringList m_before;
    qint64 m_otherTrees = 0;
    std::vector<Asked> m_asked;
};

// The configuration imported again and again, the demo one and one with a volume changed.
class ConfigActivity final : public Activity {
public:
    using Activity::Activity;

    void setUp() override
    {
        m_files[0] = readAll(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
        m_files[1] = m_files[0];
        m_files[1].replace("40FFI01 08  0.020", "40FFI01 08  0.030");
        // A registry setting differs too, so rows and settings of two files cannot pass as one.
        m_files[1].replace("20CZusatz:             0", "20CZusatz2:            0");
        ASSERT_TRUE(m_files[1].count("0.030") != m_files[0].count("0.030")
                    && !m_files[1].contains("20CZusatz:"))
            << "the demo configuration has no FI01 volume of class 08 or no label Zusatz";
        for (int i = 0; i < 2; ++i)
            ASSERT_TRUE(writeAll(path(i), m_files[i])) << path(i).toStdString();
        // The root has the demo configuration already.
        m_fingerprints[0] = openDatabase()->fingerprint(kMaster);
        m_labels[0] = settings().label;
        ASSERT_EQ(run({"import-config", path(1)}), "");
        m_fingerprints[1] = openDatabase()->fingerprint(kMaster);
        m_labels[1] = settings().label;
        ASSERT_TRUE(m_labels[0] != m_labels[1]) << "both configurations give the same label";
        ASSERT_NE(m_fingerprints[0], m_fingerprints[1])
            << "both configurations give the same master rows";
        m_current = 1;
    }

    QStringList nextRun(Rng&) override { return {"import-config", path(1 - m_current)}; }

    std::string check(const KillRun& run, const DbCopy& db) override
    {
        const int target = 1 - m_current;
        const QByteArray now = db.fingerprint(kMaster);
        if (now != m_fingerprints[0] && now != m_fingerprints[1])
            return "master rows are neither the old nor the new configuration";
        // Rows of one file with settings of the other may only stand while the configuration
        // counts as not loaded: the next start imports the staged file again.
        const Settings stored = settings();
        if (stored.loaded && stored.label != m_labels[now == m_fingerprints[0] ? 0 : 1])
            return "master rows of one configuration, registry settings of the other, and "
                   "the configuration counts as loaded";
        if (!run.hit && (run.status != 0 || now != m_fingerprints[target]))
            return "import ended with status " + std::to_string(run.status);
        const QByteArray staged = readAll(m_root + QStringLiteral("/Brovant/passive.dtr"));
        if (staged != m_files[0] && staged != m_files[1])
            return "staged configuration is neither file (" + std::to_string(staged.size())
                   + " bytes)";
        touched(run, staged == m_files[target]);
        m_current = now == m_fingerprints[0] ? 0 : 1;
        return {};
    }

private:
    QString path(int i) const { return m_scratch + QStringLiteral("/config%1.dtr").arg(i); }

    struct Settings {
        bool loaded = false;
        QString label;
    };
    Settings settings() const
    {
        const Registry registry(m_root + QStringLiteral("/Registry"));
        const QString app = QString::fromUtf16(Profile::kAppKey);
        return {registry.dword(Hive::CurrentUser, app + QStringLiteral("\\KONFIG"),
                               QStringLiteral("Loaded"))
                        .value_or(0)
                    == 1,
                registry
                    .string(Hive::CurrentUser, app + QStringLiteral("\\HDL_KOPF"),
                            QStringLiteral("KOPF00"))
                    .value_or(QString())};
    }

    // The master rows without the tariff rows' in-use flag, which the program sets at shutdown.
    inline static const std::vector<const char*> kMaster = {
        "SELECT ID, ID_TYPE, DMSTUFE, BHDBIS, CASE WHEN ID_TYPE = 3 THEN 0 ELSE BHD END, TARIF,"
        " KUBATUR, REGION_A, BAUMART, HS1, HS2, HS3, HS4, HS5, HS6 FROM Brov_Einstellungen"
        " ORDER BY rowid",
        "SELECT * FROM Brov_Konfiguration ORDER BY rowid"};

    QByteArray m_files[2];
    QByteArray m_fingerprints[2];
    QString m_labels[2];
    int m_current = 0;
};

// Office list files in \Import, a few at a time, each to become a list of its own.
class ImportActivity final : public Activity {
public:
    using Activity::Activity;

    QStringList nextRun(Rng& rng) override
    {
        static const char* const endings[] = {"dat", "DAT", "Dat"};
        // New files once the earlier ones are all read.
        const bool read = fileNamesIn(importFolder()).isEmpty();
        for (int i = 0; read && i < 5; ++i) {
            const QString number = QStringLiteral("S%1").arg(m_next++, 4, 10, QChar(u'0'));
            Expected list = makeList(rng, number);
            list.file = number.toLower() + u'.' + QLatin1StringView(endings[i % 3]);
            EXPECT_TRUE(writeAll(importFolder() + u'/' + list.file, list.bytes))
                << list.file.toStdString();
            m_lists[number] = list;
        }
        m_waiting = fileNamesIn(importFolder());
        return {"import-lists"};
    }

    std::string check(const KillRun& run, const DbCopy& db) override
    {
        QSet<QString> imported;
        qint64 regions = 0;
        qint64 trees = 0;
        for (const QString& row :
             db.rows(QStringLiteral("SELECT ID_FILE, RTRIM(LISTE_NR) FROM Brov_Kopfdaten "
                                    "WHERE LISTE_NR LIKE 'S%' ORDER BY rowid"))) {
            const qint64 id = row.section(u'|', 0, 0).toLongLong();
            const QString number = row.section(u'|', 1);
            if (imported.contains(number))
                return "list " + number.toStdString() + " imported twice";
            imported << number;
            const auto found = m_lists.find(number);
            if (found == m_lists.end())
                return "a list no file held: " + row.toStdString();
            const Expected& e = found->second;
            regions += e.regions.size();
            trees += e.trees.size();
            // Row by row once; after that the counts below show any change.
            if (m_whole.contains(number))
                continue;
            if (db.single(QString::fromLatin1(kHeaderSql), {id}) != e.header)
                return "list " + number.toStdString() + " has another header: "
                       + db.single(QString::fromLatin1(kHeaderSql), {id}).toStdString();
            if (db.rows(QString::fromLatin1(kRegionsSql), {id}) != e.regions)
                return "list " + number.toStdString() + " has other regions";
            const QStringList rows = db.rows(QString::fromLatin1(kTreesOfListSql), {id});
            if (rows != e.trees)
                return "list " + number.toStdString()
                       + " half imported: " + std::to_string(rows.size()) + " of "
                       + std::to_string(e.trees.size()) + " trees, or other ones";
            m_whole << number;
        }
        const char* const ofImported =
            " WHERE ID_FILE IN (SELECT ID_FILE FROM Brov_Kopfdaten WHERE LISTE_NR LIKE 'S%')";
        if (db.single(QStringLiteral("SELECT COUNT(*) FROM Brov_Region") + ofImported).toLongLong()
                != regions
            || db.single(QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten") + ofImported)
                       .toLongLong()
                   != trees)
            return "regions or trees of imported lists changed";
        // A file may wait under its own name or as claimed by an import that was cut short;
        // whether a claim went in shows at the next run (neither twice nor missing).
        static const QRegularExpression claim(QStringLiteral("^(.*)\\.\\d+\\.imp$"));
        const QStringList waiting = fileNamesIn(importFolder());
        for (const QString& name : waiting) {
            const auto claimed = claim.match(name);
            const QString file = claimed.hasMatch() ? claimed.captured(1) : name;
            const QString number = file.section(u'.', 0, 0).toUpper();
            const auto found = m_lists.find(number);
            if (found == m_lists.end() || found->second.file != file)
                return "unexpected file in \\Import: " + name.toStdString();
            if (readAll(importFolder() + u'/' + name) != found->second.bytes)
                return "list file changed in \\Import: " + name.toStdString();
            if (!claimed.hasMatch() && imported.contains(number))
                return "list " + number.toStdString()
                       + " is in the database while its file still waits in \\Import: the next "
                         "import brings it in twice";
        }
        touched(run, waiting != m_waiting);
        m_waiting = waiting;
        if (!run.hit) {
            if (run.status != 0 || !waiting.isEmpty())
                return "import ended with status " + std::to_string(run.status) + ", "
                       + std::to_string(waiting.size()) + " files left";
            for (const QString& number : completeLines(run.out)) {
                if (!imported.contains(number))
                    return "reported list " + number.toStdString() + " is missing";
            }
            // With nothing left to read, every file written so far must have become its list.
            for (const auto& [number, list] : m_lists) {
                if (!imported.contains(number))
                    return "list " + number.toStdString() + " never came in";
            }
        }
        return {};
    }

private:
    struct Expected {
        QString file;
        QByteArray bytes;
        QString header;
        QStringList regions;
        QStringList trees;
    };

    QString importFolder() const { return m_root + QStringLiteral("/Import"); }

    // A file in the office's columns (Windows-1252, CR LF) and the rows it must become.
    static Expected makeList(Rng& rng, const QString& number)
    {
        static const char* const species[] = {"FI", "BU", "KI", "EI"};
        static const char* const factors[] = {"1.00", "0.95", "0.90"};
        const int factor = uniform(rng, 0, 2);
        const QString date = QStringLiteral("%1.05.2026").arg(uniform(rng, 10, 28));
        const QString region = QStringLiteral("WR0%1").arg(uniform(rng, 1, 9));
        const QString texts[] = {QStringLiteral("Forstamt %1").arg(uniform(rng, 1, 99)),
                                 QStringLiteral("Revier Nord"), QStringLiteral("%1").arg(number),
                                 QString::fromUtf8("Förster Öhm")};
        Expected e;
        QStringList lines;
        lines << "001" + padded(number, 8) + padded("Liste:", 20) + date + padded("Datum:", 20)
                     + QLatin1StringView(factors[factor]) + padded("Faktor:", 20)
                     + padded(region, 8) + "T00300";
        lines << "002" + padded("Forstamt:", 20) + padded(texts[0], 40) + padded("Revier:", 20)
                     + padded(texts[1], 40);
        lines << "003" + padded("Abteilung:", 20) + padded(texts[2], 40) + padded("Aufnehmer:", 20)
                     + padded(texts[3], 40);
        e.header = QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8|0|0|T00300")
                       .arg(number, date, QString::number(100 - 5 * factor), region, texts[0],
                            texts[1], texts[2], texts[3]);
        const int regions = uniform(rng, 1, 2);
        for (int i = 0; i < regions; ++i) {
            const QString kind = QLatin1StringView(species[uniform(rng, 0, 3)]);
            lines << "REG" + padded(region, 8) + padded(kind, 3) + padded(kind + "01", 5);
            e.regions << QStringLiteral("%1|%2|%3|%4").arg(i).arg(region, kind, kind + "01");
        }
        const int trees = uniform(rng, 20, 60);
        for (int i = 0; i < trees; ++i) {
            const int type = uniform(rng, 1, 2);
            const QString parcel = uniform(rng, 0, 1) ? QStringLiteral("%1").arg(i + 1) : QString();
            const int count = uniform(rng, 1, 9);
            const QString kind = QLatin1StringView(species[uniform(rng, 0, 3)]);
            const int diameter = uniform(rng, 8, 99);
            const QString diameterClass =
                QStringLiteral("%1").arg(diameter / 2 * 2, 2, 10, QChar(u'0'));
            const int volume = uniform(rng, 1, 99999);
            const QString quality = uniform(rng, 0, 1) ? QStringLiteral("B") : QString();
            const QString caliper = uniform(rng, 0, 1) ? QStringLiteral("2") : QString();
            lines << (type == 1 ? "10A" : "10B") + padded(parcel, 5)
                         + QStringLiteral("%1").arg(count, 2) + padded(kind, 3)
                         + QStringLiteral("%1").arg(diameter, 3) + diameterClass
                         + QStringLiteral("%1.%2")
                               .arg(volume / 100, 4)
                               .arg(volume % 100, 2, 10, QChar(u'0'))
                         + padded(quality, 2) + padded(caliper, 2) + padded(kind + "01", 5);
            e.trees << QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8|%9|%10|%11")
                           .arg(QString::number(i), QString::number(type), parcel,
                                QString::number(count), kind, QString::number(diameter),
                                diameterClass, QString::number(volume), quality, caliper,
                                kind + "01");
        }
        for (const QString& line : lines) {
            for (const QChar c : line)
                e.bytes += c.unicode() < 256 ? char(c.unicode()) : '?';
            e.bytes += "\r\n";
        }
        return e;
    }

    static constexpr const char* kHeaderSql =
        "SELECT RTRIM(LISTE_NR), DATUM_A, KOR_FAKTOR_N, RTRIM(REGION_A), RTRIM(KOPF1_A),"
        " RTRIM(KOPF2_A), RTRIM(KOPF3_A), RTRIM(KOPF4_A), DUE_MARK, EXPORTED_N_NI, STRUKTUR"
        " FROM Brov_Kopfdaten WHERE ID_FILE = ?";
    static constexpr const char* kRegionsSql =
        "SELECT ID, RTRIM(REGION_A), RTRIM(BAUMART), RTRIM(TARIF) FROM Brov_Region"
        " WHERE ID_FILE = ? ORDER BY ID";
    static constexpr const char* kTreesOfListSql =
        "SELECT ID, ID_TYPE, RTRIM(PARZ), STK, RTRIM(BAUMART), BHD, RTRIM(DMSTUFE), KUBATUR,"
        " RTRIM(NA), RTRIM(KA), RTRIM(TARIF) FROM Brov_Holzdaten WHERE ID_FILE = ? ORDER BY ID";

    std::map<QString, Expected> m_lists;
    QSet<QString> m_whole; // lists found whole once
    QStringList m_waiting; // the files before the run
    int m_next = 1;
};

// Manual and automatic backups of a device with a tallied list.
class BackupActivity final : public Activity {
public:
    using Activity::Activity;

    void setUp() override
    {
        // Enough trees that copying the database is a stretch of work a kill can meet.
        QByteArray trees;
        for (int i = 0; i < 1500; ++i)
            trees += "--bhd " + QByteArray::number(10 + i % 70) + " --species FI --tarif FI01\n";
        const QString file = m_scratch + QStringLiteral("/trees.txt");
        ASSERT_TRUE(writeAll(file, trees)) << file.toStdString();
        ASSERT_EQ(run({"tally", "T1", "--trees", file}), "");
        m_lists = openDatabase()->fingerprint(kListsAndTrees);
    }

    QStringList nextRun(Rng& rng) override
    {
        m_before = backupFiles();
        return {"backup", uniform(rng, 0, 1) ? "--auto" : "--manual"};
    }

    std::string check(const KillRun& run, const DbCopy& db) override
    {
        if (db.fingerprint(kListsAndTrees) != m_lists)
            return "the backup changed the lists";
        if (std::string error = checkBackups({m_lists}); !error.empty())
            return error;
        touched(run, backupFiles() != m_before);
        if (!run.hit) {
            const QString made = QString::fromUtf8(run.out).trimmed().section(u'\\', -1);
            if (run.status != 0 || !QFile::exists(m_root + QStringLiteral("/Brovant/Save/") + made))
                return "backup ended with status " + std::to_string(run.status) + ", made '"
                       + made.toStdString() + "'";
        }
        return {};
    }

private:
    QByteArray m_lists;
    QStringList m_before;
};

// Two manual backups of different lists, restored in turn.
class RestoreActivity final : public Activity {
public:
    using Activity::Activity;

    void setUp() override
    {
        const QStringList tree = {"tally", "T1", "--species", "BU", "--tarif", "BU01", "--bhd"};
        for (int i = 0; i < 2; ++i) {
            for (const QStringList& step :
                 {tree + QStringList{"25"}, tree + QStringList{"52"}, {"backup", "--manual"}})
                ASSERT_EQ(run(step), "");
            m_fingerprints[i] = openDatabase()->fingerprint(kListsAndTrees);
            m_backups[i] = readAll(backupPath(i));
            ASSERT_FALSE(m_backups[i].isEmpty()) << "no backup " << backupPath(i).toStdString();
        }
        m_current = 1;
    }

    QStringList nextRun(Rng&) override
    {
        m_before = backupFiles();
        return {"restore", QStringLiteral("%1_Manu.cdb").arg(2 - m_current, 4, 10, QChar(u'0'))};
    }

    std::string check(const KillRun& run, const DbCopy& db) override
    {
        const int target = 1 - m_current;
        const QByteArray now = db.fingerprint(kListsAndTrees);
        if (now != m_fingerprints[m_current] && now != m_fingerprints[target])
            return "database is neither the old nor the restored one";
        if (!run.hit && (run.status != 0 || now != m_fingerprints[target]))
            return "restore ended with status " + std::to_string(run.status);
        for (int i = 0; i < 2; ++i) {
            if (readAll(backupPath(i)) != m_backups[i])
                return "the restored backup changed: " + backupPath(i).toStdString();
        }
        if (std::string error = checkBackups({m_fingerprints[0], m_fingerprints[1]});
            !error.empty())
            return error;
        touched(run, now != m_fingerprints[m_current] || backupFiles() != m_before
                         || QFile::exists(m_root + QStringLiteral("/Brovant/Brovant.cdb.restore")));
        m_current = now == m_fingerprints[0] ? 0 : 1;
        return {};
    }

private:
    QString backupPath(int i) const
    {
        return m_root + QStringLiteral("/Brovant/Save/%1_Manu.cdb").arg(i + 1, 4, 10, QChar(u'0'));
    }

    QByteArray m_fingerprints[2];
    QByteArray m_backups[2];
    int m_current = 0;
    QStringList m_before;
};

// What every kill must leave on any root: a sound database, what `check` requires of it, and hive
// files that load.
std::string deviceIntact(const QString& root, const QString& scratch,
                         const std::function<std::string(const DbCopy&)>& check = {})
{
    const DbCopy db(database(root), scratch);
    if (std::string error = db.integrity(); !error.empty())
        return "database: " + error;
    if (std::string error = check ? check(db) : ""; !error.empty())
        return error;
    return hivesLoad(root);
}

struct ProgramStarts {
    int hits = 0;
    int starts = 0;
    double typicalMs = 0;
};

// Kills the program in its start (once its time is known), then starts it to the main menu: it
// must end by itself with status 0, in spite of the lock the killed one may have left.
std::string startProgram(const QString& root, Rng& rng, ProgramStarts& starts)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    const QString lock = root + QStringLiteral("/.brovant.lock");
    if (starts.typicalMs > 0) {
        const KillRun killed =
            runAndKill(kProgram, {"--root", root}, uniform(rng, 0, int(starts.typicalMs)), env);
        if (!killed.hit)
            return "program ended before the kill (status " + std::to_string(killed.status)
                   + ", signal " + std::to_string(killed.signal) + "): " + killed.err.toStdString();
        ++starts.hits;
    }
    // A start that gets past the lock makes the folders again.
    QDir().rmdir(root + QStringLiteral("/Export"));
    const bool stale = QFile::exists(lock);
    const KillRun r = runAndKill(kProgram, {"--root", root, "--exit-after-start"}, -1, env);
    ++starts.starts;
    if (!r.finished)
        return "program did not end (a question on the screen?): " + r.err.toStdString();
    if (r.status != 0)
        return "program ended with status " + std::to_string(r.status) + ", signal "
               + std::to_string(r.signal) + ": " + r.err.toStdString();
    if (!QDir(root + QStringLiteral("/Export")).exists())
        return stale ? "the lock of the killed program stopped the start"
                     : "the program did not start";
    if (QFile::exists(lock))
        return "the program left its lock behind";
    starts.typicalMs = starts.typicalMs > 0 ? 0.7 * starts.typicalMs + 0.3 * double(r.elapsedMs)
                                            : double(r.elapsedMs);
    return {};
}

std::uint64_t seedFromEnvironment()
{
    bool ok = false;
    const std::uint64_t seed = qEnvironmentVariable("BROVANT_SOAK_SEED").toULongLong(&ok);
    return ok ? seed : std::random_device{}();
}

TEST(KillSoak, KilledProgramsLeaveASoundDevice)
{
    const std::uint64_t seed = seedFromEnvironment();
    bool given = false;
    const int wanted = qEnvironmentVariable("BROVANT_SOAK_KILLS").toInt(&given);
    const int target = given && wanted > 0 ? wanted : 500;
    std::printf("kill soak: seed %llu (BROVANT_SOAK_SEED=%llu repeats it), %d kills\n",
                static_cast<unsigned long long>(seed), static_cast<unsigned long long>(seed),
                target);
    std::fflush(stdout);
    const auto started = std::chrono::steady_clock::now();
    Rng rng(seed);

    // In memory where there is a memory file system: a kill leaves the same files there, and the
    // runs and checks do not wait for the disk.
    const QString memory = QStringLiteral("/dev/shm");
    QTemporaryDir base((QFileInfo(memory).isWritable() ? memory : QDir::tempPath())
                       + QStringLiteral("/brovant-soak-XXXXXX"));
    ASSERT_TRUE(base.isValid());
    const QString demo = base.path() + QStringLiteral("/demo");
    ASSERT_EQ(demoDevice(demo, {"T1"}), "");
    std::vector<std::unique_ptr<Activity>> activities;
    activities.push_back(std::make_unique<TallyActivity>("tally", base.path()));
    activities.push_back(std::make_unique<ConfigActivity>("import-config", base.path()));
    activities.push_back(std::make_unique<ImportActivity>("import-lists", base.path()));
    activities.push_back(std::make_unique<BackupActivity>("backup", base.path()));
    activities.push_back(std::make_unique<RestoreActivity>("restore", base.path()));
    const QString scratch = base.path() + QStringLiteral("/scratch");
    QDir().mkpath(scratch);

    // A killed run never gets to the leak check at exit (the other tests of these commands make
    // it); without it a run ends with its work, and the kills spread over the work, not the exit.
    QProcessEnvironment toolEnv = QProcessEnvironment::systemEnvironment();
    const QString asan = toolEnv.value(QStringLiteral("ASAN_OPTIONS"));
    toolEnv.insert(QStringLiteral("ASAN_OPTIONS"),
                   (asan.isEmpty() ? QString() : asan + u':') + QStringLiteral("detect_leaks=0"));

    int kills = 0;
    int cycle = 0;
    qint64 runMs = 0;
    qint64 checkMs = 0;
    std::string context;
    // One run of the activity, killed after `killAfterMs` (negative: not at all), and the checks.
    const auto runOnce = [&](Activity& a, qint64 killAfterMs) -> std::string {
        const QStringList args = a.nextRun(rng);
        if (::testing::Test::HasFailure())
            return std::string(a.name()) + ": the run's input could not be made";
        QElapsedTimer clock;
        clock.start();
        const KillRun r = runAndKill(QStringLiteral(BROVANT_TOOL_PATH),
                                     QStringList{"--root", a.root()} + args, killAfterMs, toolEnv);
        runMs += clock.restart();
        ++a.runs;
        context = "cycle " + std::to_string(cycle) + ", " + a.name() + " "
                  + args.join(u' ').toStdString() + ", kill after " + std::to_string(killAfterMs)
                  + " ms, " + (r.hit ? "killed" : "not killed") + ", status "
                  + std::to_string(r.status) + ", stderr: " + r.err.toStdString();
        if (!r.finished)
            return "the run hung";
        if (!r.hit && r.signal != 0)
            return "the run died of signal " + std::to_string(r.signal);
        if (r.hit) {
            ++a.hits;
            ++kills;
        } else {
            ++a.completed;
            // Only runs meant to end count: the ones that beat a kill are the quick ones.
            if (killAfterMs < 0)
                a.durations.add(r.elapsedMs);
        }
        const std::string error =
            deviceIntact(a.root(), scratch, [&](const DbCopy& db) { return a.check(r, db); });
        checkMs += clock.elapsed();
        return error;
    };
    // Start-up and opening the device ("init", before any work: the work begins about here), then
    // a run to its end: how long each takes.
    const auto runToTheEnd = [&](Activity& a) -> std::string {
        const KillRun r = runAndKill(QStringLiteral(BROVANT_TOOL_PATH),
                                     {"--root", a.root(), "init"}, -1, toolEnv);
        if (r.status != 0)
            return std::string(a.name()) + " init: " + r.err.toStdString();
        a.startUps.add(r.elapsedMs);
        return runOnce(a, -1);
    };

    for (auto& a : activities) {
        ASSERT_TRUE(copyTree(demo, a->root()));
        ASSERT_NO_FATAL_FAILURE(a->setUp()) << a->name();
        // The first runs go to their end: how long a run takes.
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(runToTheEnd(*a), "") << context << "\nseed " << seed;
    }

    ProgramStarts program;
    int nextProgramStart = 50;
    size_t programRoot = 0;
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    while (kills + program.hits < target) {
        ++cycle;
        // The activity with the fewest kills so far, so each gets its share.
        Activity* a = activities.front().get();
        for (auto& candidate : activities) {
            if (candidate->hits < a->hits)
                a = candidate.get();
        }
        // Start-up and run times drift with the machine's load.
        if (a->runs % 10 == 0) {
            ASSERT_EQ(runToTheEnd(*a), "") << context << "\nseed " << seed;
        }
        // Mostly within the work after start-up, else anywhere in the run's life; now and then
        // a little after its usual end, which also keeps the usual end up to date.
        const double end = a->durations.quartile() * 1.05;
        const double from = unit(rng) < 0.7
                                ? std::min(a->startUps.quartile(), a->durations.quartile()) * 0.95
                                : 0.0;
        const auto delay = qint64(from + (end - from) * unit(rng));
        ASSERT_EQ(runOnce(*a, delay), "") << context << "\nseed " << seed;

        if (kills >= nextProgramStart) {
            nextProgramStart += 50;
            const Activity& on = *activities[programRoot++ % activities.size()];
            ASSERT_EQ(startProgram(on.root(), rng, program), "")
                << "program on the " << on.name() << " device after " << context << "\nseed "
                << seed;
            ASSERT_EQ(deviceIntact(on.root(), scratch), "") << on.name() << "\nseed " << seed;
        }
    }
    for (const auto& a : activities) {
        // The next run after the last kill goes to its end from what the kill left.
        ASSERT_EQ(runOnce(*a, -1), "") << context << "\nseed " << seed;
        ASSERT_EQ(startProgram(a->root(), rng, program), "")
            << "program on the " << a->name() << " device at the end\nseed " << seed;
        ASSERT_EQ(deviceIntact(a->root(), scratch), "") << a->name() << "\nseed " << seed;
    }

    const auto seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("kill soak: %d kills in %.0f s (runs %.0f s, checks %.0f s), seed %llu\n",
                kills + program.hits, seconds, double(runMs) / 1000, double(checkMs) / 1000,
                static_cast<unsigned long long>(seed));
    for (const auto& a : activities)
        std::printf("  %-13s %4d kills (%3d in the work), %4d runs to the end, a run %3.0f ms "
                    "(start-up %3.0f ms)\n",
                    a->name(), a->hits, a->inTheWork, a->completed, a->durations.quartile(),
                    a->startUps.quartile());
    std::printf("  %-13s %4d kills, %4d starts to the main menu, a start %4.0f ms\n", "program",
                program.hits, program.starts, program.typicalMs);
    std::fflush(stdout);
    EXPECT_GE(kills + program.hits, target);
}

} // namespace
} // namespace brovant::test
