// What the service tells becomes notifications of the desktop.
#include "engine/programs/agent/agentsession.h"
#include "interface/names.h"
#include "support/programs.h"
#include "support/soon.h"

#include <QCoreApplication>
#include <QtTest>

using namespace talo::tests;

class AgentNoticesTest : public AgentSession
{
    Q_OBJECT

public:
    explicit AgentNoticesTest(talo::test::Programs &programs) : programs_(programs) {}

private slots:
    void cleanup();
    void threatIsShown();
    void endIsShown();
    void threatsOfOneScanShareANotification();
    void nextScanHasANotificationOfItsOwn();
    void closedNotificationIsNotReplaced();
    void markupIsEscapedWhereItCounts_data();
    void markupIsEscapedWhereItCounts();
    void desktopWithoutActionsGetsNone();
    void clickOpensThePanel();
    void otherClicksOpenNothing();
    void waitsForADesktop();
    void nextDesktopKnowsNothingOfTheLast();
    void refusedNoticeIsDropped();
    void noticeThatDiesWithTheDesktopIsShownByTheNext();
    void outdatedNoticeIsNotShownLate();

private:
    talo::test::Programs &programs_;
};

void AgentNoticesTest::cleanup()
{
    AgentSession::cleanup();
    if (programs_.obstacle().isEmpty())
        programs_.forgetLaunches();
}

void AgentNoticesTest::threatIsShown()
{
    play();
    engine_->tellThreat(kType, "/home/ann/a.exe", "Win.Test", "deleted, kept in quarantine");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    const Notification shown = seen().first();
    QCOMPARE(shown.program, QString("TALO Antivirus"));
    QCOMPARE(shown.replaces, 0u);
    QCOMPARE(shown.summary, QString("Threat found"));
    QCOMPARE(shown.body, QString("Scheduled Full Scan\n"
                                 "Win.Test in /home/ann/a.exe: deleted, kept in quarantine"));
    QCOMPARE(shown.actions, QStringList({"default", "Open TALO Antivirus"}));
    QCOMPARE(shown.hints.value("urgency"), QVariant::fromValue<uchar>(2));
    QCOMPARE(shown.hints.value("urgency").userType(), int(QMetaType::UChar));
}

void AgentNoticesTest::endIsShown()
{
    play();
    engine_->tellEnd(kType, talo::interface::Finished, "the whole computer", 12345, 0, "key");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].summary, QString("Scheduled Full Scan finished"));
    QCOMPARE(seen()[0].body,
             QString("No threats found in 12,345 files\nScanned: the whole computer"));
    QCOMPARE(seen()[0].hints.value("urgency"), QVariant::fromValue<uchar>(1));
}

void AgentNoticesTest::threatsOfOneScanShareANotification()
{
    play();
    for (int i = 0; i < 10; ++i)
        engine_->tellThreat(kType, QString("/t/%1").arg(i), "Test", "left");
    // Those that came while another was being shown may have been told together.
    QTRY_COMPARE_WITH_TIMEOUT(seen().isEmpty() ? QString() : seen().last().summary,
                              QString("10 threats found"), kSoon);
    QCOMPARE(seen().last().body, QString("Scheduled Full Scan\nTest in /t/7: left\n"
                                         "Test in /t/8: left\nTest in /t/9: left"));
    for (const Notification &shown : seen())
        QCOMPARE(shown.id, seen().first().id);
}

void AgentNoticesTest::nextScanHasANotificationOfItsOwn()
{
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    engine_->tellEnd(kType, talo::interface::Finished, "", 1, 1, "key");
    engine_->tellThreat(kType, "/b", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 3, kSoon);
    QCOMPARE(seen()[0].summary, QString("Threat found"));
    QCOMPARE(seen()[1].summary, QString("Scheduled Full Scan finished"));
    QCOMPARE(seen()[1].body, QString("1 threat found in 1 file"));
    QCOMPARE(seen()[2].summary, QString("Threat found"));
    for (const Notification &shown : seen())
        QCOMPARE(shown.replaces, 0u);
}

void AgentNoticesTest::closedNotificationIsNotReplaced()
{
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    desktop_->close(seen()[0].id);
    engine_->tellThreat(kType, "/b", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 2, kSoon);
    QCOMPARE(seen()[1].summary, QString("2 threats found"));
    QCOMPARE(seen()[1].replaces, 0u);
}

void AgentNoticesTest::markupIsEscapedWhereItCounts_data()
{
    QTest::addColumn<QStringList>("capabilities");
    QTest::addColumn<QString>("path");
    QTest::newRow("markup") << kRich << "/&lt;a href=&quot;x&quot;&gt;&amp;amp;%1";
    QTest::newRow("plain") << kPlain << "/<a href=\"x\">&amp;%1";
}

void AgentNoticesTest::markupIsEscapedWhereItCounts()
{
    QFETCH(QStringList, capabilities);
    QFETCH(QString, path);
    play(capabilities);
    engine_->tellThreat(kType, "/<a href=\"x\">&amp;%1", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].body, "Scheduled Full Scan\nTest in " + path + ": left");
}

