#include "app/TallyDlg.h"

#include "app/KeyTables.h"
#include "app/ListSelectionDlg.h"
#include "app/MainMenuDlg.h"
#include "app/ScreenStack.h"
#include "app/SpeciesSelectionDlg.h"
#include "app/TariffAssignmentDlg.h"
#include "app/TotalsDlg.h"
#include "data/FieldDescriptor.h"
#include "data/Schema.h"
#include "device/BackupService.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "tally/CaliperSentence.h"
#include "tally/caliper/CaliperReader.h"
#include "workflow/AppState.h"

#include <QApplication>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>

#include <tuple>

namespace brovant {
namespace {

// Everything above the keyboards (which start at y 133): the title, the first row of fields, the
// two preview lines, the count/diameter row.
constexpr int kTitleHeight = 16;
constexpr int kColumnWidth = 60;
constexpr int kCaptionHeight = 12;
constexpr int kFirstCaptionTop = 17;
constexpr int kFirstEditTop = 29;
constexpr int kFirstEditHeight = 24;
constexpr int kPreview2Top = 55;
constexpr int kPreview1Top = 69;
constexpr int kPreviewHeight = 14;
constexpr int kPreviewWidth = 180;
constexpr int kSecondCaptionTop = 85;
constexpr int kSecondEditTop = 97;
constexpr int kSecondEditHeight = 28;

// The key bars: a heading over the field's keys on the left, "Etc" and the record arrows on the
// right, the bottom bar below. Coordinates within the keyboard area.
constexpr int kLeftWidth = 198;
constexpr int kHeadingHeight = 23;
constexpr int kKeysTop = 24;
constexpr int kRowPitch = 36;
constexpr int kBarTop = 166;
constexpr int kRightLeft = 199;
constexpr int kRightWidth = 41;
constexpr int kArrowHeight = 70;

int rowTop(int row)
{
    return kKeysTop + row * kRowPitch;
}

// The last row gives up the gap to the bottom bar.
int rowHeight(int row)
{
    return row == 3 ? kBarTop - 1 - rowTop(row) : kRowPitch - 1;
}

std::vector<KeyDef> frame(const char* heading, int group, std::vector<KeyDef> keys)
{
    std::vector<KeyDef> out = {
        {0, 0, kLeftWidth, kHeadingHeight, QString::fromUtf8(heading), 0, group, 3, 0},
        {kRightLeft, 0, kRightWidth, kHeadingHeight, QStringLiteral("Etc"), TallyDlg::kEtc, 0, 3,
         0},
        {kRightLeft, kKeysTop, kRightWidth, kArrowHeight, QStringLiteral("▲"), TallyDlg::kUp},
        {kRightLeft, kKeysTop + kArrowHeight + 1, kRightWidth, kArrowHeight, QStringLiteral("▼"),
         TallyDlg::kDown},
    };
    out.insert(out.end(), keys.begin(), keys.end());
    for (const KeyDef& k : keys::bottomBar(kBarTop, true))
        out.push_back(k);
    return out;
}

// Three code keys a row; `rows` rows, and with fewer than four the page keys below them.
std::vector<KeyDef> codeKeys(const char* heading, int command, int rows)
{
    std::vector<KeyDef> keys;
    const int width = kLeftWidth / 3;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < 3; ++c)
            keys.push_back({c * width, rowTop(r), width - 1, rowHeight(r), {}, command});
    }
    if (rows < 4) {
        const int half = kLeftWidth / 2;
        keys.push_back({0, rowTop(3), half - 1, rowHeight(3), QStringLiteral("◀"),
                        KeyDef::kPreviousPage, 0, 1});
        keys.push_back(
            {half, rowTop(3), half, rowHeight(3), QStringLiteral("▶"), KeyDef::kNextPage, 0, 1});
    }
    return frame(heading, command, std::move(keys));
}

