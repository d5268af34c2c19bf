#include "app/logic/ConfigurationLogic.h"

#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "support/TempRoot.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace brovant {
namespace {

std::string str(const QString& text)
{
    return text.toStdString();
}

// Where a field lives, written out by hand so a slip in the program's table shows.
struct Field {
    const char* column;
    const char* section;
    const char* entry;
    const char* defaultValue;
    int width;
};

struct PageCase {
    const char* name;
    ConfigPage page;
    std::vector<Field> fields;
};

const PageCase kPages[] = {
    {"CompanyHeader",
     ConfigPage::CompanyHeader,
     {
         {"FIRMENKOPF1_A", "FIRMENKOPF", "1", "", 40},
         {"FIRMENKOPF2_A", "FIRMENKOPF", "2", "", 40},
         {"FIRMENKOPF3_A", "FIRMENKOPF", "3", "", 80},
         {"FIRMENKOPF4_A", "FIRMENKOPF", "4", "", 80},
         {"FIRMENKOPF5_A", "FIRMENKOPF", "5", "", 80},
     }},
    {"Modem",
     ConfigPage::Modem,
     {
         {"NAME1_A", "MODEM", "Name1", "", 18},
         {"NUMBER1_A", "MODEM", "Number1", "", 18},
         {"NAME2_A", "MODEM", "Name2", "", 18},
         {"NUMBER2_A", "MODEM", "Number2", "", 18},
         {"NAME3_A", "MODEM", "Name3", "", 18},
         {"NUMBER3_A", "MODEM", "Number3", "", 18},
         {"NAME4_A", "MODEM", "Name4", "", 18},
         {"NUMBER4_A", "MODEM", "Number4", "", 18},
         {"INIT_A", "MODEM", "Init", "AT", 20},
     }},
    {"Ftp",
     ConfigPage::Ftp,
     {
         {"FTP_SERVER", "FTP", "Server", "ftp.example.com", 100},
         {"FTP_NAME", "FTP", "Name", "qk730215", 50},
         {"FTP_PASSWORD", "FTP", "Password", "tebralik", 50},
         {"FTP_DIRECTORY", "FTP", "Directory", "data", 100},
         {"FTP_DIRECTORY2", "FTP", "Directory2", "data", 100},
     }},
};

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

// A value of its own for each field, with every umlaut, short enough for any column.
QString sample(const Field& field, const char* tag)
{
    return QString::fromUtf8(tag) + text(field.entry) + QStringLiteral("äöüÄÖÜß");
}

class Device {
public:
    Device() { reopen(); }

    // A new program run on the same root: registry file and database read back from disk.
    void reopen()
    {
        logic.reset();
        row.reset();
        session.reset();
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        session->openDatabase();
        row = std::make_unique<Dataset>(session->database(), schema::Konfiguration);
        logic = std::make_unique<ConfigurationLogic>(session->store(), *row);
    }

    Profile& profile() { return session->profile(); }
    QString registry(const Field& f)
    {
        return profile().readString(text(f.section), text(f.entry));
    }
    bool hasValue(const Field& f) { return profile().hasValue(text(f.section), text(f.entry)); }

    // The column's value in every stored row, in stored order.
    QStringList stored(const char* column)
    {
        QStringList values;
        auto q = session->database().query(
            QStringLiteral("SELECT %1 FROM Brov_Konfiguration ORDER BY rowid").arg(text(column)));
        while (q.next())
            values << q.text(0);
        return values;
    }

    void addRow(const QString& companyLine)
    {
        Dataset extra(session->database(), schema::Konfiguration);
        extra.clearFields();
        extra.setText(u"FIRMENKOPF1_A", companyLine);
        ASSERT_TRUE(extra.insert());
    }