void AgentNoticesTest::desktopWithoutActionsGetsNone()
{
    play(kPlain);
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].actions, QStringList());
}

void AgentNoticesTest::clickOpensThePanel()
{
    if (!programs_.obstacle().isEmpty())
        QSKIP(qPrintable(programs_.obstacle()));
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    desktop_->invoke(seen()[0].id, "default");
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
    QCOMPARE(programs_.launches()[0].program, QString("taloantivirus"));
    QCOMPARE(programs_.launches()[0].arguments, QStringList());
    // Detached: the panel outlives the agent.
    QVERIFY(programs_.launches()[0].parent != agent_->processId());
}

void AgentNoticesTest::otherClicksOpenNothing()
{
    if (!programs_.obstacle().isEmpty())
        QSKIP(qPrintable(programs_.obstacle()));
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    const uint id = seen()[0].id;
    desktop_->invoke(id + 1, "default"); // another program's
    desktop_->invoke(id, "other");
    desktop_->close(id);
    desktop_->invoke(id, "default"); // by now another program's
    engine_->tellEnd(kType, talo::interface::Finished, "", 1, 1, "key");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 2, kSoon);
    desktop_->invoke(seen()[1].id, "default");
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1,
                              kSoon); // by the last click, and by it alone
}

void AgentNoticesTest::waitsForADesktop()
{
    listen();
    engine_->tellThreat(kType, "/a", "Test", "left");
    engine_->tellThreat(kType, "/b", "Test", "left");
    engine_->tellEnd(kType, talo::interface::Finished, "", 2, 2, "key");
    engine_->untilHeard();
    takeDesktop();
    QTRY_COMPARE_WITH_TIMEOUT(seen().isEmpty() ? QString() : seen().last().summary,
                              QString("Scheduled Full Scan finished"), kSoon);
    // The first threat is told alone where the desktop is just there when it is to be shown.
    const int told = seen().size();
    QVERIFY(told == 2 || (told == 3 && seen()[0].summary == "Threat found" &&
                          seen()[1].replaces == seen()[0].id));
    QCOMPARE(seen()[told - 2].summary, QString("2 threats found"));
    // Each once, also when there is another desktop.
    desktop_.reset();
    takeDesktop();
    engine_->tellEnd("External Drive Scan", talo::interface::Stopped, "", 2, 0, "key");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].summary, QString("External Drive Scan stopped"));
}

void AgentNoticesTest::nextDesktopKnowsNothingOfTheLast()
{
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    desktop_.reset();
    takeDesktop(kPlain, 7);
    engine_->tellThreat(kType, "/b&", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].replaces, 0u);
    QVERIFY(seen()[0].body.contains("/b&:")); // and is asked anew what it can show
    if (!programs_.obstacle().isEmpty())
        QSKIP(qPrintable(programs_.obstacle()));
    desktop_->invoke(1, "default");
    desktop_->invoke(7, "default");
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
}

void AgentNoticesTest::refusedNoticeIsDropped()
{
    play();
    desktop_->refuseOnce();
    engine_->tellEnd("Refused", talo::interface::Finished, "", 1, 0, "key");
    engine_->tellEnd("Shown", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].summary, QString("Shown finished"));
}

void AgentNoticesTest::noticeThatDiesWithTheDesktopIsShownByTheNext()
{
    play();
    desktop_->keepSilentOnce();
    engine_->tellEnd("First", talo::interface::Finished, "", 1, 0, "key");
    QTRY_VERIFY_WITH_TIMEOUT(desktop_->isSilent(), kSoon);
    engine_->tellEnd("Second", talo::interface::Finished, "", 1, 0, "key");
    engine_->untilHeard();
    desktop_.reset();
    takeDesktop();
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 2, kSoon);
    QCOMPARE(seen()[0].summary, QString("First finished"));
    QCOMPARE(seen()[1].summary, QString("Second finished"));
}

void AgentNoticesTest::outdatedNoticeIsNotShownLate()
{
    play();
    desktop_->keepSilentOnce();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_VERIFY_WITH_TIMEOUT(desktop_->isSilent(), kSoon);
    engine_->tellThreat(kType, "/b", "Test", "left");
    engine_->tellEnd(kType, talo::interface::Finished, "", 2, 2, "key");
    engine_->untilHeard();
    desktop_.reset();
    takeDesktop();
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 2, kSoon);
    QCOMPARE(seen()[0].summary, QString("2 threats found")); // and not that one was, before
    QCOMPARE(seen()[1].summary, QString("Scheduled Full Scan finished"));
}

int main(int argc, char *argv[])
{
    talo::test::Programs programs({"taloantivirus"});
    QCoreApplication application(argc, argv);
    AgentNoticesTest test(programs);
    return QTest::qExec(&test, argc, argv);
}
#include "test_agentnotices.moc"