std::vector<KeyDef> numericKeys()
{
    std::vector<KeyDef> keys;
    const int width = kLeftWidth / 3;
    const char* rows[] = {"789", "456", "123"};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            keys.push_back({c * width, rowTop(r), width - 1, rowHeight(r),
                            QString(QChar::fromLatin1(rows[r][c])), KeyDef::kCharacter});
    }
    keys.push_back(
        {0, rowTop(3), 2 * width - 1, rowHeight(3), QStringLiteral("0"), KeyDef::kCharacter});
    keys.push_back(
        {2 * width, rowTop(3), width, rowHeight(3), QStringLiteral("C"), TallyDlg::kClear});
    return frame("Ziffern", TallyDlg::kClear, std::move(keys));
}

std::vector<KeyDef> secondaryKeys()
{
    struct Key {
        const char* caption;
        int command;
    };
    static const Key pairs[][2] = {
        {{"Ende", TallyDlg::kEnd}, {"Anfang", TallyDlg::kFirst}},
        {{"Delete", TallyDlg::kDelete}, {"Eval", TallyDlg::kEval}},
        {{"BHD/Stufe", TallyDlg::kClasses}, {"Einstellung", TallyDlg::kSpeciesSetup}},
    };
    std::vector<KeyDef> keys;
    const int half = kLeftWidth / 2;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 2; ++c)
            keys.push_back({c * half, rowTop(r), half - 1 + c, rowHeight(r),
                            QString::fromUtf8(pairs[r][c].caption), pairs[r][c].command});
    }
    keys.push_back(
        {0, rowTop(3), kLeftWidth, rowHeight(3), QStringLiteral("Alpha"), TallyDlg::kAlpha});
    return frame("Funktionen", TallyDlg::kEtc, std::move(keys));
}

template <size_t N> QStringList listOf(const std::array<QString, N>& codes)
{
    return QStringList(codes.begin(), codes.end());
}

const QString kCaliperConnected = QStringLiteral("Kluppe: verbunden");
const QString kCaliperLost = QStringLiteral("Kluppe: getrennt");

// A long list name makes the title smaller rather than cut off.
void setFittedText(QLabel* label, const QString& text)
{
    QFont font = label->font();
    for (int size = 13; size >= 9; --size) {
        font.setPixelSize(size);
        if (QFontMetrics(font).horizontalAdvance(text) <= label->width() - 4)
            break;
    }
    label->setFont(font);
    label->setText(text);
}

} // namespace

TallyDlg::TallyDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("tally"))
    , m_services(services)
    , m_logic(services.session.database(), services.state.tables, services.state.speciesTariffs,
              services.messages)
{
    setWindowTitle(QStringLiteral("Holzaufnahme"));
    bindKey(Qt::Key_Up, kUp);
    bindKey(Qt::Key_Down, kDown);
    bindKey(Qt::Key_Return, kEnter);
    bindKey(Qt::Key_Enter, kEnter);
    m_logic.setBackupHook([this] { m_services.backup.automaticIfEnabled(); });
}

TallyDlg::~TallyDlg()
{
    // The focus moves while the widgets go; this screen is no longer there to hear it.
    disconnect(m_focusConnection);
}

void TallyDlg::setUp()
{
    const std::pair<const char*, int> lists[] = {
        {"Holzarten", kSpeciesEntry},
        {"Tarife", kTariffEntry},
        {"Güte", kQualityEntry},
        {"Kalamität", kCaliperClassEntry},
    };
    for (size_t i = 0; i < std::size(lists); ++i) {
        // Tariffs are many and long: nine a page.
        const int rows = lists[i].second == kTariffEntry ? 3 : 4;
        auto* bar =
            new OnScreenKeyboard(keys::kFullArea, codeKeys(lists[i].first, lists[i].second, rows));
        addKeyboard(bar);
        connect(bar, &OnScreenKeyboard::entryChosen, this, &TallyDlg::codeChosen);
        m_codeBars[i] = bar;
    }
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, numericKeys()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, secondaryKeys()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));

    m_title = addTitle(QString(), 0, kTitleHeight);
    buildFields();

    m_focusConnection =
        connect(qApp, &QApplication::focusChanged, this, [this](QWidget* old, QWidget* now) {
            if (stack().activeScreen() != this)
                return;
            if (fieldOf(old) >= 0)
                commit(static_cast<QLineEdit*>(old));
            if (fieldOf(now) >= 0)
                fieldFocused(static_cast<QLineEdit*>(now));
        });
}

