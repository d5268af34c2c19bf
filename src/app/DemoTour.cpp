#include "app/DemoTour.h"

#include "app/BrovantApp.h"
#include "app/ConfigurationDlg.h"
#include "app/DistributionDlg.h"
#include "app/ListHeaderDlg.h"
#include "app/ListInfoDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/MainMenuDlg.h"
#include "app/OnScreenKeyboard.h"
#include "app/PrinterSettingsDlg.h"
#include "app/QtMessageDialogs.h"
#include "app/RegionDlg.h"
#include "app/RestoreDlg.h"
#include "app/SettingsDlg.h"
#include "app/SpeciesSelectionDlg.h"
#include "app/SystemInfoDlg.h"
#include "app/TallyDlg.h"
#include "app/TariffAssignmentDlg.h"
#include "app/TotalsDlg.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "data/TreeRows.h"
#include "evaluation/Reports.h"
#include "evaluation/print/ReportPrinter.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "tally/Lookup.h"
#include "workflow/AppState.h"
#include "workflow/ListSelectionLogic.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTreeWidget>

#include <deque>

namespace brovant {
namespace {

bool copyTree(const QString& from, const QString& to)
{
    QDir().mkpath(to);
    QDirIterator it(from, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + path.mid(from.size());
        if (it.fileInfo().isDir()) {
            QDir().mkpath(target);
        } else if (!path.endsWith(QStringLiteral(".brovant.lock")) && !QFile::copy(path, target)) {
            return false;
        }
    }
    return true;
}

QString slug(const QString& text)
{
    QString out;
    for (const QChar c : text.toLower()) {
        if (c.isLetterOrNumber() && c.unicode() < 128)
            out += c;
        else if (c == u'ä')
            out += QStringLiteral("ae");
        else if (c == u'ö')
            out += QStringLiteral("oe");
        else if (c == u'ü')
            out += QStringLiteral("ue");
        else if (c == u'ß')
            out += QStringLiteral("ss");
        else if (!out.endsWith(u'-'))
            out += u'-';
    }
    while (out.endsWith(u'-'))
        out.chop(1);
    return out.left(40);
}

// The pictures, numbered in the order they were taken.
class Camera {
public:
    Camera(QWidget* window, QString outDir)
        : m_window(window)
        , m_outDir(std::move(outDir))
    {
    }

