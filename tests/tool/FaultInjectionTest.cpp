// A full storage card and a failing disk under the real tool. A preloaded library (support/faultfs)
// makes the calls on one folder fail as the medium would: ENOSPC once N bytes went, EIO on write,
// on sync, on rename or on read. Backup, export, send and restore must each end with the system's
// own message and lose nothing: the database as it was and sound, the earlier backups untouched,
// nothing cut short under a final name, the transfer marks kept; and once the medium works again
// the same command must go through.
#include "masterdata/DeviceSession.h"
#include "platform/CopyTree.h"
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <QDir>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace brovant::test {
namespace {

enum class Op { ManualBackup, AutomaticBackup, ExportLists, ExportCsv, Send, Restore };

const struct {
    const char* name;
    QStringList args;
} kOps[] = {{"ManualBackup", {"backup"}},
            {"AutomaticBackup", {"backup", "--auto"}},
            {"ExportLists", {"export-lists"}},
            {"ExportCsv", {"export-csv", "HIEB01"}},
            {"Send", {"send"}},
            {"Restore", {"restore", "0001_Manu.cdb"}}};

void PrintTo(Op op, std::ostream* os)
{
    *os << kOps[int(op)].name;
}

const QString kDatabase = QStringLiteral("Brovant/Brovant.cdb");
const QString kCard = QStringLiteral("Storage Card/Brovant_Save");
const QString kListFile = QStringLiteral("HIEB01  .DAT");
const QString kCsvFile = QStringLiteral("My Documents/HIEB01.csv");
const QByteArray kOldCsv = "an earlier export of HIEB01\r\n";
// Trees in the backup 0001_Manu.cdb; the database holds one more.
constexpr int kBackupTrees = 1500;

bool intact(const QString& file)
{
    return sqlRows(file, QStringLiteral("PRAGMA integrity_check"), true) == QStringList{"ok"};
}

int trees(const QString& file)
{
    return sqlRows(file, QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten"), true)
        .value(0)
        .toInt();
}

// Every row of every table: what the database holds, whatever its pages look like.
QStringList contentOf(const QString& file)
{
    QStringList content;
    for (const QString& table :
         sqlRows(file,
                 QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY "
                                "name"),
                 true)) {
        content << table;
        content += sqlRows(file, QStringLiteral("SELECT * FROM \"%1\"").arg(table), true);
    }
    return content;
}

QString marks(const QString& file)
{
    return sqlRows(file,
                   QStringLiteral("SELECT LISTE_NR, DUE_MARK, EXPORTED_N_NI FROM "
                                  "Brov_Kopfdaten ORDER BY rowid"),
                   true)
        .join(u' ');
}

// Built once per test program: the demo device with the list HIEB01 of 1500 trees marked for
// transfer, backups on the storage card with the manual backup 0001_Manu.cdb, then one tree
// more; and the files a working medium gets from export-lists and export-csv.
class FaultInjection : public ::testing::TestWithParam<Op> {
protected:
    static void SetUpTestSuite()
    {
        s_device = std::make_unique<TempRoot>();
        const QString root = s_device->path();
        s_setupError = demoDevice(root, {"HIEB01"});
        const auto step = [&](const QStringList& args, const QString& on = {}) {
            if (s_setupError.empty())
                s_setupError = failure(tool(on.isEmpty() ? root : on, args));
        };
        step({"tally", "HIEB01", "--bhd", "25", "--species", "FI", "--tarif", "FI01"});
        // The rest of the trees as copies of the first, in one statement rather than a tally each.
        if (s_setupError.empty()
            && !sqlRows(root + u'/' + kDatabase,
                        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < "
                        "1499) INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, PARZ, STK, "
                        "BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF) SELECT t.ID + n.i, "
                        "t.ID_FILE, t.ID_TYPE, t.PARZ, t.STK, t.BAUMART, t.BHD, "
                        "t.DMSTUFE, t.KUBATUR, t.NA, t.KA, t.TARIF FROM Brov_Holzdaten t, n")
                    .isEmpty())
            s_setupError = "trees not inserted";
        step({"mark", "HIEB01"});
        QDir().mkpath(root + QStringLiteral("/Storage Card"));
        QDir().mkpath(root + QStringLiteral("/Export"));
        QDir().mkpath(root + QStringLiteral("/My Documents"));
        DeviceSession(root).store().writeInt(Setting::BackupKarte, 0, 1);
        step({"backup"});
        step({"tally", "HIEB01", "--bhd", "40", "--species", "FI", "--tarif", "FI01"});

        TempRoot scratch;
        if (s_setupError.empty() && !copyTree(root, scratch.path()))
            s_setupError = "device not copied";
        const auto exported = [&](const QStringList& args, const QString& file) {
            step(args, scratch.path());
            return scratch.readFile(file);
        };
        s_listFile = exported({"export-lists"}, QStringLiteral("Export/") + kListFile);
        s_csvFile = exported({"export-csv", "HIEB01"}, kCsvFile);
    }
    static void TearDownTestSuite() { s_device.reset(); }

    void SetUp() override
    {
        ASSERT_EQ(s_setupError, "");
        ASSERT_EQ(trees(host(kCard) + QStringLiteral("/0001_Manu.cdb")), kBackupTrees);
        ASSERT_EQ(trees(host(kDatabase)), kBackupTrees + 1);
        // Big enough that the faults strike in the middle of each file.
        ASSERT_GT(s_listFile.size(), 16384);
        ASSERT_GT(s_csvFile.size(), 70000);
    }

    // A fresh copy of the device for each row, so no row sees another's leftovers.
    void freshDevice()
    {
        m_root = std::make_unique<TempRoot>();
        ASSERT_TRUE(copyTree(s_device->path(), m_root->path()));
    }
    QString host(const QString& relative) const
    {
        return (m_root ? m_root->path() : s_device->path()) + u'/' + relative;
    }

    // Where the medium fails: the storage card, the export folder, the printer folder, or the copy
    // a restore stages beside the database.
    QString prefixOf(const QString& place) const
    {
        if (place == QLatin1StringView("staging")) {
            // Qt writes the staged copy as an unnamed file in the folder ("#<inode>") where the
            // system has them, else under a temporary name beside the target.
            const QString folder = QFileInfo(host(QStringLiteral("Brovant"))).canonicalFilePath();
            return folder + QStringLiteral("/Brovant.cdb.restore:") + folder + QStringLiteral("/#");
        }
        static const QMap<QString, QString> folders = {
            {"card", "Storage Card"}, {"export", "Export"}, {"documents", "My Documents"}};
        return QFileInfo(host(folders.value(place))).canonicalFilePath();
    }

    // The tool with the failing medium preloaded; an empty fault leaves every call alone.
    ToolRun run(const QStringList& args, const QString& fault = {}, qint64 after = 0,
                const QString& place = QStringLiteral("card"))
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(BROVANT_FAULTFS_PATH));
        // The sanitizer runtime wants to be first among the preloaded libraries; the failing
        // medium must come before it to see the calls.
        const QString asan = env.value(QStringLiteral("ASAN_OPTIONS"));
        env.insert(QStringLiteral("ASAN_OPTIONS"),
                   asan + (asan.isEmpty() ? "" : ":") + QStringLiteral("verify_asan_link_order=0"));
        env.insert(QStringLiteral("BROVANT_FAULT"), fault);
        env.insert(QStringLiteral("BROVANT_FAULT_AFTER"), QString::number(after));
        env.insert(QStringLiteral("BROVANT_FAULT_PREFIX"), prefixOf(place));
        env.insert(QStringLiteral("BROVANT_FAULT_LOG"), m_log.filePath(QStringLiteral("faults")));
        return runTool(QStringList{QStringLiteral("--root"), m_root->path()} + args, env);
    }

    // A send with the office's ActiveSync end collecting into `office` beside it.
    ToolRun send(const QString& office, const QString& fault = {}, qint64 after = 0)
    {
        ToolProcess peer({"office-activesync", "--root", m_root->path(), "--collect", office,
                          "--timeout", "30"});
        const ToolRun r = run({"send"}, fault, after, QStringLiteral("export"));
        const ToolRun p = peer.finish();
        EXPECT_EQ(p.status, 0) << p.err.toStdString();
        return r;
    }

    QByteArray faultLog() const { return readAll(m_log.filePath(QStringLiteral("faults"))); }

    static inline std::unique_ptr<TempRoot> s_device;
    static inline std::string s_setupError;
    static inline QByteArray s_listFile;
    static inline QByteArray s_csvFile;
    std::unique_ptr<TempRoot> m_root;
    QTemporaryDir m_log;
};