    test::TempRoot root;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<Dataset> row;
    std::unique_ptr<ConfigurationLogic> logic;
};

// Test names and failure messages show the case's name, not its bytes.
void PrintTo(const PageCase& c, std::ostream* os)
{
    *os << c.name;
}

class ConfigurationPageTest : public ::testing::TestWithParam<PageCase> {
protected:
    Device device;
};

TEST_P(ConfigurationPageTest, EmptyRegistryOpensWithDefaults)
{
    const PageCase& c = GetParam();
    ASSERT_TRUE(device.logic->open(c.page).ok());
    for (const Field& f : c.fields) {
        SCOPED_TRACE(f.column);
        EXPECT_EQ(str(device.row->loadText(text(f.column))), f.defaultValue);
        EXPECT_EQ(device.stored(f.column), QStringList{text(f.defaultValue)});
        // Only the modem's initialisation string is written back when found empty.
        const bool init = std::string(f.column) == "INIT_A";
        EXPECT_EQ(device.hasValue(f), init);
        if (init) {
            EXPECT_EQ(str(device.registry(f)), "AT");
        }
    }
}

TEST_P(ConfigurationPageTest, OpeningShowsStoredValuesAndLeavesOtherPagesAlone)
{
    const PageCase& c = GetParam();
    device.addRow(QStringLiteral("alte Zeile"));
    device.addRow(QStringLiteral("zweite Zeile"));
    for (const Field& f : c.fields)
        device.profile().writeString(text(f.section), text(f.entry), sample(f, "R"));

    ASSERT_TRUE(device.logic->open(c.page).ok());
    for (const Field& f : c.fields) {
        SCOPED_TRACE(f.column);
        EXPECT_EQ(device.row->loadText(text(f.column)), sample(f, "R"));
        EXPECT_EQ(device.stored(f.column), QStringList{sample(f, "R")});
    }
    // The first row is the one kept; a column of another page keeps what it held.
    if (c.page != ConfigPage::CompanyHeader) {
        EXPECT_EQ(device.stored("FIRMENKOPF1_A"), QStringList{QStringLiteral("alte Zeile")});
    }
}

TEST_P(ConfigurationPageTest, ConfirmWritesRowAndRegistryThatOutliveTheProgram)
{
    const PageCase& c = GetParam();
    device.addRow(QStringLiteral("alte Zeile"));
    ASSERT_TRUE(device.logic->open(c.page).ok());
    for (const Field& f : c.fields)
        device.row->setText(text(f.column), sample(f, "N"));
    // A row that appeared meanwhile must not survive next to the confirmed one.
    device.addRow(QStringLiteral("fremd"));

    ASSERT_TRUE(device.logic->confirm(c.page).ok());
    device.reopen();
    for (const Field& f : c.fields) {
        SCOPED_TRACE(f.column);
        EXPECT_EQ(device.registry(f), sample(f, "N"));
        EXPECT_EQ(device.stored(f.column), QStringList{sample(f, "N")});
    }
    if (c.page != ConfigPage::CompanyHeader) {
        EXPECT_EQ(device.stored("FIRMENKOPF1_A"), QStringList{QStringLiteral("alte Zeile")});
    }
    // The other pages' registry values stay unwritten.
    for (const PageCase& other : kPages) {
        if (other.page == c.page)
            continue;
        for (const Field& f : other.fields)
            EXPECT_FALSE(device.hasValue(f)) << f.column;
    }
}

TEST_P(ConfigurationPageTest, ValuesLongerThanTheColumnAreCutOnTheWayBack)
{
    const PageCase& c = GetParam();
    const Field& f = c.fields.front();
    const QString tooLong = QString(f.width, u'x') + QStringLiteral("Überlänge");
    device.profile().writeString(text(f.section), text(f.entry), tooLong);

    ASSERT_TRUE(device.logic->open(c.page).ok());
    EXPECT_EQ(device.stored(f.column), QStringList{tooLong.left(f.width)});
    ASSERT_TRUE(device.logic->confirm(c.page).ok());
    EXPECT_EQ(device.registry(f), tooLong.left(f.width));
}

TEST_P(ConfigurationPageTest, BrokenDatabaseLeavesTheRegistryUntouched)
{
    const PageCase& c = GetParam();
    ASSERT_TRUE(device.logic->open(c.page).ok());
    for (const Field& f : c.fields)
        device.row->setText(text(f.column), sample(f, "N"));
    device.session->database().close();

    const ConfigResult confirmed = device.logic->confirm(c.page);
    EXPECT_FALSE(confirmed.ok());
    EXPECT_FALSE(confirmed.error.isEmpty());
    EXPECT_FALSE(device.logic->open(c.page).ok());
    for (const Field& f : c.fields) {
        if (std::string(f.column) != "INIT_A") {
            EXPECT_FALSE(device.hasValue(f)) << f.column;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pages, ConfigurationPageTest, ::testing::ValuesIn(kPages),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ConfigurationModemInit, EmptyInitIsReplacedByAtAndStored)
{
    struct Case {
        const char* name;
        bool present;
        const char* stored;
        const char* shown;
    } const cases[] = {
        {"absent", false, "", "AT"},
        {"empty", true, "", "AT"},
        {"own string", true, "ATZ&F", "ATZ&F"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Device device;
        if (c.present)
            device.profile().writeString(QStringLiteral("MODEM"), QStringLiteral("Init"),
                                         text(c.stored));
        ASSERT_TRUE(device.logic->open(ConfigPage::Modem).ok());
        EXPECT_EQ(str(device.row->loadText(u"INIT_A")), c.shown);
        EXPECT_EQ(str(device.profile().readString(QStringLiteral("MODEM"), QStringLiteral("Init"),
                                                  QStringLiteral("<absent>"))),
                  c.shown);
    }
}

TEST(ConfigurationRow, PagesShareTheOneRow)
{
    // Each page's confirm must keep what the other pages confirmed before.
    Device device;
    for (const PageCase& c : kPages) {
        ASSERT_TRUE(device.logic->open(c.page).ok());
        for (const Field& f : c.fields)
            device.row->setText(text(f.column), sample(f, "P"));
        ASSERT_TRUE(device.logic->confirm(c.page).ok());
    }
    for (const PageCase& c : kPages) {
        ASSERT_TRUE(device.logic->open(c.page).ok());
        for (const Field& f : c.fields) {
            EXPECT_EQ(device.stored(f.column), QStringList{sample(f, "P")}) << f.column;
            EXPECT_EQ(device.registry(f), sample(f, "P")) << f.column;
        }
    }
}

} // namespace
} // namespace brovant
