#include "app/TariffAssignmentDlg.h"

#include "app/KeyTables.h"
#include "app/MainMenuDlg.h"
#include "app/ScreenStack.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>

#include <cmath>

namespace brovant {
namespace {

// Everything above the keyboard (which starts at y 133).
constexpr int kTitleHeight = 15;
constexpr int kHeadingTop = 16;
constexpr int kHeadingHeight = 13;
constexpr int kHistoryTop = 29;
constexpr int kLinePitch = 18;
constexpr int kLineHeight = 17;
constexpr int kEditTop = 85;
constexpr int kEditHeight = 20;
constexpr int kLinesWidth = 201;
constexpr QRect kBrowseArea(202, kHistoryTop, 38, kEditTop + kEditHeight - kHistoryTop);
constexpr QRect kActionArea(0, 108, 240, 23);

// Columns of a history line: region (8), four blanks, species (3), three blanks, tariff (5).
constexpr int kSpeciesColumn = 12;
// Where a line edit's text starts inside its frame.
constexpr int kTextIndent = 4;
constexpr int kTariffColumn = 18;

std::vector<KeyDef> browseKeys()
{
    const int half = kBrowseArea.height() / 2;
    return {
        {0, 0, kBrowseArea.width(), half - 1, QStringLiteral("▲"), TariffAssignmentDlg::kUp},
        {0, half + 1, kBrowseArea.width(), half - 1, QStringLiteral("▼"),
         TariffAssignmentDlg::kDown},
    };
}

std::vector<KeyDef> actionKeys()
{
    struct Key {
        int width;
        const char* caption;
        int command;
    };
    static const Key keys[] = {
        {52, "Sichern", TariffAssignmentDlg::kSave},
        {52, "Löschen", TariffAssignmentDlg::kDelete},
        {32, "WR", TariffAssignmentDlg::kRegionKeys},
        {32, "HA", TariffAssignmentDlg::kSpeciesKeys},
        {38, "Tarif", TariffAssignmentDlg::kTariffKeys},
        {34, "ABC", TariffAssignmentDlg::kLetterKeys},
    };
    std::vector<KeyDef> out;
    int x = 0;
    for (const Key& k : keys) {
        out.push_back(
            {x, 0, k.width - 1, kActionArea.height(), QString::fromUtf8(k.caption), k.command});
        x += k.width;
    }
    return out;
}

QString trimmedRight(const QString& code)
{
    qsizetype end = code.size();
    while (end > 0 && code[end - 1] == u' ')
        --end;
    return code.left(end);
}

} // namespace

TariffAssignmentDlg::TariffAssignmentDlg(ScreenServices& services)
    : RecordScreen(services.stack, services.session.database(), QStringLiteral("tariffAssignment"),
                   schema::Einstellungen)
    , m_services(services)
    , m_logic(dataset(), services.state.tables, services.state.speciesTariffs, services.messages)
{
    // The device's cursor keys browse like the screen's arrow keys.
    bindKey(Qt::Key_Up, kUp);
    bindKey(Qt::Key_Down, kDown);
}

QFont TariffAssignmentDlg::fixedFont()
{
    QFont font = QFontDatabase::families().contains(QStringLiteral("Lucida Console"))
                     ? QFont(QStringLiteral("Lucida Console"))
                     : QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(12);
    if (!QFontInfo(font).fixedPitch()) {
        font = QFont(QStringLiteral("DejaVu Sans Mono"));
        font.setStyleHint(QFont::TypeWriter);
        font.setPixelSize(12);
    }
    return font;
}

void TariffAssignmentDlg::setUp()
{
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    // Regions are up to eight characters, species three, tariffs five: as many keys a row as fit.
    const std::array<std::pair<int, int>, 3> lists = {
        {{kRegionEntry, 3}, {kSpeciesEntry, 5}, {kTariffEntry, 4}}};
    for (size_t i = 0; i < lists.size(); ++i) {
        auto* list = new OnScreenKeyboard(keys::kFullArea,
                                          keys::codeList(lists[i].first, lists[i].second, 6));
        addKeyboard(list);
        const auto index = KeyboardIndex(RegionList + int(i));
        connect(list, &OnScreenKeyboard::entryChosen, this,
                [this, index](int, int, const QString& code) { entryChosen(index, code); });
        m_lists[i] = list;
    }
    for (const auto& [area, defs] :
         {std::pair(kBrowseArea, browseKeys()), std::pair(kActionArea, actionKeys())}) {
        auto* bar = new OnScreenKeyboard(area, defs, this);
        connect(bar, &OnScreenKeyboard::command, this, [this](int id) { onCommand(id); });
    }

    m_title = addTitle(QString(), 0, kTitleHeight);

    const QFont fixed = fixedFont();
    // Pixel offset of a character column; glyphs are not a whole number of pixels wide.
    const QFontMetricsF metrics(fixed);
    const auto column = [&metrics](int characters) {
        return int(std::lround(metrics.horizontalAdvance(QString(characters, u'0'))));
    };
    // The edits' text starts where a line's does, so each field stands under its column.
    auto* heading = new QLabel(this);
    heading->setObjectName(QStringLiteral("heading"));
    heading->setFont(fixed);
    heading->setText(QStringLiteral("WR          HA    Tarif"));
    const int headingWidth = kTextIndent + column(kTariffColumn + 5);
    heading->setGeometry(kTextIndent, kHeadingTop, headingWidth - kTextIndent, kHeadingHeight);

    m_position = new QLabel(this);
    m_position->setObjectName(QStringLiteral("position"));
    m_position->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_position->setGeometry(headingWidth + 2, kHeadingTop,
                            ScreenStack::kScreenWidth - headingWidth - 4, kHeadingHeight);

    for (size_t i = 0; i < m_history.size(); ++i) {
        auto* line = new QLineEdit(this);
        line->setObjectName(QStringLiteral("history%1").arg(i + 1));
        line->setFont(fixed);
        line->setReadOnly(true);
        line->setFocusPolicy(Qt::NoFocus);
        QPalette shaded = line->palette();
        shaded.setColor(QPalette::Base, QColor(0xe8, 0xe8, 0xe2));
        line->setPalette(shaded);
        line->setGeometry(0, kHistoryTop + int(i) * kLinePitch, kLinesWidth, kLineHeight);
        m_history[i] = line;
    }

    const struct {
        QLineEdit** edit;
        const char* field;
        int left;
        int right;
    } edits[] = {
        {&m_regionEdit, "REGION_A", 0, column(kSpeciesColumn) - 2},
        {&m_speciesEdit, "BAUMART", column(kSpeciesColumn), column(kTariffColumn) - 2},
        {&m_tariffEdit, "TARIF", column(kTariffColumn),
         column(kTariffColumn + 5) + 2 * kTextIndent},
    };
    for (const auto& e : edits) {
        auto* edit = new QLineEdit(this);
        edit->setObjectName(QString::fromLatin1(e.field));
        edit->setFont(fixed);
        edit->setGeometry(e.left, kEditTop, e.right - e.left, kEditHeight);
        bindEdit(edit, QString::fromLatin1(e.field));
        *e.edit = edit;
    }
    setTabOrder(m_regionEdit, m_speciesEdit);
    setTabOrder(m_speciesEdit, m_tariffEdit);
}

void TariffAssignmentDlg::openAll()
{
    m_regionOnly = false;
    m_region.clear();
    activate();
}

void TariffAssignmentDlg::openRegion(const QString& region)
{
    m_regionOnly = true;
    m_region = region;
    activate();
}

void TariffAssignmentDlg::enter()
{
    if (m_regionOnly)
        m_logic.openRegion(m_region);
    else
        m_logic.openAll();
    m_title->setText(m_regionOnly ? QStringLiteral("Tarif-Zuordnung: %1").arg(m_logic.region())
                                  : QStringLiteral("Tarif-Zuordnung"));
    showKeyboard(Letters);
    refresh();
    m_regionEdit->setFocus(Qt::OtherFocusReason);
}

void TariffAssignmentDlg::refresh()
{
    loadFields();
    for (size_t i = 0; i < m_history.size(); ++i)
        m_history[i]->setText(m_logic.history()[i]);
    m_position->setText(
        m_logic.onNewRow()
            ? QStringLiteral("neu")
            : QStringLiteral("%1/%2").arg(m_logic.position() + 1).arg(m_logic.rowCount()));
}

void TariffAssignmentDlg::showList(KeyboardIndex list, QLineEdit* target)
{
    // A second press of the same list key goes back to typing.
    if (keyboardIndex() == list) {
        showKeyboard(Letters);
        return;
    }
    OnScreenKeyboard* keyboard = m_lists[size_t(list - RegionList)];
    switch (list) {
    case RegionList:
        keyboard->setCodeTable(m_logic.regions(), {}, kRegionEntry);
        break;
    case SpeciesList:
        keyboard->setCodeTable(m_logic.speciesCodes(), {}, kSpeciesEntry);
        break;
    default:
        keyboard->setCodeTable(m_logic.tariffCodes(), {}, kTariffEntry);
        break;
    }
    showKeyboard(list);
    target->setFocus(Qt::OtherFocusReason);
}

void TariffAssignmentDlg::entryChosen(KeyboardIndex list, const QString& code)
{
    // Region, species and tariff are usually picked in that order: each leads to the next list.
    switch (list) {
    case RegionList:
        m_regionEdit->setText(trimmedRight(code));
        showList(SpeciesList, m_speciesEdit);
        break;
    case SpeciesList:
        m_speciesEdit->setText(trimmedRight(code));
        showList(TariffList, m_tariffEdit);
        break;
    default:
        m_tariffEdit->setText(trimmedRight(code));
        showKeyboard(Letters);
        break;
    }
}

void TariffAssignmentDlg::onCommand(int id)
{
    switch (id) {
    case kUp:
    case kDown:
        storeFields();
        if (id == kUp)
            m_logic.moveUp();
        else
            m_logic.moveDown();
        refresh();
        return;
    case kSave:
        onOk();
        return;
    case kDelete:
        storeFields();
        m_logic.deleteCurrent();
        refresh();
        return;
    case kRegionKeys:
        showList(RegionList, m_regionEdit);
        return;
    case kSpeciesKeys:
        showList(SpeciesList, m_speciesEdit);
        return;
    case kTariffKeys:
        showList(TariffList, m_tariffEdit);
        return;
    case kLetterKeys:
        showKeyboard(Letters);
        return;
    case kZiff:
        showKeyboard(keyboardIndex() == Letters ? Digits : Letters);
        return;
    case kRegionEntry:
    case kSpeciesEntry:
    case kTariffEntry:
        return; // taken by entryChosen
    default:
        RecordScreen::onCommand(id);
    }
}

void TariffAssignmentDlg::onOk()
{
    storeFields();
    const bool saved = m_logic.save();
    refresh();
    if (saved)
        m_regionEdit->setFocus(Qt::OtherFocusReason);
}

void TariffAssignmentDlg::onCancel()
{
    returnToCaller();
}

void TariffAssignmentDlg::returnToCaller()
{
    Screen* target = previousScreen();
    if (!target || target == this)
        target = stack().screen<MainMenuDlg>();
    if (target)
        stack().switchTo(target);
}

} // namespace brovant