void TallyDlg::buildFields()
{
    setStyleSheet(QStringLiteral("QLineEdit { padding: 0px 2px; }"));
    QFont captionFont = defaultFont();
    captionFont.setPixelSize(11);
    QFont editFont = defaultFont();
    editFont.setPixelSize(15);
    QFont homeFont = editFont;
    homeFont.setPixelSize(19);
    homeFont.setBold(true);

    struct Place {
        Field field;
        const char* caption;
        const char* name;
        int row;
        int column;
    };
    // Shown in two rows of four; the volume (read only) is the eighth.
    static const Place places[] = {
        {Field::Tariff, "Tarif", "TARIF", 0, 0},
        {Field::Species, "HA", "BAUMART", 0, 1},
        {Field::Quality, "Gü", "NA", 0, 2},
        {Field::CaliperClass, "Kal", "KA", 0, 3},
        {Field::Count, "Stk", "STK", 1, 0},
        {Field::Diameter, "BHD", "BHD", 1, 1},
        {Field::DiameterClass, "Stufe", "DMSTUFE", 1, 2},
    };
    const auto place = [&](const char* caption, const char* name, int row, int column) {
        auto* label = new QLabel(QString::fromUtf8(caption), this);
        label->setObjectName(QStringLiteral("label_") + QLatin1StringView(name));
        label->setFont(captionFont);
        const int left = column * kColumnWidth + 1;
        label->setGeometry(left + 1, row == 0 ? kFirstCaptionTop : kSecondCaptionTop,
                           kColumnWidth - 4, kCaptionHeight);
        auto* edit = new QLineEdit(this);
        edit->setObjectName(QLatin1StringView(name));
        edit->setFont(editFont);
        edit->setGeometry(left, row == 0 ? kFirstEditTop : kSecondEditTop, kColumnWidth - 2,
                          row == 0 ? kFirstEditHeight : kSecondEditHeight);
        label->setBuddy(edit);
        return edit;
    };
    for (const Place& p : places) {
        QLineEdit* edit = place(p.caption, p.name, p.row, p.column);
        const FieldDescriptor& field =
            schema::Holzdaten
                .fields[size_t(schema::Holzdaten.indexOf(QString::fromLatin1(p.name)))];
        edit->setMaxLength(field.width());
        edit->installEventFilter(this);
        m_edits[size_t(p.field)] = edit;
    }
    m_edits[size_t(Field::Diameter)]->setFont(homeFont);
    for (int f = 1; f < TallyLogic::kFields; ++f)
        setTabOrder(m_edits[size_t(f - 1)], m_edits[size_t(f)]);

    m_volume = place("m3", "KUBATUR", 1, 3);
    m_volume->setReadOnly(true);
    m_volume->setFocusPolicy(Qt::NoFocus);
    const QColor shade(0xe8, 0xe8, 0xe2);
    QPalette shaded = m_volume->palette();
    shaded.setColor(QPalette::Base, shade);
    m_volume->setPalette(shaded);

    // The two trees before the current one, the nearer one next to the count/diameter row.
    QFont fixed = TariffAssignmentDlg::fixedFont();
    for (auto [label, name, top] : {std::tuple(&m_preview2, "Prev2", kPreview2Top),
                                    std::tuple(&m_preview1, "Prev1", kPreview1Top)}) {
        auto* line = new QLabel(this);
        line->setObjectName(QLatin1StringView(name));
        line->setFont(fixed);
        line->setAutoFillBackground(true);
        QPalette palette = line->palette();
        palette.setColor(QPalette::Window, shade);
        line->setPalette(palette);
        line->setGeometry(2, top, kPreviewWidth, kPreviewHeight - 1);
        *label = line;
    }
    m_position = new QLabel(this);
    m_position->setObjectName(QStringLiteral("position"));
    m_position->setFont(captionFont);
    m_position->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_position->setGeometry(kPreviewWidth + 4, kPreview1Top,
                            ScreenStack::kScreenWidth - kPreviewWidth - 7, kPreviewHeight - 1);

    // The caliper's state at the right of the title row, which it shares with the title while
    // the caliper is switched on.
    m_caliperState = new QLabel(this);
    m_caliperState->setObjectName(QStringLiteral("caliperState"));
    QFont stateFont = captionFont;
    stateFont.setPixelSize(9);
    stateFont.setStretch(QFont::Condensed);
    m_caliperState->setFont(stateFont);
    m_caliperState->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const int stateWidth = QFontMetrics(stateFont).horizontalAdvance(kCaliperConnected) + 4;
    m_caliperState->setGeometry(ScreenStack::kScreenWidth - stateWidth - 2, 0, stateWidth,
                                kTitleHeight);
    m_caliperState->hide();
}

