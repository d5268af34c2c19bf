#include "app/DistributionDlg.h"

#include "app/KeyTables.h"
#include "app/ScreenStack.h"
#include "evaluation/print/ChartPainter.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"

#include <QLabel>
#include <QPainter>

namespace brovant {

// The chart fills its widget; a white ground, as on paper.
class DistributionChart : public QWidget {
public:
    using QWidget::QWidget;

    void setChart(ReportChart chart)
    {
        m_chart = std::move(chart);
        update();
    }
    const ReportChart& chart() const { return m_chart; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.fillRect(rect(), Qt::white);
        ChartStyle style;
        style.textSize = 10;
        style.title = false;
        ChartPainter::paint(p, QRectF(rect()).adjusted(3, 2, -4, -2), m_chart, style);
    }

private:
    ReportChart m_chart;
};

namespace {

constexpr int kTitleHeight = 16;
constexpr QRect kCaptionArea(0, 17, 240, 18);
constexpr QRect kChartArea(0, 36, 240, 220);
constexpr QRect kKeyArea(0, 257, 240, 63);
constexpr int kKeyHeight = 40;
constexpr int kBottomBarTop = 42;

std::vector<KeyDef> keyBar()
{
    std::vector<KeyDef> keys = {
        {0, 0, 79, kKeyHeight, QStringLiteral("◀ HA"), DistributionDlg::kPreviousSpecies},
        {80, 0, 79, kKeyHeight, QStringLiteral("Alle"), DistributionDlg::kAllSpecies},
        {160, 0, 80, kKeyHeight, QStringLiteral("HA ▶"), DistributionDlg::kNextSpecies},
    };
    for (const KeyDef& key : keys::browseBar(kBottomBarTop))
        keys.push_back(key);
    return keys;
}

} // namespace

DistributionDlg::DistributionDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("distribution"))
    , m_services(services)
{
    setWindowTitle(QStringLiteral("Durchmesserverteilung"));
}

void DistributionDlg::setUp()
{
    addTitle(windowTitle(), 0, kTitleHeight);
    m_caption = new QLabel(this);
    m_caption->setObjectName(QStringLiteral("caption"));
    m_caption->setGeometry(kCaptionArea);
    m_caption->setAlignment(Qt::AlignCenter);
    QFont font = defaultFont();
    font.setPixelSize(12);
    font.setBold(true);
    m_caption->setFont(font);
    m_chart = new DistributionChart(this);
    m_chart->setObjectName(QStringLiteral("chart"));
    m_chart->setGeometry(kChartArea);
    addKeyboard(new OnScreenKeyboard(kKeyArea, keyBar()));
}

void DistributionDlg::enter()
{
    m_distribution = DiameterDistribution::compute(
        m_services.session.database(), m_services.state.currentList, m_services.state.tables);
    showSpecies(-1);
}

const ReportChart& DistributionDlg::shownChart() const
{
    return m_chart->chart();
}

QString DistributionDlg::caption() const
{
    return m_caption->text();
}

void DistributionDlg::showSpecies(int species)
{
    const int count = m_distribution ? int(m_distribution->species().size()) : 0;
    m_species = species >= 0 && species < count ? species : -1;
    if (!m_distribution) {
        m_caption->setText(QStringLiteral("Keine Daten vorhanden!"));
        m_chart->setChart({});
        return;
    }
    const DiameterDistribution::Series& series =
        m_species < 0 ? m_distribution->all() : m_distribution->species()[size_t(m_species)];
    const QString name = m_species < 0 ? QStringLiteral("Alle Holzarten") : series.species;
    m_caption->setText(QStringLiteral("%1: %2 Stk").arg(name).arg(series.count));
    m_chart->setChart(m_distribution->chart(m_species));
}

void DistributionDlg::onCommand(int id)
{
    const int count = m_distribution ? int(m_distribution->species().size()) : 0;
    switch (id) {
    case kPreviousSpecies:
    case kPreviousField:
        // From all species backwards to the last one, and on round.
        showSpecies(m_species < 0 ? count - 1 : m_species - 1);
        return;
    case kNextSpecies:
    case kNextField:
        showSpecies(m_species + 1 >= count ? -1 : m_species + 1);
        return;
    case kAllSpecies:
        showSpecies(-1);
        return;
    default:
        KeypadScreen::onCommand(id);
    }
}

} // namespace brovant
