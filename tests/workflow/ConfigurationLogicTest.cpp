#include "AppLogicFixture.h"

#include "workflow/ConfigurationLogic.h"

#include <vector>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;

// Where each page's fields live, written out by hand in data/configuration_fields.txt so a slip in
// the program's table shows.
struct Field {
    QString column, section, entry, defaultValue;
    int width;
};

std::vector<std::pair<ConfigPage, std::vector<Field>>> pages()
{
    const QStringList names = {"CompanyHeader", "Modem", "Ftp"};
    std::vector<std::pair<ConfigPage, std::vector<Field>>> out;
    for (const test::Case& c : test::readCases("workflow/data/configuration_fields.txt")) {
        const auto page = ConfigPage(names.indexOf(c.text(0)));
        if (out.empty() || out.back().first != page)
            out.push_back({page, {}});
        out.back().second.push_back(
            {c.text(1), c.text(2), c.text(3), c.text(4), c.text(5).toInt()});
    }
    return out;
}

// A value of its own for each field, with every umlaut, longer than its column; what it keeps.
QString sample(const Field& f, const char* tag)
{
    return tag + f.entry + u"äöüÄÖÜß"_s + QString(f.width, u'x');
}
QString kept(const Field& f, const char* tag)
{
    return sample(f, tag).left(f.width);
}
// What the row holds of a value shown: all of it, but nothing of the password, which the registry
// alone keeps.
QStringList inRow(const Field& f, const QString& shown)
{
    return {f.column == u"FTP_PASSWORD" ? QString() : shown};
}

// A device whose page logic works on the one configuration row.
struct Device : test::TestDevice {
    std::unique_ptr<Dataset> row;
    std::unique_ptr<ConfigurationLogic> logic;

    Device() { reopen(); }
    // A new program run on the same root: registry file and database read back from disk.
    void reopen()
    {
        logic.reset();
        row.reset();
        restartAfterCrash();
        session->openDatabase();
        row = std::make_unique<Dataset>(session->database(), schema::Konfiguration);
        logic = std::make_unique<ConfigurationLogic>(session->store(), *row);
    }
    QString registry(const Field& f)
    {
        return profile().readString(f.section, f.entry, u"<absent>"_s);
    }
    // The column's value in every stored row, in stored order.
    QStringList stored(const QString& column)
    {
        QStringList values;
        for (auto q = session->database().query(
                 u"SELECT %1 FROM Brov_Konfiguration ORDER BY rowid"_s.arg(column));
             q.next();)
            values << q.text(0);
        return values;
    }
    void addRow(const QString& companyLine)
    {
        test::ListBuilder(session->database())
            .row(schema::Konfiguration, {{u"FIRMENKOPF1_A", companyLine}});
    }
};

TEST(ConfigurationPage, EmptyRegistryOpensWithDefaultsAndBrokenDatabaseWritesNothing)
{
    const auto layout = pages();
    for (const auto& [page, fields] : layout) {
        Device device;
        ASSERT_TRUE(device.logic->open(page).ok());
        const auto expectDefaults = [&] {
            for (const Field& f : fields) {
                SCOPED_TRACE(f.column.toStdString());
                // Only the modem's initialisation string is written back when found empty.
                EXPECT_EQ(device.registry(f), f.column == "INIT_A" ? u"AT"_s : u"<absent>"_s);
            }
        };
        for (const Field& f : fields) {
            EXPECT_EQ(device.row->loadText(f.column), f.defaultValue);
            EXPECT_EQ(device.stored(f.column), inRow(f, f.defaultValue)) << f.column.toStdString();
        }
        expectDefaults();
        for (const Field& f : fields)
            device.row->setText(f.column, sample(f, "N"));
        device.session->database().close();
        const ConfigResult confirmed = device.logic->confirm(page);
        EXPECT_FALSE(confirmed.ok());
        EXPECT_FALSE(confirmed.error.isEmpty());
        EXPECT_FALSE(device.logic->open(page).ok());
        expectDefaults();
    }
    const Field& init = layout[0].second.back();
    for (const char* found : {"", "ATZ&F"}) {
        Device device;
        device.profile().writeString(init.section, init.entry, found);
        ASSERT_TRUE(device.logic->open(ConfigPage::Modem).ok());
        EXPECT_EQ(device.row->loadText(u"INIT_A"), *found ? found : "AT");
        EXPECT_EQ(device.registry(init), *found ? found : "AT");
    }
}

// One device through all pages; each confirm leaves the other pages' values alone.
TEST(ConfigurationPage, OpenShowsTheRegistryAndConfirmWritesRowAndRegistry)
{
    const auto layout = pages();
    Device device;
    device.addRow(u"alte Zeile"_s);
    device.addRow(u"zweite Zeile"_s);
    for (size_t p = 0; p < layout.size(); ++p) {
        const auto& [page, fields] = layout[p];
        for (const Field& f : fields)
            device.profile().writeString(f.section, f.entry, sample(f, "R"));
        ASSERT_TRUE(device.logic->open(page).ok());
        for (const Field& f : fields) {
            SCOPED_TRACE(f.column.toStdString());
            EXPECT_EQ(device.row->loadText(f.column), kept(f, "R"));
            EXPECT_EQ(device.stored(f.column), inRow(f, kept(f, "R")));
            device.row->setText(f.column, sample(f, "N"));
        }
        // A row that appeared meanwhile must not survive next to the confirmed one.
        device.addRow(u"fremd"_s);
        ASSERT_TRUE(device.logic->confirm(page).ok());
        device.reopen();
        for (size_t other = 0; other < layout.size(); ++other) {
            for (const Field& f : layout[other].second) {
                SCOPED_TRACE(f.column.toStdString());
                EXPECT_EQ(device.registry(f), other <= p ? kept(f, "N") : u"<absent>"_s);
                if (other <= p) {
                    EXPECT_EQ(device.stored(f.column), inRow(f, kept(f, "N")));
                }
            }
        }
        // The first row is the one kept.
        if (page != ConfigPage::CompanyHeader) {
            EXPECT_EQ(device.stored(u"FIRMENKOPF1_A"_s), QStringList{u"alte Zeile"_s});
        }
    }
}

} // namespace
} // namespace brovant