TEST_P(FaultInjection, EndsWithItsMessageLosesNothingAndRetries)
{
    const Op op = GetParam();
    for (const Case& c : readCases(QStringLiteral("tool/data/faults.txt"))) {
        if (c.text(0) != QLatin1StringView(kOps[int(op)].name))
            continue;
        SCOPED_TRACE(c.where().toStdString());
        const QString fault = c.text(1);
        const QString message = c.text(4);
        const QStringList newBackups = c.text(5).split(u' ', Qt::SkipEmptyParts);
        ASSERT_NO_FATAL_FAILURE(freshDevice());
        if (op == Op::ExportCsv)
            m_root->writeFile(kCsvFile, kOldCsv);
        QFile::remove(m_log.filePath(QStringLiteral("faults")));
        const QString database = host(kDatabase);
        const QStringList content = contentOf(database);
        const QMap<QString, QByteArray> backups = filesIn(host(kCard));
        const QStringList filesBefore = filesIn(m_root->path()).keys();
        TempRoot office;

        const ToolRun r = op == Op::Send
                              ? send(office.path(), fault, c.text(2).toLongLong())
                              : run(kOps[int(op)].args, fault, c.text(2).toLongLong(), c.text(3));

        EXPECT_EQ(r.status, 1) << r.err.toStdString();
        if (op == Op::Send) {
            // A list whose file cannot be created still counts as exported: the transfer goes
            // on and unmarks it, the message says what happened. Its trees stay.
            EXPECT_TRUE(r.err.contains(message)) << r.err.toStdString();
            EXPECT_EQ(r.out, QStringLiteral("HIEB01\n"));
            EXPECT_EQ(marks(database), QStringLiteral("HIEB01|0|1"));
        } else {
            EXPECT_EQ(r.err, message);
            EXPECT_EQ(r.out, QString());
        }
        // The medium really failed under the code meant, not somewhere beside it.
        EXPECT_FALSE(faultLog().isEmpty());

        EXPECT_TRUE(intact(database));
        if (op == Op::Send) {
            EXPECT_EQ(trees(database), kBackupTrees + 1);
        } else {
            EXPECT_EQ(contentOf(database), content); // the transfer marks among it
        }
        const QMap<QString, QByteArray> backupsAfter = filesIn(host(kCard));
        EXPECT_EQ(backupsAfter.keys(), (backups.keys() + newBackups));
        for (auto it = backups.begin(); it != backups.end(); ++it) {
            EXPECT_EQ(backupsAfter.value(it.key()), it.value()) << it.key().toStdString();
            EXPECT_TRUE(intact(host(kCard) + u'/' + it.key())) << it.key().toStdString();
        }
        // No file left anywhere that was not there before: no temporary copy, no staged restore,
        // no list file cut short; a spreadsheet file written before stays as it was.
        QStringList expectedFiles = filesBefore;
        for (const QString& name : newBackups)
            expectedFiles << kCard + u'/' + name;
        expectedFiles.sort();
        EXPECT_EQ(filesIn(m_root->path()).keys(), expectedFiles);
        if (op == Op::ExportCsv) {
            EXPECT_EQ(m_root->readFile(kCsvFile), kOldCsv);
        }
        EXPECT_TRUE(filesIn(office.path()).isEmpty());

        // The medium works again: the same command goes through.
        QFile::remove(m_log.filePath(QStringLiteral("faults")));
        if (op == Op::Send) {
            ASSERT_EQ(run({"mark", "HIEB01"}).out, QStringLiteral("1\n"));
        }
        const ToolRun retry = op == Op::Send ? send(office.path()) : run(kOps[int(op)].args);
        EXPECT_EQ(retry.status, 0) << retry.err.toStdString();
        EXPECT_TRUE(faultLog().isEmpty());
        EXPECT_TRUE(intact(database));
        const QMap<QString, QByteArray> retried = filesIn(host(kCard));
        QStringList added = retried.keys();
        for (const QString& name : backupsAfter.keys())
            added.removeOne(name);
        switch (op) {
        case Op::ManualBackup:
        case Op::AutomaticBackup: {
            ASSERT_EQ(added.size(), 1);
            EXPECT_TRUE(added[0].endsWith(op == Op::ManualBackup ? "_Manu.cdb" : "_Auto.cdb"));
            EXPECT_EQ(retry.out,
                      QStringLiteral("\\Storage Card\\Brovant_Save\\%1\n").arg(added[0]));
            EXPECT_TRUE(intact(host(kCard) + u'/' + added[0]));
            EXPECT_EQ(contentOf(host(kCard) + u'/' + added[0]), content);
            break;
        }
        case Op::ExportLists:
            EXPECT_EQ(retry.out, kListFile + u'\n');
            EXPECT_EQ(m_root->readFile(QStringLiteral("Export/") + kListFile), s_listFile);
            EXPECT_EQ(contentOf(database), content);
            break;
        case Op::ExportCsv:
            EXPECT_EQ(m_root->readFile(kCsvFile), s_csvFile);
            EXPECT_EQ(contentOf(database), content);
            break;
        case Op::Send:
            EXPECT_EQ(retry.out, QStringLiteral("HIEB01\n"));
            EXPECT_EQ(filesIn(office.path()), (QMap<QString, QByteArray>{{kListFile, s_listFile}}));
            EXPECT_EQ(marks(database), QStringLiteral("HIEB01|0|2"));
            break;
        case Op::Restore:
            EXPECT_EQ(trees(database), kBackupTrees);
            EXPECT_EQ(contentOf(database),
                      contentOf(host(kCard) + QStringLiteral("/0001_Manu.cdb")));
            // The state before the restore, kept as an automatic backup.
            ASSERT_EQ(added.size(), 1);
            EXPECT_EQ(contentOf(host(kCard) + u'/' + added[0]), content);
            break;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultInjection,
                         ::testing::Values(Op::ManualBackup, Op::AutomaticBackup, Op::ExportLists,
                                           Op::ExportCsv, Op::Send, Op::Restore),
                         [](const auto& info) { return std::string(kOps[int(info.param)].name); });

} // namespace
} // namespace brovant::test