    void take(const QString& name, QWidget* overlay = nullptr, QPoint at = {})
    {
        QApplication::processEvents();
        QPixmap picture = m_window->grab();
        if (overlay) {
            QPainter p(&picture);
            p.drawPixmap(at, overlay->grab());
        }
        const QString file = QStringLiteral("%1/%2-%3.png")
                                 .arg(m_outDir)
                                 .arg(++m_count, 2, 10, QChar(u'0'))
                                 .arg(slug(name));
        if (picture.save(file))
            m_files << file;
    }
    // A picture that is not the window (a printed page).
    void keep(const QImage& image, const QString& name)
    {
        const QString file = QStringLiteral("%1/%2-%3.png")
                                 .arg(m_outDir)
                                 .arg(++m_count, 2, 10, QChar(u'0'))
                                 .arg(slug(name));
        if (image.save(file))
            m_files << file;
    }
    const QStringList& files() const { return m_files; }

private:
    QWidget* m_window;
    QString m_outDir;
    int m_count = 0;
    QStringList m_files;
};

// The real dialogs, answered from a script, each photographed over the screen behind it.
class TourDialogs : public QtMessageDialogs {
public:
    TourDialogs(QWidget* window, const DeviceRoot& root, std::function<void()> afterModal,
                Camera& camera)
        : QtMessageDialogs(window, root, std::move(afterModal))
        , m_camera(camera)
    {
    }
    void answerNext(Answer answer) { m_answers.push_back(answer); }

protected:
    Answer run(MessageDialog& dialog) override
    {
        dialog.show();
        m_camera.take(QStringLiteral("%1-%2").arg(
                          dialog.title(), dialog.findChild<QWidget*>(QStringLiteral("line1049"))
                                              ->property("text")
                                              .toString()),
                      &dialog, QPoint(5, 90));
        dialog.hide();
        // As when a modal dialog closes, the program's window takes the keys back.
        if (QWidget* window = dialog.parentWidget()) {
            window->activateWindow();
            QApplication::processEvents();
        }
        if (m_answers.empty())
            return dialog.findChild<QWidget*>(QStringLiteral("button1055")) ? Answer::Ok
                                                                            : Answer::No;
        const Answer answer = m_answers.front();
        m_answers.pop_front();
        return answer;
    }
    void infoShown() override
    {
        const QString text = infoWindow()->lines().join(u' ');
        if (text == m_lastInfo)
            return;
        m_lastInfo = text;
        m_camera.take(QStringLiteral("Info-") + text);
    }

private:
    Camera& m_camera;
    std::deque<Answer> m_answers;
    QString m_lastInfo;
};

// Clicks the key of that object name on the screen's shown keyboard, as a finger would.
void press(KeypadScreen* screen, const QString& key)
{
    if (auto* found = screen->keyboard()->findChild<KeyButton*>(key))
        found->click();
}

void press(KeypadScreen* screen, int command)
{
    if (KeyButton* found = screen->keyboard()->keyFor(command))
        found->click();
}

void type(KeypadScreen* screen, const QString& text)
{
    for (const QChar c : text)
        press(screen, QStringLiteral("char_") + c);
}

// The three configuration pages, then a modem entry typed on the soft keys and confirmed.
void tourConfiguration(BrovantApp& app, Camera& camera)
{
    auto* config = app.stack().screen<ConfigurationDlg>();
    if (!config)
        return;
    config->openPage(int(ConfigPage::CompanyHeader));
    camera.take(QStringLiteral("Konfiguration Firmenkopf"));
    for (const char* page : {"pageModem", "pageFTP"}) {
        config->findChild<QAbstractButton*>(QString::fromLatin1(page))->click();
        camera.take(QStringLiteral("Konfiguration ") + QString::fromLatin1(page + 4));
    }
    config->findChild<QAbstractButton*>(QStringLiteral("pageModem"))->click();
    type(config, QStringLiteral("BÜRO"));
    press(config, KeypadScreen::kNextField);
    press(config, KeypadScreen::kZiff);
    type(config, QStringLiteral("07612345"));
    camera.take(QStringLiteral("Konfiguration Modem Ziffern"));
    press(config, KeypadScreen::kEnter);
}

// The system information, reached with the main menu's key, and back.
void tourSystemInfo(BrovantApp& app, Camera& camera)
{
    press(app.mainMenu(), MainMenuDlg::kSystemInfo);
    auto* info = app.stack().screen<SystemInfoDlg>();
    if (!info || app.stack().activeScreen() != info)
        return;
    camera.take(QStringLiteral("Systeminfo"));
    press(info, Screen::kCancel);
}

// The assignments of all regions; region, species and tariff picked from the list keyboards make a
// combination that exists already, so saving is refused. Then back.
void tourTariffAssignment(BrovantApp& app, Camera& camera)
{
    auto* screen = app.stack().screen<TariffAssignmentDlg>();
    if (!screen)
        return;
    const auto pick = [screen](const QString& code) {
        OnScreenKeyboard* list = screen->keyboard();
        for (int page = 0; page < list->pageCount(); ++page) {
            list->showPage(page);
            for (int i = 0; i < list->keyCount(); ++i) {
                if (list->key(i)->def().commandId > 0 && list->key(i)->caption() == code) {
                    list->key(i)->click();
                    return;
                }
            }
        }
    };
    screen->openAll();
    camera.take(QStringLiteral("Tarif-Zuordnung"));
    screen->shownKey(TariffAssignmentDlg::kRegionKeys)->click();
    pick(QStringLiteral("WR01"));
    pick(QStringLiteral("FI"));
    camera.take(QStringLiteral("Tarif-Zuordnung Tarifliste"));
    pick(QStringLiteral("FI01"));
    screen->shownKey(TariffAssignmentDlg::kSave)->click();
    press(screen, Screen::kCancel);
}

// Characters from the letter or digit keyboard, switching with "Ziff" until the key is shown.
void typeAny(KeypadScreen* screen, const QString& text)
{
    for (const QChar c : text) {
        const QString key = QStringLiteral("char_") + c;
        for (int tries = 0; tries < 3 && !screen->keyboard()->findChild<KeyButton*>(key); ++tries)
            press(screen, KeypadScreen::kZiff);
        press(screen, key);
    }
}

// The entry of the list keyboard shown now, turning its pages.
void pickEntry(KeypadScreen* screen, const QString& text)
{
    OnScreenKeyboard* list = screen->keyboard();
    for (int page = 0; page < list->pageCount(); ++page) {
        list->showPage(page);
        for (int i = 0; i < list->keyCount(); ++i) {
            if (list->key(i)->def().commandId == ListHeaderDlg::kChoiceEntry
                && list->key(i)->caption() == text) {
                list->key(i)->click();
                return;
            }
        }
    }
}

// A new list from the main menu: page 1 with an unknown region (the question, answered
// "Abbruch"), the region picked from its list, the free pages with their choice lists, then the
// list information of the new list.
void tourNewList(BrovantApp& app, Camera& camera, TourDialogs& dialogs)
{
    press(app.mainMenu(), MainMenuDlg::kNewList);
    auto* header = app.stack().screen<ListHeaderDlg>();
    if (!header || app.stack().activeScreen() != header)
        return;
    const int next = KeypadScreen::kNextField;
    const int enter = KeypadScreen::kEnter;
    camera.take(QStringLiteral("Liste anlegen Seite 1"));
    typeAny(header, QStringLiteral("HIEB01"));
    press(header, next);
    typeAny(header, QStringLiteral("NORDHANG"));
    for (int field = 0; field < 3; ++field)
        press(header, next);
    press(header, KeypadScreen::kZiff);
    typeAny(header, QStringLiteral("WR9"));
    dialogs.answerNext(Answer::Second); // "Abbruch"
    press(header, enter);
    header->findChild<QLineEdit*>(QStringLiteral("REGION_A"))->clear();
    press(header, KeypadScreen::kZiff);
    camera.take(QStringLiteral("Liste anlegen Wuchsregionen"));
    pickEntry(header, QStringLiteral("WR01"));
    press(header, enter);

    camera.take(QStringLiteral("Liste anlegen Seite 2"));
    pickEntry(header, QStringLiteral("Forstamt Musterwald"));
    pickEntry(header, QStringLiteral("Revier Hirschberg"));
    press(header, enter);
    press(header, enter); // Abteilung is mandatory: "Eingabe fehlt !!!"
    typeAny(header, QStringLiteral("12"));
    press(header, enter);
    press(header, enter);
    camera.take(QStringLiteral("Liste anlegen Seite 5 Auswahl"));
    pickEntry(header, QStringLiteral("Durchforstung"));
    pickEntry(header, QStringLiteral("Stammholz lang"));
    press(header, enter);
    press(header, enter);
    press(header, next); // the cursor key passes page 7 by, so its mandatory field stays empty
    press(header, next);
    camera.take(QStringLiteral("Liste anlegen Seite 9"));
    press(header, enter); // "Es wurden nicht alle Pflicht-Kopfdaten eingegeben!"
    press(header, KeypadScreen::kPreviousField);
    press(header, KeypadScreen::kPreviousField);
    header->findChild<QLineEdit*>(QStringLiteral("KOPF12_A"))->setFocus(Qt::MouseFocusReason);
    pickEntry(header, QStringLiteral("Max Mustermann"));
    camera.take(QStringLiteral("Liste anlegen Seite 7"));
    for (int page = 7; page <= 9; ++page)
        press(header, enter);

    auto* info = app.stack().screen<ListInfoDlg>();
    if (!info)
        return;
    app.stack().switchTo(info);
    camera.take(QStringLiteral("Listeninformation"));
    press(info, Screen::kCancel);
    if (app.stack().activeScreen() != app.mainMenu())
        app.stack().switchTo(app.mainMenu());
}

// Two more lists beside whatever the device holds, written the way a finished header is stored.
void addTourLists(DeviceSession& session)
{
    const auto rows = ListSelectionLogic::readRows(session.database());
    std::int64_t id = rows.empty() ? 0 : rows.back().idFile;
    const char* lists[][3] = {{"SUED02", "Südhang Buche", "WR01"},
                              {"EICHE03", "Eichenwertholz Abt. 7", "WR01"}};
    Dataset heads(session.database(), schema::Kopfdaten);
    for (const auto& list : lists) {
        heads.clearFields();
        heads.setInt(u"ID_FILE", ++id);
        heads.setText(u"LISTE_NR", QString::fromUtf8(list[0]));
        heads.setText(u"ZUSATZ_A", QString::fromUtf8(list[1]));
        heads.setText(u"DATUM_A", QStringLiteral("04.05.2026"));
        heads.setInt(u"KOR_FAKTOR_N", 100);
        heads.setText(u"REGION_A", QString::fromUtf8(list[2]));
        heads.setInt(u"DUE_MARK", 0);
        heads.setInt(u"EXPORTED_N_NI", 0);
        heads.setText(u"STRUKTUR", QString::fromLatin1(schema::kStructureVersion));
        heads.insert();
    }
}

// The list selection from the main menu: each tab, a list marked for transfer, the delete
// question (answered "NEIN") and the model list question (answered "Ja"), then back.
// From the main menu to the list selection, the list whose name starts with `name` selected,
// `tab` shown and `key` pressed: the screen that key opened, or null where a step failed.
Screen* fromListSelection(BrovantApp& app, const QString& name, int tab, int key)
{
    if (app.stack().activeScreen() != app.mainMenu())
        app.stack().switchTo(app.mainMenu());
    press(app.mainMenu(), MainMenuDlg::kSelectList);
    auto* lists = app.stack().screen<ListSelectionDlg>();
    if (!lists || app.stack().activeScreen() != lists)
        return nullptr;
    const auto found = lists->listView()->findItems(name, Qt::MatchStartsWith, 0);
    if (found.isEmpty())
        return nullptr;
    lists->listView()->setCurrentItem(found.first());
    lists->showTab(tab);
    press(lists, key);
    Screen* opened = app.stack().activeScreen();
    return opened == lists ? nullptr : opened;
}

// Back from the list selection to the main menu, where the tour left it open.
void backFromListSelection(BrovantApp& app)
{
    Screen* lists = app.stack().screen<ListSelectionDlg>();
    if (auto* screen = qobject_cast<KeypadScreen*>(lists);
        screen && app.stack().activeScreen() == lists)
        press(screen, Screen::kCancel);
}

void tourListSelection(BrovantApp& app, Camera& camera, TourDialogs& dialogs)
{
    if (app.stack().activeScreen() != app.mainMenu())
        app.stack().switchTo(app.mainMenu());
    addTourLists(app.session());
    press(app.mainMenu(), MainMenuDlg::kSelectList);
    auto* screen = app.stack().screen<ListSelectionDlg>();
    if (!screen || app.stack().activeScreen() != screen)
        return;
    const char* tabs[] = {"Holzaufnahme", "Auswertung", "DÜ"};
    for (int tab = 0; tab < 3; ++tab) {
        screen->showTab(tab);
        camera.take(QStringLiteral("Listenauswahl ") + QString::fromUtf8(tabs[tab]));
    }
    QTreeWidget* view = screen->listView();
    view->setCurrentItem(view->topLevelItem(view->topLevelItemCount() - 1));
    press(screen, ListSelectionDlg::kMark);
    camera.take(QStringLiteral("Listenauswahl markiert"));

    screen->showTab(ListSelectionDlg::TallyTab);
    dialogs.answerNext(Answer::No);
    press(screen, ListSelectionDlg::kDelete);
    dialogs.answerNext(Answer::First); // "Ja"
    press(screen, ListSelectionDlg::kModel);
    camera.take(QStringLiteral("Listenauswahl Modell-Liste"));
    press(screen, Screen::kCancel);
}

// The regions of "SUED02" from the list selection's "Region": one picked from the master regions,
// then back to the main menu.
void tourRegion(BrovantApp& app, Camera& camera)
{
    auto* regions = qobject_cast<RegionDlg*>(fromListSelection(
        app, QStringLiteral("SUED02"), ListSelectionDlg::TallyTab, ListSelectionDlg::kRegion));
    if (!regions)
        return;
    OnScreenKeyboard* list = regions->keyboard();
    for (int i = 0; i < list->keyCount(); ++i) {
        if (list->key(i)->def().commandId == RegionDlg::kRegionEntry
            && list->key(i)->caption() == QLatin1StringView("WR01")) {
            list->key(i)->click();
            break;
        }
    }
    camera.take(QStringLiteral("Wuchsregionen"));
    press(regions, Screen::kCancel);
    backFromListSelection(app);
}

// The key showing `caption` on the keyboard shown now, turning its pages.
void pickCaption(KeypadScreen* screen, const QString& caption)
{
    OnScreenKeyboard* keys = screen->keyboard();
    for (int page = 0; page < keys->pageCount(); ++page) {
        keys->showPage(page);
        for (int i = 0; i < keys->keyCount(); ++i) {
            if (keys->key(i)->def().commandId > 0 && keys->key(i)->caption() == caption) {
                keys->key(i)->click();
                return;
            }
        }
    }
}

// A few trees of a fresh list by keypad: the species and tariff keys, one tree refused, three
// saved; a step back with the arrow; the secondary keys; the species slots (a code typed for slot
// 12, another for the caliper's key 8); the totals; then back to the list selection.
void tourTally(BrovantApp& app, Camera& camera)
{
    if (app.stack().activeScreen() != app.mainMenu())
        app.stack().switchTo(app.mainMenu());
    press(app.mainMenu(), MainMenuDlg::kSelectList);
    auto* lists = app.stack().screen<ListSelectionDlg>();
    auto* tally = app.stack().screen<TallyDlg>();
    if (!lists || !tally || app.stack().activeScreen() != lists)
        return;
    QTreeWidget* view = lists->listView();
    const auto found = view->findItems(QStringLiteral("SUED02"), Qt::MatchStartsWith, 0);
    if (found.isEmpty())
        return;
    view->setCurrentItem(found.first());
    lists->showTab(ListSelectionDlg::TallyTab);
    press(lists, ListSelectionDlg::kTally);
    if (app.stack().activeScreen() != tally)
        return;
    camera.take(QStringLiteral("Holzaufnahme"));

    const int enter = KeypadScreen::kEnter;
    press(tally, enter); // nothing entered yet: "Holzart fehlt !!!"
    camera.take(QStringLiteral("Holzaufnahme Holzarten"));
    pickCaption(tally, QStringLiteral("BU"));
    camera.take(QStringLiteral("Holzaufnahme Tarife"));
    pickCaption(tally, QStringLiteral("BU01"));
    for (const char* diameter : {"34", "28"}) {
        type(tally, QString::fromLatin1(diameter));
        press(tally, enter);
    }
    // Back over the class to the count; Enter leads on through the class to the diameter.
    const int previous = KeypadScreen::kPreviousField;
    press(tally, previous);
    press(tally, previous);
    type(tally, QStringLiteral("3"));
    press(tally, enter);
    press(tally, enter);
    type(tally, QStringLiteral("41"));
    camera.take(QStringLiteral("Holzaufnahme Eingabe"));
    press(tally, enter);
    camera.take(QStringLiteral("Holzaufnahme drei Baeume"));
    press(tally, TallyDlg::kUp);
    camera.take(QStringLiteral("Holzaufnahme zurueckgeblaettert"));
    press(tally, TallyDlg::kEtc);
    press(tally, TallyDlg::kEnd);
    press(tally, TallyDlg::kEtc);
    camera.take(QStringLiteral("Holzaufnahme Funktionen"));

    press(tally, TallyDlg::kSpeciesSetup);
    auto* species = app.stack().screen<SpeciesSelectionDlg>();
    if (species && app.stack().activeScreen() == species) {
        camera.take(QStringLiteral("Einstellung der Holzart"));
        press(species, SpeciesSelectionDlg::kLetters);
        type(species, QStringLiteral("KIR"));
        camera.take(QStringLiteral("Einstellung der Holzart getippt"));
        press(species, enter);
        press(species, SpeciesSelectionDlg::kFirstSlot + 11);
        press(species, SpeciesSelectionDlg::kLetters);
        type(species, QStringLiteral("WEI"));
        press(species, enter);
        press(species, SpeciesSelectionDlg::kCaliperKey);
        camera.take(QStringLiteral("Einstellung der Holzart HA12 und Kluppe"));
        press(species, Screen::kCancel);
    }
    if (app.stack().activeScreen() != tally)
        return;
    press(tally, TallyDlg::kEtc);
    press(tally, TallyDlg::kEval);
    if (Screen* totals = app.stack().screen<TotalsDlg>();
        totals && app.stack().activeScreen() == totals) {
        camera.take(QStringLiteral("Gesamtsumme"));
        totals->onCommand(Screen::kCancel);
    }
    if (app.stack().activeScreen() == tally)
        press(tally, Screen::kCancel);
}

// A mixed stand in "EICHE03", saved as the tally saves trees (class and volume from the master
// data); then its totals, the diameter distribution (all species, then the first species) and the
// listing, whose first two pages are kept as pictures of the paper.
void tourReports(BrovantApp& app, Camera& camera)
{
    DeviceSession& session = app.session();
    const MasterTables& tables = app.state().tables;
    const auto rows = ListSelectionLogic::readRows(session.database());
    const auto list = std::find_if(rows.begin(), rows.end(), [](const auto& row) {
        return row.listNo.trimmed() == QLatin1StringView("EICHE03");
    });
    if (list == rows.end())
        return;
    const struct {
        const char* species;
        const char* tariff;
        int diameter;
        int count;
    } trees[] = {
        {"EI", "EI01", 38, 1}, {"EI", "EI01", 42, 2}, {"EI", "EI01", 46, 3}, {"EI", "EI01", 50, 2},
        {"EI", "EI01", 54, 2}, {"EI", "EI01", 58, 1}, {"EI", "EI01", 64, 1}, {"BU", "BU01", 28, 2},
        {"BU", "BU01", 32, 3}, {"BU", "BU01", 36, 4}, {"BU", "BU01", 40, 3}, {"BU", "BU01", 44, 2},
        {"BU", "BU01", 48, 1}, {"FI", "FI01", 22, 2}, {"FI", "FI01", 26, 4}, {"FI", "FI01", 30, 5},
        {"FI", "FI01", 34, 3}, {"FI", "FI01", 38, 2}, {"KI", "KI01", 24, 2}, {"KI", "KI01", 28, 3},
        {"KI", "KI01", 32, 1},
    };
    Dataset rowsOut(session.database(), schema::Holzdaten);
    std::int64_t id = TreeRows(session.database()).maxId();
    for (const auto& t : trees) {
        const auto cls = lookup::classOf(tables, t.diameter);
        if (!cls)
            return;
        rowsOut.clearFields();
        rowsOut.setInt(u"ID", ++id);
        rowsOut.setInt(u"ID_FILE", list->idFile);
        rowsOut.setInt(u"ID_TYPE", 1);
        rowsOut.setText(u"BAUMART", QString::fromLatin1(t.species));
        rowsOut.setText(u"TARIF", QString::fromLatin1(t.tariff));
        rowsOut.setInt(u"STK", t.count);
        rowsOut.setInt(u"BHD", cls->diameter);
        rowsOut.setText(u"DMSTUFE", cls->code);
        rowsOut.setInt(u"KUBATUR", lookup::recordVolume(tables, QString::fromLatin1(t.tariff),
                                                        cls->code, t.count));
        rowsOut.insert();
    }

    auto* totals = qobject_cast<TotalsDlg*>(fromListSelection(
        app, QStringLiteral("EICHE03"), ListSelectionDlg::EvaluationTab, ListSelectionDlg::kEval));
    if (!totals)
        return;
    camera.take(QStringLiteral("Gesamtsumme Eichenwertholz"));
    press(totals, TotalsDlg::kDistribution);
    if (auto* chart = app.stack().screen<DistributionDlg>();
        chart && app.stack().activeScreen() == chart) {
        camera.take(QStringLiteral("Durchmesserverteilung alle"));
        press(static_cast<KeypadScreen*>(chart), DistributionDlg::kNextSpecies);
        camera.take(QStringLiteral("Durchmesserverteilung Holzart"));
        press(static_cast<KeypadScreen*>(chart), Screen::kCancel);
    }

    // "Ausdruck" writes the listing into the printer path; its pages as the paper shows them.
    press(totals, TotalsDlg::kPrint);
    const ReportSources sources{session.database(), session.store(), tables, app.clock().now()};
    if (const auto report = reports::listing(sources, list->idFile)) {
        const int pageLength = reports::pageLength(tables);
        const auto pages = ReportLayout::paginate(*report, pageLength);
        // A4 at 100 dots per inch, the printer's margins left white.
        const QSizeF page(827, 1169);
        for (int i = 0; i < std::min<int>(2, int(pages.size())); ++i) {
            QImage image(page.toSize(), QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter painter(&image);
            ReportPrinter::paintPage(painter, QRectF(79, 47, 827 - 79 - 55, 1169 - 47 - 39),
                                     *report, pages, i, pageLength);
            painter.end();
            camera.keep(image, QStringLiteral("Ausdruck Seite %1").arg(i + 1));
        }
    }
    press(totals, Screen::kCancel);
    backFromListSelection(app);
}

} // namespace

// The functions screen: each tab, the two questions of "Delete all" (both answered so that
// nothing is deleted), the reset question, a manual backup and the restore screen that lists it
// (left with "Abbruch").
void tourSettings(BrovantApp& app, Camera& camera, TourDialogs& dialogs)
{
    app.mainMenu()->onCommand(MainMenuDlg::kSettings);
    auto* settings = qobject_cast<SettingsDlg*>(app.stack().activeScreen());
    if (!settings)
        return;
    const char* tabs[] = {"Funktionen", "Konfiguration", "Einstellungen"};
    for (int tab = 0; tab < 3; ++tab) {
        settings->showTab(tab);
        camera.take(QStringLiteral("Einstellungen-") + QLatin1StringView(tabs[tab]));
    }
    settings->showTab(0);
    dialogs.answerNext(Answer::Yes);
    dialogs.answerNext(Answer::Yes); // the left "NEIN"
    settings->onCommand(SettingsDlg::kDeleteAll);
    dialogs.answerNext(Answer::No);
    settings->onCommand(SettingsDlg::kReset);
    dialogs.answerNext(Answer::Yes);
    settings->onCommand(SettingsDlg::kBackup);
    RestoreDlg::setRunner([&camera](RestoreDlg& dialog) {
        dialog.show();
        camera.take(dialog.windowTitle(), &dialog, QPoint(0, 0));
        dialog.findChild<QPushButton*>(QStringLiteral("button%1").arg(RestoreDlg::kCancel))
            ->click();
    });
    settings->onCommand(SettingsDlg::kRestore);
    RestoreDlg::setRunner({});
    settings->onCommand(Screen::kCancel);
}

namespace {

// "Kommunikation" from the settings screen: its three tabs with the caliper switched on, the
// cable settings on ActiveSync and on a serial port, both left with the back key.
void tourCommunication(BrovantApp& app, Camera& camera)
{
    app.mainMenu()->onCommand(MainMenuDlg::kSettings);
    auto* settings = qobject_cast<SettingsDlg*>(app.stack().activeScreen());
    if (!settings)
        return;
    settings->showTab(1);
    settings->onCommand(SettingsDlg::kCommunication);
    auto* screen = qobject_cast<PrinterSettingsDlg*>(app.stack().activeScreen());
    if (!screen) {
        settings->onCommand(Screen::kCancel);
        return;
    }
    camera.take(QStringLiteral("Kommunikation Uebertragung"));
    screen->showTab(PrinterSettingsDlg::CaliperTab);
    screen->findChild<QAbstractButton*>(QStringLiteral("caliperActive"))->click();
    camera.take(QStringLiteral("Kommunikation Kluppe"));
    screen->showTab(PrinterSettingsDlg::PrinterTab);
    camera.take(QStringLiteral("Kommunikation Drucker"));
    screen->showTab(PrinterSettingsDlg::TransferTab);
    screen->findChild<QAbstractButton*>(QStringLiteral("cable"))->click();
    if (auto* cable = qobject_cast<KeypadScreen*>(app.stack().activeScreen());
        cable && cable != screen) {
        camera.take(QStringLiteral("Einstellungen Kabel ActiveSync"));
        cable->findChild<QComboBox*>(QStringLiteral("port"))->setCurrentIndex(0);
        camera.take(QStringLiteral("Einstellungen Kabel COM1"));
        press(cable, Screen::kCancel);
    }
    press(screen, Screen::kCancel);
    settings->onCommand(Screen::kCancel);
}

} // namespace

int runDemoTour(const QString& rootDir, const QString& outDir)
{
    QTextStream out(stdout);
    QTemporaryDir work;
    const QString root = work.path() + QStringLiteral("/device");
    if (QDir(rootDir).exists() && !copyTree(rootDir, root)) {
        QTextStream(stderr) << "Gerät kann nicht kopiert werden: " << rootDir << '\n';
        return 1;
    }
    QDir().mkpath(outDir);
    for (const QString& old : QDir(outDir).entryList({QStringLiteral("*.png")}, QDir::Files))
        QFile::remove(outDir + u'/' + old);

    DeviceSession session(root);
    AppState state;
    // A fixed morning in May, so the pictures do not change from run to run.
    ManualClock clock(QDateTime(QDate(2026, 5, 4), QTime(7, 30, 0)));
    BrovantApp app(session, state, clock);
    Camera camera(app.stack().mainWindow(), outDir);
    TourDialogs dialogs(
        app.stack().mainWindow(), session.root(),
        [&app] {
            if (Screen* active = app.stack().activeScreen())
                active->bringToFront();
        },
        camera);
    app.replaceMessages(&dialogs);
    if (!app.start())
        return 1;

    MainMenuDlg* menu = app.mainMenu();
    camera.take(QStringLiteral("Hauptmenue"));
    if (!session.configurationLoaded())
        menu->onCommand(MainMenuDlg::kNewList);
    tourConfiguration(app, camera);
    dialogs.answerNext(Answer::No);
    menu->onCommand(Screen::kCancel);
    tourSystemInfo(app, camera);
    tourTariffAssignment(app, camera);
    tourNewList(app, camera, dialogs);
    tourListSelection(app, camera, dialogs);
    tourRegion(app, camera);
    tourTally(app, camera);
    tourReports(app, camera);
    tourSettings(app, camera, dialogs);
    tourCommunication(app, camera);

    app.shutdown();
    out << "Demo tour: " << camera.files().size() << " pictures in " << QDir(outDir).absolutePath()
        << '\n';
    return 0;
}

} // namespace brovant