void TallyDlg::enter()
{
    m_pendingMeasurements.clear();
    m_measuring = false;
    const MasterTables& tables = m_services.state.tables;
    m_codeBars[SpeciesKeys]->setCodeTable(listOf(tables.mainSpecies), {}, kSpeciesEntry);
    m_codeBars[QualityKeys]->setCodeTable(listOf(tables.naShort), listOf(tables.naLong),
                                          kQualityEntry);
    m_codeBars[CaliperClassKeys]->setCodeTable(listOf(tables.kalShort), listOf(tables.kalLong),
                                               kCaliperClassEntry);
    m_tariffCodes.clear();
    m_codeBars[TariffKeys]->setCodeTable({}, {}, kTariffEntry);

    if (!m_logic.open(m_services.state.currentList)) {
        m_services.messages.notice(QStringLiteral("Datenbank nicht lesbar!"));
        // This runs inside the switch to this screen, which a switch from here would undo.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (stack().activeScreen() == this)
                    onCancel();
            },
            Qt::QueuedConnection);
        return;
    }
    setFittedText(m_title, m_logic.title());
    // A hidden field cannot take the focus.
    bringToFront();
    settle();

    if (CaliperReader* caliper = m_services.caliper) {
        connect(caliper, &CaliperReader::measured, this, &TallyDlg::takeMeasurement,
                Qt::UniqueConnection);
        connect(caliper, &CaliperReader::measuredSpecies, this, &TallyDlg::takeSentenceMeasurement,
                Qt::UniqueConnection);
        connect(caliper, &CaliperReader::stateChanged, this, &TallyDlg::showCaliperState,
                Qt::UniqueConnection);
        if (tables.caliperActive != 0)
            caliper->start(tables.caliperPort, caliperFormatOf(tables.caliperFormat));
    }
    showCaliperState();
}

void TallyDlg::showCaliperState()
{
    const CaliperReader* caliper = m_services.caliper;
    const bool shown = caliper && m_services.state.tables.caliperActive != 0;
    const int titleWidth = ScreenStack::kScreenWidth - (shown ? m_caliperState->width() + 2 : 0);
    if (m_title->width() != titleWidth) {
        m_title->setGeometry(0, 0, titleWidth, kTitleHeight);
        setFittedText(m_title, m_logic.title());
    }
    m_caliperState->setVisible(shown);
    if (!shown)
        return;
    // A port that did not open is as much "getrennt" as a link that was lost.
    const bool connected = caliper->state() == CaliperReader::State::Connected;
    m_caliperState->setText(connected ? kCaliperConnected : kCaliperLost);
    QPalette palette = m_caliperState->palette();
    palette.setColor(QPalette::WindowText,
                     connected ? QColor(0x2e, 0x5e, 0x3a) : QColor(0xb0, 0x20, 0x20));
    m_caliperState->setPalette(palette);
}

void TallyDlg::leave()
{
    if (CaliperReader* caliper = m_services.caliper)
        caliper->stop();
    m_pendingMeasurements.clear();
}

int TallyDlg::fieldOf(const QWidget* widget) const
{
    if (!widget)
        return -1;
    for (size_t f = 0; f < m_edits.size(); ++f) {
        if (m_edits[f] == widget)
            return int(f);
    }
    return -1;
}

TallyDlg::Field TallyDlg::focusedField() const
{
    const int f = fieldOf(QApplication::focusWidget());
    return f >= 0 ? Field(f) : Field::Diameter;
}

void TallyDlg::commit(QLineEdit* edit)
{
    const int f = fieldOf(edit);
    if (f < 0)
        return;
    // The edits show values without their trailing blanks.
    if (withoutTrailingBlanks(edit->text()) == withoutTrailingBlanks(m_logic.text(Field(f))))
        return;
    m_logic.setField(Field(f), edit->text());
    refresh();
}

