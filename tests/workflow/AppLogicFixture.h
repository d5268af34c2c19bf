// A device root with the program's start-up and shutdown around it.
#pragma once

#include "data/Dataset.h"
#include "data/Schema.h"
#include "data/StructureCheck.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/CaseFile.h"
#include "support/ListBuilder.h"
#include "support/QtPrinting.h"
#include "support/QtText.h"
#include "support/TempRoot.h"
#include "workflow/AppLifecycle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace brovant::test {

// Answers named as in the case files ("Yes,No", "-" for none), given to `dialogs` in that order.
inline void answerNext(ScriptedDialogs& dialogs, const QString& names)
{
    static const QStringList known = {"None", "Ok", "Yes", "No", "First", "Second", "Third"};
    for (const QString& name : names.split(u',', Qt::SkipEmptyParts)) {
        EXPECT_TRUE(name == u"-" || known.contains(name)) << str(name);
        if (name != u"-")
            dialogs.answerNext(Answer(known.indexOf(name)));
    }
}

// A step's yes-or-no result as the step files write it.
inline QString truth(bool yes)
{
    return QString::fromLatin1(yes ? "true" : "false");
}

// A step file's list column: items between ';', "-" for none.
inline QStringList listOf(const QString& field)
{
    return field == u"-" ? QStringList{} : field.split(u';');
}

// Every message shown, as "line1|line2|line3", a question with " [caption/caption/caption]".
inline QStringList said(const ScriptedDialogs& dialogs)
{
    QStringList out;
    for (const auto& m : dialogs.messages())
        out << m.lines.join(u'|')
                   + (m.kind == ScriptedDialogs::Kind::Question
                          ? " [" + m.captions.join(u'/') + u']'
                          : QString());
    return out;
}

// A step's expectations: its result in column 3, the messages it showed in column 4; an empty
// column is not checked.
inline void expectStep(const Case& c, const QString& result, const QStringList& shown)
{
    if (!c.text(3).isEmpty()) {
        EXPECT_EQ(result.isEmpty() ? QStringLiteral("-") : result, c.text(3));
    }
    if (!c.text(4).isEmpty()) {
        EXPECT_EQ(shown, listOf(c.text(4)));
    }
}

// Every row of `sql`, its columns joined by '|', read through a connection of its own to `file`,
// so only committed rows show.
inline QStringList committedRows(const QString& file, const QString& sql)
{
    Database other(file, Database::Durability::Relaxed);
    EXPECT_TRUE(other.open());
    return joinedRows(other, sql);
}

// Screen host and dialogs logging into one list ("host active 1", "yesNo <line1>", "info 5
// <line1>").
class Recorder : public ScreenHost, public ScriptedDialogs {
public:
    QStringList events;

    void showMainMenu() override { events << "host showMainMenu"; }
    void setMainMenuActive(bool on) override { events << QStringLiteral("host active %1").arg(on); }
    void createScreens() override { events << "host createScreens"; }
    void destroyScreens() override { events << "host destroyScreens"; }
    void setWaitCursor(bool on) override { events << QStringLiteral("host cursor %1").arg(on); }
    void repaint() override { events << "host repaint"; }
    void notice(const QString& l1, const QString& l2, const QString& l3, const QString& caption,
                bool sound) override
    {
        events << "notice " + l1;
        ScriptedDialogs::notice(l1, l2, l3, caption, sound);
    }
    Answer yesNo(const QString& l1, const QString& l2, const QString& l3, const QString& yes,
                 const QString& no) override
    {
        events << "yesNo " + l1;
        return ScriptedDialogs::yesNo(l1, l2, l3, yes, no);
    }
    void info(int show, const QString& l1, const QString& l2, const QString& l3) override
    {
        events << QStringLiteral("info %1 %2").arg(show).arg(l1);
        ScriptedDialogs::info(show, l1, l2, l3);
    }
    void progress(double percent) override
    {
        events << QStringLiteral("progress %1").arg(percent);
        ScriptedDialogs::progress(percent);
    }
};

// A device root with its database open, for one screen's logic on its own.
struct OpenDevice {
    TempRoot root;
    DeviceSession session{root.path(), Database::Durability::Relaxed};
    ScriptedDialogs dialogs;
    AppState state;

    OpenDevice() { EXPECT_NE(session.openDatabase(), DeviceSession::DatabaseState::Failed); }
    Database& db() { return session.database(); }
    QStringList committed(const QString& sql) { return committedRows(db().file(), sql); }
    // A master row of the given kind; species and tariff are an assignment row's.
    void addMasterRow(std::int64_t id, int type, const QString& region, const QString& species = {},
                      const QString& tariff = {})
    {
        ListBuilder(db()).row(schema::Einstellungen, {{u"ID", qlonglong(id)},
                                                      {u"ID_TYPE", type},
                                                      {u"REGION_A", region},
                                                      {u"BAUMART", species},
                                                      {u"TARIF", tariff}});
    }
};

// One device root with a program on it.
struct TestDevice {
    TempRoot root;
    Recorder dialogs;
    QStringList& events = dialogs.events;
    ManualClock clock;
    AppState state;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<AppLifecycle> app;

    TestDevice() { restartAfterCrash(); }
    // A new process on the same root: what a crash followed by a new start looks like.
    void restartAfterCrash()
    {
        app.reset();
        session.reset();
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        state = AppState{};
        app = std::make_unique<AppLifecycle>(*session, state, clock, dialogs, dialogs);
    }
    Registry& registry() { return session->registry(); }
    Profile& profile() { return session->profile(); }

    void stageConfig() const
    {
        QFile demo(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
        ASSERT_TRUE(demo.open(QIODevice::ReadOnly));
        root.writeFile("Brovant/passive.dtr", demo.readAll());
    }
    // A current database at `relative` whose one master row carries `marker` in REGION_A.
    void makeDatabase(const QString& relative, const QString& marker) const
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(root.host(relative)).path()));
        Database db(root.host(relative), Database::Durability::Relaxed);
        ASSERT_TRUE(db.open() && StructureCheck::ensureStructureRecord(db));
        ListBuilder(db).row(
            schema::Einstellungen,
            {{u"ID", 1}, {u"ID_TYPE", schema::DiameterClassRow}, {u"REGION_A", marker}});
    }
    // REGION_A of the first master row of the database file at `relative`, or "-".
    QString markerOf(const QString& relative) const
    {
        Database db(root.host(relative), Database::Durability::Relaxed);
        if (!QFileInfo(root.host(relative)).isFile() || !db.open())
            return "-";
        auto q = db.query("SELECT REGION_A FROM Brov_Einstellungen ORDER BY ID");
        return q.next() ? q.text(0) : "-";
    }
    qsizetype eventIndex(const QString& prefix, qsizetype from = 0) const
    {
        while (from < events.size() && !events[from].startsWith(prefix))
            ++from;
        return from < events.size() ? from : -1;
    }
    // Whether events starting with these prefixes happened in this order.
    bool inOrder(const QStringList& prefixes) const
    {
        qsizetype at = 0;
        for (const QString& prefix : prefixes) {
            if ((at = eventIndex(prefix, at)) < 0)
                return false;
            ++at;
        }
        return true;
    }
    std::string eventText() const { return events.join(u'\n').toStdString(); }
};

} // namespace brovant::test
