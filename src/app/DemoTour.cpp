#include "app/DemoTour.h"

#include "app/BrovantApp.h"
#include "app/CableSettingsDlg.h"
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
#include "app/ScreenDriver.h"
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
#include "platform/CopyTree.h"
#include "tally/Lookup.h"
#include "workflow/AppState.h"
#include "workflow/ListSelectionLogic.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTreeWidget>

namespace brovant {
namespace {

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
        save(picture.toImage(), name);
    }
    // A picture that is not the window (a printed page).
    void keep(const QImage& image, const QString& name) { save(image, name); }
    const QStringList& files() const { return m_files; }
    // A picture that cannot be written fails the tour.
    void report(ScreenDriver& drive) { m_drive = &drive; }

private:
    void save(const QImage& image, const QString& name)
    {
        const QString file = QStringLiteral("%1/%2-%3.png")
                                 .arg(m_outDir)
                                 .arg(++m_count, 2, 10, QChar(u'0'))
                                 .arg(slug(name));
        if (image.save(file))
            m_files << file;
        else if (m_drive)
            m_drive->fail(QStringLiteral("Bild %1 nicht geschrieben").arg(file));
    }

    ScreenDriver* m_drive = nullptr;
    QWidget* m_window;
    QString m_outDir;
    int m_count = 0;
    QStringList m_files;
};

// The real dialogs, each photographed over the screen behind it; the script records every
// message and answers the questions.
class TourDialogs : public QtMessageDialogs {
public:
    TourDialogs(QWidget* window, const DeviceRoot& root, std::function<void()> afterModal,
                Camera& camera)
        : QtMessageDialogs(window, root, std::move(afterModal))
        , m_camera(camera)
    {
        m_script.setFallback(Answer::No, Answer::No);
    }
    ScriptedDialogs& script() { return m_script; }

    void notice(const QString& line1, const QString& line2, const QString& line3,
                const QString& caption, bool sound) override
    {
        m_script.notice(line1, line2, line3, caption, sound);
        m_next = Answer::Ok;
        QtMessageDialogs::notice(line1, line2, line3, caption, sound);
    }
    Answer yesNo(const QString& line1, const QString& line2, const QString& line3,
                 const QString& yesCaption, const QString& noCaption) override
    {
        m_next = m_script.yesNo(line1, line2, line3, yesCaption, noCaption);
        return QtMessageDialogs::yesNo(line1, line2, line3, yesCaption, noCaption);
    }
    Answer question(const QString& line1, const QString& line2, const QString& line3,
                    const QString& caption1, const QString& caption2,
                    const QString& caption3) override
    {
        m_next = m_script.question(line1, line2, line3, caption1, caption2, caption3);
        return QtMessageDialogs::question(line1, line2, line3, caption1, caption2, caption3);
    }

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
        return m_next;
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
    ScriptedDialogs m_script;
    Answer m_next = Answer::None;
    QString m_lastInfo;
};

struct Tour {
    BrovantApp& app;
    Camera& camera;
    ScreenDriver& drive;
};

// The three configuration pages, then a modem entry typed on the soft keys and confirmed; the
// question to end the program, answered "NEIN".
void tourConfiguration(Tour& t)
{
    t.app.stack().screen<ConfigurationDlg>()->openPage(int(ConfigPage::CompanyHeader));
    if (!t.drive.expect<ConfigurationDlg>())
        return;
    t.camera.take(QStringLiteral("Konfiguration Firmenkopf"));
    for (const char* page : {"pageModem", "pageFTP"}) {
        t.drive.click(QString::fromLatin1(page));
        t.camera.take(QStringLiteral("Konfiguration ") + QString::fromLatin1(page + 4));
    }
    t.drive.click(QStringLiteral("pageModem"));
    t.drive.type(QStringLiteral("BÜRO"));
    t.drive.press(KeypadScreen::kNextField);
    t.drive.press(KeypadScreen::kZiff);
    t.drive.type(QStringLiteral("07612345"));
    t.camera.take(QStringLiteral("Konfiguration Modem Ziffern"));
    t.drive.press(KeypadScreen::kEnter);
    t.drive.expect<MainMenuDlg>();
    t.drive.answering({Answer::No}, [&t] { t.drive.press(Screen::kCancel); });
}

// The system information, reached with the main menu's key, and back.
void tourSystemInfo(Tour& t)
{
    t.drive.press(MainMenuDlg::kSystemInfo);
    if (!t.drive.expect<SystemInfoDlg>())
        return;
    t.camera.take(QStringLiteral("Systeminfo"));
    t.drive.press(Screen::kCancel);
}