void TallyDlg::commitFocused()
{
    if (auto* edit = qobject_cast<QLineEdit*>(QApplication::focusWidget()))
        commit(edit);
}

void TallyDlg::refresh()
{
    for (size_t f = 0; f < m_edits.size(); ++f)
        m_edits[f]->setText(withoutTrailingBlanks(m_logic.text(Field(f))));
    m_volume->setText(QString::number(double(m_logic.tree().volume) / 100.0, 'f', 2));
    m_preview1->setText(m_logic.preview1());
    m_preview2->setText(m_logic.preview2());
    m_position->setText(
        m_logic.isNew() ? QStringLiteral("neu")
                        : QStringLiteral("%1/%2").arg(m_logic.position() + 1).arg(m_logic.count()));
    refreshCodeKeys();
}

void TallyDlg::refreshCodeKeys()
{
    // The choices follow the species; a page turned stays turned while they do not change. The
    // assignments of every region are in the choices, so a tariff comes as often as its regions:
    // one key each is enough, as a key writes its code.
    QStringList codes = m_logic.tariffChoices();
    codes.removeDuplicates();
    if (codes == m_tariffCodes)
        return;
    m_tariffCodes = codes;
    m_codeBars[TariffKeys]->setCodeTable(m_tariffCodes, {}, kTariffEntry);
}

TallyDlg::KeyboardIndex TallyDlg::barOf(Field field) const
{
    switch (field) {
    case Field::Tariff:
        return TariffKeys;
    case Field::Species:
        return SpeciesKeys;
    case Field::Quality:
        return QualityKeys;
    case Field::CaliperClass:
        return CaliperClassKeys;
    default:
        return Numeric;
    }
}

void TallyDlg::focusField(Field field)
{
    QLineEdit* edit = m_edits[size_t(field)];
    m_focusing = true;
    edit->setFocus(Qt::OtherFocusReason);
    m_focusing = false;
    edit->selectAll();
    showKeyboard(barOf(field));
}

void TallyDlg::fieldFocused(QLineEdit* edit)
{
    showKeyboard(barOf(Field(fieldOf(edit))));
    if (m_focusing)
        return;
    // Typing replaces the value; a tap's own cursor placement comes first, so this waits.
    QTimer::singleShot(0, edit, [edit] {
        if (edit->hasFocus())
            edit->selectAll();
    });
}

void TallyDlg::settle()
{
    refresh();
    focusField(m_logic.focus());
}

void TallyDlg::moveField(int step)
{
    commitFocused();
    const int next = (int(focusedField()) + step + TallyLogic::kFields) % TallyLogic::kFields;
    focusField(Field(next));
}

void TallyDlg::codeChosen(int command, int entry, const QString& code)
{
    commitFocused();
    const Field focused = focusedField();
    Field own = Field::Species;
    switch (command) {
    case kSpeciesEntry:
        m_logic.setMainSpecies(entry);
        break;
    case kTariffEntry:
        own = Field::Tariff;
        m_logic.setField(own, code);
        break;
    case kQualityEntry:
        own = Field::Quality;
        m_logic.setField(own, code);
        break;
    case kCaliperClassEntry:
        own = Field::CaliperClass;
        m_logic.setField(own, code);
        break;
    default:
        return;
    }
    refresh();
    if (focused != own) {
        // Called up with "Ziff" from another field: back to that one.
        focusField(focused);
    } else if (own == Field::Species && m_logic.tree().tariff.trimmed().isEmpty()
               && !m_logic.tariffChoices().isEmpty()) {
        // The first tree of a species has no tariff yet: the tariffs come next.
        focusField(Field::Tariff);
    } else {
        focusField(Field::Diameter);
    }
}

