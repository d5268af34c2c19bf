// The diameter distribution behind the totals screen's "Vert.", and the totals screen's print keys
// writing their PDFs into the printer path (what the pages hold is the evaluation's).
#include "app/DistributionDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TotalsDlg.h"

#include <QTreeWidget>

namespace brovant {
namespace {

using namespace test;

struct Tree {
    const char* species;
    const char* diameterClass;
    int count;
    int volume;
};

class Distribution : public ::testing::Test, protected Program {
protected:
    void addList(int id, const QString& name, int factor, std::initializer_list<Tree> trees)
    {
        lists.list(id, name, factor, {{u"REGION_A", "WR01"}});
        for (const Tree& t : trees)
            lists.tree(id, t.species, t.count, t.volume, {{u"DMSTUFE", t.diameterClass}});
    }
    void settingsChanged()
    {
        state.tables = loadSettings(session.store(), session.database(), nullptr, nullptr);
    }
};

TEST_F(Distribution, StepsThroughTheSpeciesAndPrintKeysWriteIntoThePrinterPath)
{
    addList(1, QStringLiteral("WALD 1"), 90,
            {{"KI", "20", 2, 200},
             {"FI", "26", 1, 59},
             {"FI", "32", 2, 198},
             {"KI", "24", 1, 50},
             {"FI", "26", 3, 177}});
    fromListSelection(QStringLiteral("WALD 1"), ListSelectionDlg::EvaluationTab,
                      ListSelectionDlg::kEval);
    ASSERT_EQ(activeName(), QStringLiteral("totals"));
    ASSERT_NE(keyboard()->keyFor(TotalsDlg::kDistribution), nullptr);
    EXPECT_EQ(keyboard()->keyFor(TotalsDlg::kDistribution)->caption(), QStringLiteral("Vert."));
    press(TotalsDlg::kDistribution);
    ASSERT_EQ(activeName(), QStringLiteral("distribution"));
    auto* screen = find<DistributionDlg>();
    EXPECT_EQ(label(QStringLiteral("title")), QStringLiteral("Durchmesserverteilung"));

    // As opened: all species. The stems per class are the evaluation's; the screen shows the
    // chart of the species it names.
    const struct {
        int key; // 0: as opened
        int species;
        const char* caption;
        std::vector<std::int64_t> stems; // empty: not looked at
    } steps[] = {
        {0, -1, "Alle Holzarten: 9 Stk", {2, 0, 1, 4, 0, 0, 2}},
        {DistributionDlg::kNextSpecies, 0, "FI: 6 Stk", {4, 0, 0, 2}},
        {KeypadScreen::kNextField, 1, "KI: 3 Stk", {2, 0, 1}},
        // Past the last species back to all of them, and backwards round to the last.
        {DistributionDlg::kNextSpecies, -1, "Alle Holzarten: 9 Stk", {}},
        {DistributionDlg::kPreviousSpecies, 1, "KI: 3 Stk", {}},
        {KeypadScreen::kPreviousField, 0, "FI: 6 Stk", {}},
        {DistributionDlg::kAllSpecies, -1, "Alle Holzarten: 9 Stk", {}},
    };
    for (const auto& s : steps) {
        if (s.key)
            press(s.key);
        EXPECT_EQ(screen->shownSpecies(), s.species) << s.caption;
        EXPECT_EQ(label(QStringLiteral("caption")), QString::fromLatin1(s.caption));
        if (!s.stems.empty()) {
            ASSERT_EQ(screen->shownChart().series.size(), 1u);
            EXPECT_EQ(screen->shownChart().series[0].values, s.stems) << s.caption;
        }
    }
    EXPECT_EQ(screen->shownChart().labels, (QStringList{"20", "22", "24", "26", "28", "30", "32"}));
    // The chart is drawn where a finger reads it.
    QWidget* chart = screen->findChild<QWidget*>(QStringLiteral("chart"));
    ASSERT_NE(chart, nullptr);
    EXPECT_GE(chart->width(), 230);
    EXPECT_GE(chart->height(), 200);

    press(Screen::kCancel);
    EXPECT_EQ(activeName(), QStringLiteral("totals"));

    // No question by default; the file is named by the list.
    press(TotalsDlg::kPrint);
    EXPECT_TRUE(dialogs.asked().isEmpty()) << str(dialogs.asked().join(u'/'));
    EXPECT_EQ(activeName(), QStringLiteral("totals"));
    const QString listing = QStringLiteral("\\My Documents\\WALD_1_Ausdruck.pdf");
    EXPECT_TRUE(session.root().isFile(listing));

    // The printer type's question, then another printer path.
    session.store().writeInt(Setting::PrinterFrage, 5, 1);
    session.store().writeText(Setting::PrinterPath, 0, QStringLiteral("\\Ausdrucke"));
    settingsChanged();
    const QString classes = QStringLiteral("\\Ausdrucke\\WALD_1_Sortiment.pdf");
    dialogs.answerNext(Answer::No);
    press(TotalsDlg::kAssortment);
    EXPECT_EQ(dialogs.asked(), QStringList{"Soll der Ausdruck|gestartet werden?|"});
    EXPECT_FALSE(session.root().isFile(classes));
    dialogs.clear();
    dialogs.answerNext(Answer::Yes);
    press(TotalsDlg::kAssortment);
    EXPECT_EQ(dialogs.asked().size(), 1);
    EXPECT_TRUE(session.root().isFile(classes));
}

} // namespace
} // namespace brovant