// The assignments of all regions; region, species and tariff picked from the list keyboards make a
// combination that exists already, so saving is refused. Then back.
void tourTariffAssignment(Tour& t)
{
    t.app.stack().screen<TariffAssignmentDlg>()->openAll();
    if (!t.drive.expect<TariffAssignmentDlg>())
        return;
    t.camera.take(QStringLiteral("Tarif-Zuordnung"));
    t.drive.press(TariffAssignmentDlg::kRegionKeys);
    t.drive.pick(QStringLiteral("WR01"));
    t.drive.pick(QStringLiteral("FI"));
    t.camera.take(QStringLiteral("Tarif-Zuordnung Tarifliste"));
    t.drive.pick(QStringLiteral("FI01"));
    t.drive.press(TariffAssignmentDlg::kSave);
    t.drive.expectMessage(QStringLiteral("Kombination WR/HA"));
    t.drive.press(Screen::kCancel);
}

// A new list from the main menu: page 1 with an unknown region (the question, answered
// "Abbruch"), the region picked from its list, the free pages with their choice lists, then the
// list information of the new list.
void tourNewList(Tour& t)
{
    ScreenDriver& d = t.drive;
    d.expect<MainMenuDlg>();
    d.press(MainMenuDlg::kNewList);
    if (!d.expect<ListHeaderDlg>())
        return;
    const int next = KeypadScreen::kNextField;
    const int enter = KeypadScreen::kEnter;
    t.camera.take(QStringLiteral("Liste anlegen Seite 1"));
    d.type(QStringLiteral("HIEB01"));
    d.press(next);
    d.type(QStringLiteral("NORDHANG"));
    for (int field = 0; field < 3; ++field)
        d.press(next);
    d.press(KeypadScreen::kZiff);
    d.type(QStringLiteral("WR9"));
    d.answering({Answer::Second}, [&] { d.press(enter); }); // "Abbruch"
    if (QLineEdit* region = d.field(QStringLiteral("REGION_A")))
        region->clear();
    d.press(KeypadScreen::kZiff);
    t.camera.take(QStringLiteral("Liste anlegen Wuchsregionen"));
    d.pick(QStringLiteral("WR01"));
    d.press(enter);

    t.camera.take(QStringLiteral("Liste anlegen Seite 2"));
    d.pick(QStringLiteral("Forstamt Musterwald"));
    d.pick(QStringLiteral("Revier Hirschberg"));
    d.press(enter);
    d.press(enter);
    d.expectMessage(QStringLiteral("Eingabe fehlt !!!")); // Abteilung is mandatory
    d.type(QStringLiteral("12"));
    d.press(enter);
    d.press(enter);
    t.camera.take(QStringLiteral("Liste anlegen Seite 5 Auswahl"));
    d.pick(QStringLiteral("Durchforstung"));
    d.pick(QStringLiteral("Stammholz lang"));
    d.press(enter);
    d.press(enter);
    d.press(next); // the cursor key passes page 7 by, so its mandatory field stays empty
    d.press(next);
    t.camera.take(QStringLiteral("Liste anlegen Seite 9"));
    d.press(enter);
    d.expectMessage(QStringLiteral("Es wurden nicht alle"));
    d.press(KeypadScreen::kPreviousField);
    d.press(KeypadScreen::kPreviousField);
    if (QLineEdit* name = d.field(QStringLiteral("KOPF12_A")))
        name->setFocus(Qt::MouseFocusReason);
    d.pick(QStringLiteral("Max Mustermann"));
    t.camera.take(QStringLiteral("Liste anlegen Seite 7"));
    for (int page = 7; page <= 9; ++page)
        d.press(enter);
    if (d.failed())
        return;

    t.app.stack().switchTo(t.app.stack().screen<ListInfoDlg>());
    t.camera.take(QStringLiteral("Listeninformation"));
    d.press(Screen::kCancel);
    if (t.app.stack().activeScreen() != t.app.mainMenu())
        t.app.stack().switchTo(t.app.mainMenu());
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

// From the main menu to the list selection, the list whose name starts with `name` selected and
// `tab` shown.
ListSelectionDlg* openListSelection(Tour& t, const QString& name, int tab)
{
    t.drive.expect<MainMenuDlg>();
    t.drive.press(MainMenuDlg::kSelectList);
    auto* lists = t.drive.expect<ListSelectionDlg>();
    if (!lists)
        return nullptr;
    const auto found = lists->listView()->findItems(name, Qt::MatchStartsWith, 0);
    if (found.isEmpty()) {
        t.drive.fail(QStringLiteral("Liste %1 fehlt").arg(name));
        return nullptr;
    }
    lists->listView()->setCurrentItem(found.first());
    lists->showTab(tab);
    return lists;
}

// The list selection from the main menu: each tab, a list marked for transfer, the delete
// question (answered "NEIN") and the model list question (answered "Ja"), then back.
void tourListSelection(Tour& t)
{
    addTourLists(t.app.session());
    t.drive.expect<MainMenuDlg>();
    t.drive.press(MainMenuDlg::kSelectList);
    auto* screen = t.drive.expect<ListSelectionDlg>();
    if (!screen)
        return;
    const char* tabs[] = {"Holzaufnahme", "Auswertung", "DÜ"};
    for (int tab = 0; tab < 3; ++tab) {
        screen->showTab(tab);
        t.camera.take(QStringLiteral("Listenauswahl ") + QString::fromUtf8(tabs[tab]));
    }
    QTreeWidget* view = screen->listView();
    view->setCurrentItem(view->topLevelItem(view->topLevelItemCount() - 1));
    t.drive.press(ListSelectionDlg::kMark);
    t.camera.take(QStringLiteral("Listenauswahl markiert"));

    screen->showTab(ListSelectionDlg::TallyTab);
    t.drive.answering({Answer::No}, [&t] { t.drive.press(ListSelectionDlg::kDelete); });
    t.drive.answering({Answer::First}, [&t] { t.drive.press(ListSelectionDlg::kModel); });
    t.camera.take(QStringLiteral("Listenauswahl Modell-Liste"));
    t.drive.press(Screen::kCancel);
}

// The regions of "SUED02" from the list selection's "Region": one picked from the master regions,
// then back to the main menu.
void tourRegion(Tour& t)
{
    openListSelection(t, QStringLiteral("SUED02"), ListSelectionDlg::TallyTab);
    t.drive.press(ListSelectionDlg::kRegion);
    if (!t.drive.expect<RegionDlg>())
        return;
    t.drive.pick(QStringLiteral("WR01"));
    t.camera.take(QStringLiteral("Wuchsregionen"));
    t.drive.press(Screen::kCancel);
    t.drive.expect<ListSelectionDlg>();
    t.drive.press(Screen::kCancel);
}

// A few trees of a fresh list by keypad: the species and tariff keys, one tree refused, three
// saved; a step back with the arrow; the secondary keys; the species slots (a code typed for slot
// 12, another for the caliper's key 8); the totals; then back to the list selection.
void tourTally(Tour& t)
{
    ScreenDriver& d = t.drive;
    openListSelection(t, QStringLiteral("SUED02"), ListSelectionDlg::TallyTab);
    d.press(ListSelectionDlg::kTally);
    if (!d.expect<TallyDlg>())
        return;
    t.camera.take(QStringLiteral("Holzaufnahme"));

    const int enter = KeypadScreen::kEnter;
    d.press(enter);
    d.expectMessage(QStringLiteral("Holzart fehlt !!!"));
    t.camera.take(QStringLiteral("Holzaufnahme Holzarten"));
    d.pick(QStringLiteral("BU"));
    t.camera.take(QStringLiteral("Holzaufnahme Tarife"));
    d.pick(QStringLiteral("BU01"));
    for (const char* diameter : {"34", "28"}) {
        d.type(QString::fromLatin1(diameter));
        d.press(enter);
    }
    // Back over the class to the count; Enter leads on through the class to the diameter.
    d.press(KeypadScreen::kPreviousField);
    d.press(KeypadScreen::kPreviousField);
    d.type(QStringLiteral("3"));
    d.press(enter);
    d.press(enter);
    d.type(QStringLiteral("41"));
    t.camera.take(QStringLiteral("Holzaufnahme Eingabe"));
    d.press(enter);
    t.camera.take(QStringLiteral("Holzaufnahme drei Baeume"));
    d.press(TallyDlg::kUp);
    t.camera.take(QStringLiteral("Holzaufnahme zurueckgeblaettert"));
    d.press(TallyDlg::kEtc);
    d.press(TallyDlg::kEnd);
    d.press(TallyDlg::kEtc);
    t.camera.take(QStringLiteral("Holzaufnahme Funktionen"));

    d.press(TallyDlg::kSpeciesSetup);
    if (!d.expect<SpeciesSelectionDlg>())
        return;
    t.camera.take(QStringLiteral("Einstellung der Holzart"));
    d.press(SpeciesSelectionDlg::kLetters);
    d.type(QStringLiteral("KIR"));
    t.camera.take(QStringLiteral("Einstellung der Holzart getippt"));
    d.press(enter);
    d.press(SpeciesSelectionDlg::kFirstSlot + 11);
    d.press(SpeciesSelectionDlg::kLetters);
    d.type(QStringLiteral("WEI"));
    d.press(enter);
    d.press(SpeciesSelectionDlg::kCaliperKey);
    t.camera.take(QStringLiteral("Einstellung der Holzart HA12 und Kluppe"));
    d.press(Screen::kCancel);

    d.expect<TallyDlg>();
    d.press(TallyDlg::kEtc);
    d.press(TallyDlg::kEval);
    if (!d.expect<TotalsDlg>())
        return;
    t.camera.take(QStringLiteral("Gesamtsumme"));
    d.press(Screen::kCancel);
    d.expect<TallyDlg>();
    d.press(Screen::kCancel);
    d.expect<ListSelectionDlg>();
    d.press(Screen::kCancel);
}

// A mixed stand in "EICHE03", saved as the tally saves trees (class and volume from the master
// data); then its totals, the diameter distribution (all species, then the first species) and the
// listing, whose first two pages are kept as pictures of the paper.
void tourReports(Tour& t)
{
    DeviceSession& session = t.app.session();
    const MasterTables& tables = t.app.state().tables;
    const auto rows = ListSelectionLogic::readRows(session.database());
    const auto list = std::find_if(rows.begin(), rows.end(), [](const auto& row) {
        return row.listNo.trimmed() == QLatin1StringView("EICHE03");
    });
    if (list == rows.end())
        return t.drive.fail(QStringLiteral("Liste EICHE03 fehlt"));
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
    for (const auto& tree : trees) {
        const auto cls = lookup::classOf(tables, tree.diameter);
        if (!cls)
            return t.drive.fail(QStringLiteral("Stärkeklasse für %1 cm fehlt").arg(tree.diameter));
        rowsOut.clearFields();
        rowsOut.setInt(u"ID", ++id);
        rowsOut.setInt(u"ID_FILE", list->idFile);
        rowsOut.setInt(u"ID_TYPE", 1);
        rowsOut.setText(u"BAUMART", QString::fromLatin1(tree.species));
        rowsOut.setText(u"TARIF", QString::fromLatin1(tree.tariff));
        rowsOut.setInt(u"STK", tree.count);
        rowsOut.setInt(u"BHD", cls->diameter);
        rowsOut.setText(u"DMSTUFE", cls->code);
        rowsOut.setInt(u"KUBATUR", lookup::recordVolume(tables, QString::fromLatin1(tree.tariff),
                                                        cls->code, tree.count));
        rowsOut.insert();
    }

    ScreenDriver& d = t.drive;
    openListSelection(t, QStringLiteral("EICHE03"), ListSelectionDlg::EvaluationTab);
    d.press(ListSelectionDlg::kEval);
    if (!d.expect<TotalsDlg>())
        return;
    t.camera.take(QStringLiteral("Gesamtsumme Eichenwertholz"));
    d.press(TotalsDlg::kDistribution);
    if (!d.expect<DistributionDlg>())
        return;
    t.camera.take(QStringLiteral("Durchmesserverteilung alle"));
    d.press(DistributionDlg::kNextSpecies);
    t.camera.take(QStringLiteral("Durchmesserverteilung Holzart"));
    d.press(Screen::kCancel);

    // "Ausdruck" writes the listing into the printer path; its pages as the paper shows them.
    d.expect<TotalsDlg>();
    d.press(TotalsDlg::kPrint);
    const ReportSources sources{session.database(), session.store(), tables, t.app.clock().now()};
    const auto report = reports::listing(sources, list->idFile);
    if (!report)
        return d.fail(QStringLiteral("Ausdruck von EICHE03 fehlt"));
    const int pageLength = reports::pageLength(tables);
    const auto pages = ReportLayout::paginate(*report, pageLength);
    // A4 at 100 dots per inch, the printer's margins left white.
    const QSizeF page(827, 1169);
    for (int i = 0; i < std::min<int>(2, int(pages.size())); ++i) {
        QImage image(page.toSize(), QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        ReportPrinter::paintPage(painter, QRectF(79, 47, 827 - 79 - 55, 1169 - 47 - 39), *report,
                                 pages, i, pageLength);
        painter.end();
        t.camera.keep(image, QStringLiteral("Ausdruck Seite %1").arg(i + 1));
    }
    d.press(Screen::kCancel);
    d.expect<ListSelectionDlg>();
    d.press(Screen::kCancel);
}

// The functions screen: each tab, the two questions of "Delete all" (both answered so that
// nothing is deleted), the reset question, a manual backup and the restore screen that lists it
// (left with "Abbruch").
void tourSettings(Tour& t)
{
    ScreenDriver& d = t.drive;
    d.expect<MainMenuDlg>();
    d.press(MainMenuDlg::kSettings);
    auto* settings = d.expect<SettingsDlg>();
    if (!settings)
        return;
    const char* tabs[] = {"Funktionen", "Konfiguration", "Einstellungen"};
    for (int tab = 0; tab < 3; ++tab) {
        settings->showTab(tab);
        t.camera.take(QStringLiteral("Einstellungen-") + QLatin1StringView(tabs[tab]));
    }
    settings->showTab(0);
    // The second "Yes" is the left key, "NEIN".
    d.answering({Answer::Yes, Answer::Yes}, [&d] { d.click(SettingsDlg::kDeleteAll); });
    d.answering({Answer::No}, [&d] { d.click(SettingsDlg::kReset); });
    d.answering({Answer::Yes}, [&d] { d.click(SettingsDlg::kBackup); });
    bool restoreShown = false;
    RestoreDlg::setRunner([&t, &restoreShown](RestoreDlg& dialog) {
        dialog.show();
        t.camera.take(dialog.windowTitle(), &dialog, QPoint(0, 0));
        dialog.findChild<QPushButton*>(QStringLiteral("button%1").arg(RestoreDlg::kCancel))
            ->click();
        restoreShown = true;
    });
    d.click(SettingsDlg::kRestore);
    RestoreDlg::setRunner({});
    if (!d.failed() && !restoreShown)
        d.fail(QStringLiteral("Wiederherstellen fehlt"));
    d.press(Screen::kCancel);
}

// "Kommunikation" from the settings screen: its three tabs with the caliper switched on, the
// cable settings on ActiveSync and on a serial port, both left with the back key.
void tourCommunication(Tour& t)
{
    ScreenDriver& d = t.drive;
    d.expect<MainMenuDlg>();
    d.press(MainMenuDlg::kSettings);
    auto* settings = d.expect<SettingsDlg>();
    if (!settings)
        return;
    settings->showTab(1);
    d.click(SettingsDlg::kCommunication);
    auto* screen = d.expect<PrinterSettingsDlg>();
    if (!screen)
        return;
    t.camera.take(QStringLiteral("Kommunikation Uebertragung"));
    screen->showTab(PrinterSettingsDlg::CaliperTab);
    d.click(QStringLiteral("caliperActive"));
    t.camera.take(QStringLiteral("Kommunikation Kluppe"));
    screen->showTab(PrinterSettingsDlg::PrinterTab);
    t.camera.take(QStringLiteral("Kommunikation Drucker"));
    screen->showTab(PrinterSettingsDlg::TransferTab);
    d.click(QStringLiteral("cable"));
    if (!d.expect<CableSettingsDlg>())
        return;
    t.camera.take(QStringLiteral("Einstellungen Kabel ActiveSync"));
    auto* port = d.active()->findChild<QComboBox*>(QStringLiteral("port"));
    if (!port)
        return d.fail(QStringLiteral("Auswahl port fehlt"));
    port->setCurrentIndex(0);
    t.camera.take(QStringLiteral("Einstellungen Kabel COM1"));
    d.press(Screen::kCancel);
    d.expect<PrinterSettingsDlg>();
    d.press(Screen::kCancel);
    d.expect<SettingsDlg>();
    d.press(Screen::kCancel);
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
    ScreenDriver drive(app.stack(), dialogs.script());
    camera.report(drive);
    if (!app.start())
        return 1;
    camera.take(QStringLiteral("Hauptmenue"));

    Tour tour{app, camera, drive};
    const std::pair<const char*, void (*)(Tour&)> steps[] = {
        {"Konfiguration", tourConfiguration},
        {"Systeminfo", tourSystemInfo},
        {"Tarif-Zuordnung", tourTariffAssignment},
        {"Liste anlegen", tourNewList},
        {"Listenauswahl", tourListSelection},
        {"Wuchsregionen", tourRegion},
        {"Holzaufnahme", tourTally},
        {"Auswertung", tourReports},
        {"Funktionen", tourSettings},
        {"Kommunikation", tourCommunication},
    };
    for (const auto& [name, step] : steps) {
        step(tour);
        if (drive.failed()) {
            QTextStream(stderr) << "Demo-Rundgang: Schritt '" << name
                                << "' fehlgeschlagen: " << drive.failure() << '\n';
            app.shutdown();
            return 1;
        }
    }

    app.shutdown();
    out << "Demo tour: " << camera.files().size() << " pictures in " << QDir(outDir).absolutePath()
        << '\n';
    return 0;
}

} // namespace brovant