void TallyDlg::onCommand(int id)
{
    switch (id) {
    case kEnd:
        commitFocused();
        m_logic.end();
        settle();
        return;
    case kFirst:
        commitFocused();
        m_logic.first();
        settle();
        return;
    case kDelete:
        commitFocused();
        m_logic.removeCurrent();
        settle();
        return;
    case kUp:
    case kDown:
        commitFocused();
        if (id == kUp)
            m_logic.up();
        else
            m_logic.down();
        settle();
        return;
    case kEval:
    case kClasses:
        commitFocused();
        if (m_logic.checkHasTrees()) {
            // "Eval" prepares the totals sorted by species; "BHD/Stufe" shows the trees as the
            // tally holds them.
            if (auto* totals = stack().screen<TotalsDlg>()) {
                if (id == kEval)
                    switchTo(stack().screen<TotalsDlg>());
                else
                    totals->openAsTallied();
                return;
            }
        }
        settle();
        return;
    case kSpeciesSetup:
        commitFocused();
        switchTo(stack().screen<SpeciesSelectionDlg>());
        return;
    case kEtc:
        showKeyboard(keyboardIndex() == Secondary ? barOf(focusedField()) : Secondary);
        return;
    case kAlpha:
        showKeyboard(keyboardIndex() == Letters ? barOf(focusedField()) : Letters);
        return;
    case kZiff: {
        // The numeric fields' other bar is the species keys.
        const KeyboardIndex standard = barOf(focusedField());
        if (keyboardIndex() == Numeric)
            showKeyboard(standard == Numeric ? SpeciesKeys : standard);
        else
            showKeyboard(Numeric);
        return;
    }
    case kClear:
        if (fieldOf(QApplication::focusWidget()) >= 0)
            static_cast<QLineEdit*>(QApplication::focusWidget())->clear();
        return;
    case kPreviousField:
    case kNextField:
        moveField(id == kNextField ? 1 : -1);
        return;
    case kSpeciesEntry:
    case kTariffEntry:
    case kQualityEntry:
    case kCaliperClassEntry:
        return; // taken by codeChosen
    default:
        KeypadScreen::onCommand(id);
    }
}

void TallyDlg::onEnterKey()
{
    commitFocused();
    const Field field = focusedField();
    if (field == Field::Diameter) {
        onOk();
        return;
    }
    focusField(Field(int(field) + 1));
}

void TallyDlg::onOk()
{
    commitFocused();
    m_logic.save();
    settle();
}

void TallyDlg::onCancel()
{
    // Leaves without writing the record shown; the list selection makes the backup.
    if (stack().screen<ListSelectionDlg>())
        switchTo(stack().screen<ListSelectionDlg>());
    else
        switchTo(stack().screen<MainMenuDlg>());
}

void TallyDlg::takeMeasurement(int speciesKey, int diameter)
{
    takeCaliperMeasurement({speciesKey, QString(), diameter});
}

void TallyDlg::takeSentenceMeasurement(const QString& speciesCode, int diameter)
{
    const std::optional<QString> species =
        speciesForCaliperCode(m_services.state.tables, speciesCode);
    takeCaliperMeasurement({-1, species.value_or(QString()), diameter});
}

void TallyDlg::takeCaliperMeasurement(const CaliperMeasurement& measurement)
{
    if (stack().activeScreen() != this)
        return;
    // One that arrives while another's message is open waits its turn.
    if (m_measuring) {
        m_pendingMeasurements.push_back(measurement);
        return;
    }
    const auto take = [this](const CaliperMeasurement& m) {
        if (!m.species.isEmpty())
            m_logic.setField(Field::Species, m.species);
        m_logic.takeMeasurement(m.speciesKey, m.diameter);
        settle();
    };
    m_measuring = true;
    commitFocused();
    take(measurement);
    while (!m_pendingMeasurements.empty() && stack().activeScreen() == this) {
        const CaliperMeasurement next = m_pendingMeasurements.front();
        m_pendingMeasurements.erase(m_pendingMeasurements.begin());
        take(next);
    }
    m_measuring = false;
}

void TallyDlg::switchTo(Screen* target)
{
    if (target)
        stack().switchTo(target);
}

bool TallyDlg::eventFilter(QObject* watched, QEvent* event)
{
    // The edits leave the cursor keys and Enter to the screen.
    if (event->type() == QEvent::KeyPress && fieldOf(qobject_cast<QWidget*>(watched)) >= 0) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_Return
            || key == Qt::Key_Enter) {
            keyPressEvent(static_cast<QKeyEvent*>(event));
            return true;
        }
    }
    return KeypadScreen::eventFilter(watched, event);
}

} // namespace brovant
