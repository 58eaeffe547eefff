// talo-agent as the desktop starts it, between a service and a desktop that the test plays.
#include "engine/programs/agent/fakedesktop.h"
#include "engine/programs/agent/fakeengine.h"
#include "engine/programs/support/privatebus.h"
#include "engine/programs/support/programrun.h"
#include "interface/names.h"
#include "support/programs.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using talo::tests::FakeDesktop;
using talo::tests::FakeEngine;
using talo::tests::Notification;
using talo::tests::PrivateBus;

namespace
{

const QString kType = QStringLiteral("Scheduled Full Scan");
const QStringList kRich{"actions", "body", "body-markup"};
const QStringList kPlain{"body"};

qint64 daysAgo(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(-days).toSecsSinceEpoch();
}

QVariantMap signatures(const QString &set, qint64 time)
{
    return {{"signatureSet", set}, {"signatureTime", time}};
}

} // namespace

class AgentTest : public QObject
{
    Q_OBJECT

public:
    explicit AgentTest(talo::test::Programs &programs) : programs_(programs) {}

private slots:
    void init();
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
    void serviceMayComeLaterAndRestart();
    void systemBusIsHeardToo();
    void onlyTheServiceIsHeard();
    void malformedSignalsAreIgnored();
    void oldSignaturesAreTold_data();
    void oldSignaturesAreTold();
    void signaturesAreToldOnceADay();
    void untoldSignaturesAreToldAgain();
    void secondAgentEnds();
    void endsWithTheSession();
    void needsASession();
    void drawsNothing();

private:
    QProcessEnvironment environment() const;
    void startAgent();
    void stopAgent();
    // Started again with a service, and listening: it has asked for the status.
    void listen();
    void play(const QStringList &capabilities = kRich);
    QList<Notification> seen() const { return desktop_->notifications(); }
    QString stampFile() const { return home_->filePath("state/taloantivirus/signatures-told"); }

    talo::test::Programs &programs_;
    std::unique_ptr<QTemporaryDir> home_;
    std::unique_ptr<PrivateBus> session_;
    std::unique_ptr<PrivateBus> system_;
    std::unique_ptr<FakeDesktop> desktop_;
    std::unique_ptr<FakeEngine> engine_;
    std::unique_ptr<QProcess> agent_;
};

void AgentTest::init()
{
    home_ = std::make_unique<QTemporaryDir>();
    session_ = std::make_unique<PrivateBus>();
    system_ = std::make_unique<PrivateBus>();
    QVERIFY(!session_->address().isEmpty());
}

void AgentTest::cleanup()
{
    stopAgent();
    engine_.reset();
    desktop_.reset();
    session_.reset();
    system_.reset();
    if (programs_.obstacle().isEmpty())
        programs_.forgetLaunches();
}

QProcessEnvironment AgentTest::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("TALO_BUS");
    environment.remove("DISPLAY");
    environment.insert("DBUS_SESSION_BUS_ADDRESS", session_->address());
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", system_->address());
    environment.insert("HOME", home_->path());
    environment.insert("XDG_STATE_HOME", home_->filePath("state"));
    return environment;
}

void AgentTest::startAgent()
{
    agent_ = std::make_unique<QProcess>();
    agent_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    agent_->setProcessEnvironment(environment());
    agent_->start(talo::tests::builtProgram("talo-agent"), QStringList());
    QVERIFY(agent_->waitForStarted());
}

void AgentTest::stopAgent()
{
    if (!agent_)
        return;
    agent_->terminate();
    agent_->waitForFinished();
    agent_.reset();
}

void AgentTest::listen()
{
    if (!engine_)
        engine_ = std::make_unique<FakeEngine>(session_->address());
    const int before = engine_->statusAsked();
    startAgent();
    QTRY_VERIFY(engine_->statusAsked() > before);
}

void AgentTest::play(const QStringList &capabilities)
{
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), capabilities);
    listen();
}

void AgentTest::threatIsShown()
{
    play();
    engine_->tellThreat(kType, "/home/ann/a.exe", "Win.Test", "deleted, kept in quarantine");
    QTRY_COMPARE(seen().size(), 1);
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

void AgentTest::endIsShown()
{
    play();
    engine_->tellEnd(kType, talo::interface::Finished, "the whole computer", 12345, 0, "key");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].summary, QString("Scheduled Full Scan finished"));
    QCOMPARE(seen()[0].body,
             QString("No threats found in 12,345 files\nScanned: the whole computer"));
    QCOMPARE(seen()[0].hints.value("urgency"), QVariant::fromValue<uchar>(1));
}

void AgentTest::threatsOfOneScanShareANotification()
{
    play();
    for (int i = 0; i < 10; ++i)
        engine_->tellThreat(kType, QString("/t/%1").arg(i), "Test", "left");
    // Those that came while another was being shown may have been told together.
    QTRY_COMPARE(seen().isEmpty() ? QString() : seen().last().summary, QString("10 threats found"));
    QCOMPARE(seen().last().body, QString("Scheduled Full Scan\nTest in /t/7: left\n"
                                         "Test in /t/8: left\nTest in /t/9: left"));
    for (const Notification &shown : seen())
        QCOMPARE(shown.id, seen().first().id);
}

void AgentTest::nextScanHasANotificationOfItsOwn()
{
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    engine_->tellEnd(kType, talo::interface::Finished, "", 1, 1, "key");
    engine_->tellThreat(kType, "/b", "Test", "left");
    QTRY_COMPARE(seen().size(), 3);
    QCOMPARE(seen()[0].summary, QString("Threat found"));
    QCOMPARE(seen()[1].summary, QString("Scheduled Full Scan finished"));
    QCOMPARE(seen()[1].body, QString("1 threat found in 1 file"));
    QCOMPARE(seen()[2].summary, QString("Threat found"));
    for (const Notification &shown : seen())
        QCOMPARE(shown.replaces, 0u);
}

void AgentTest::closedNotificationIsNotReplaced()
{
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    desktop_->close(seen()[0].id);
    engine_->tellThreat(kType, "/b", "Test", "left");
    QTRY_COMPARE(seen().size(), 2);
    QCOMPARE(seen()[1].summary, QString("2 threats found"));
    QCOMPARE(seen()[1].replaces, 0u);
}

void AgentTest::markupIsEscapedWhereItCounts_data()
{
    QTest::addColumn<QStringList>("capabilities");
    QTest::addColumn<QString>("path");
    QTest::newRow("markup") << kRich << "/&lt;a href=&quot;x&quot;&gt;&amp;amp;%1";
    QTest::newRow("plain") << kPlain << "/<a href=\"x\">&amp;%1";
}

void AgentTest::markupIsEscapedWhereItCounts()
{
    QFETCH(QStringList, capabilities);
    QFETCH(QString, path);
    play(capabilities);
    engine_->tellThreat(kType, "/<a href=\"x\">&amp;%1", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].body, "Scheduled Full Scan\nTest in " + path + ": left");
}

void AgentTest::desktopWithoutActionsGetsNone()
{
    play(kPlain);
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].actions, QStringList());
}

void AgentTest::clickOpensThePanel()
{
    if (!programs_.obstacle().isEmpty())
        QSKIP(qPrintable(programs_.obstacle()));
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    desktop_->invoke(seen()[0].id, "default");
    QTRY_COMPARE(programs_.launches().size(), 1);
    QCOMPARE(programs_.launches()[0].program, QString("taloantivirus"));
    QCOMPARE(programs_.launches()[0].arguments, QStringList());
    // Detached: the panel outlives the agent.
    QVERIFY(programs_.launches()[0].parent != agent_->processId());
}

void AgentTest::otherClicksOpenNothing()
{
    if (!programs_.obstacle().isEmpty())
        QSKIP(qPrintable(programs_.obstacle()));
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    const uint id = seen()[0].id;
    desktop_->invoke(id + 1, "default"); // another program's
    desktop_->invoke(id, "other");
    desktop_->close(id);
    desktop_->invoke(id, "default"); // by now another program's
    engine_->tellEnd(kType, talo::interface::Finished, "", 1, 1, "key");
    QTRY_COMPARE(seen().size(), 2);
    desktop_->invoke(seen()[1].id, "default");
    QTRY_COMPARE(programs_.launches().size(), 1); // by the last click, and by it alone
}

void AgentTest::waitsForADesktop()
{
    listen();
    engine_->tellThreat(kType, "/a", "Test", "left");
    engine_->tellThreat(kType, "/b", "Test", "left");
    engine_->tellEnd(kType, talo::interface::Finished, "", 2, 2, "key");
    QTest::qWait(100);
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kRich);
    QTRY_COMPARE(seen().size(), 2);
    QCOMPARE(seen()[0].summary, QString("2 threats found"));
    QCOMPARE(seen()[1].summary, QString("Scheduled Full Scan finished"));
    // Each once, also when there is another desktop.
    desktop_.reset();
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kRich);
    engine_->tellEnd("External Drive Scan", talo::interface::Stopped, "", 2, 0, "key");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].summary, QString("External Drive Scan stopped"));
}

void AgentTest::nextDesktopKnowsNothingOfTheLast()
{
    play();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    desktop_.reset();
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kPlain, 7);
    engine_->tellThreat(kType, "/b&", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].replaces, 0u);
    QVERIFY(seen()[0].body.contains("/b&:")); // and is asked anew what it can show
    if (!programs_.obstacle().isEmpty())
        QSKIP(qPrintable(programs_.obstacle()));
    desktop_->invoke(1, "default");
    desktop_->invoke(7, "default");
    QTRY_COMPARE(programs_.launches().size(), 1);
}

void AgentTest::refusedNoticeIsDropped()
{
    play();
    desktop_->refuseOnce();
    engine_->tellEnd("Refused", talo::interface::Finished, "", 1, 0, "key");
    engine_->tellEnd("Shown", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].summary, QString("Shown finished"));
}

void AgentTest::noticeThatDiesWithTheDesktopIsShownByTheNext()
{
    play();
    desktop_->keepSilentOnce();
    engine_->tellEnd("First", talo::interface::Finished, "", 1, 0, "key");
    QTRY_VERIFY(desktop_->isSilent());
    engine_->tellEnd("Second", talo::interface::Finished, "", 1, 0, "key");
    desktop_.reset();
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kRich);
    QTRY_COMPARE(seen().size(), 2);
    QCOMPARE(seen()[0].summary, QString("First finished"));
    QCOMPARE(seen()[1].summary, QString("Second finished"));
}

void AgentTest::outdatedNoticeIsNotShownLate()
{
    play();
    desktop_->keepSilentOnce();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_VERIFY(desktop_->isSilent());
    engine_->tellThreat(kType, "/b", "Test", "left");
    engine_->tellEnd(kType, talo::interface::Finished, "", 2, 2, "key");
    desktop_.reset();
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kRich);
    QTRY_COMPARE(seen().size(), 2);
    QCOMPARE(seen()[0].summary, QString("2 threats found")); // and not that one was, before
    QCOMPARE(seen()[1].summary, QString("Scheduled Full Scan finished"));
}

void AgentTest::serviceMayComeLaterAndRestart()
{
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kRich);
    startAgent();
    for (int start = 1; start <= 3; ++start) {
        engine_ = std::make_unique<FakeEngine>(session_->address());
        QTRY_COMPARE(engine_->statusAsked(), 1);
        engine_->tellThreat(kType, QString("/start/%1").arg(start), "Test", "left");
        QTRY_COMPARE(seen().size(), start);
        // What the service found before it went is no part of what it finds now.
        QCOMPARE(seen().last().summary, QString("Threat found"));
        engine_.reset();
    }
}

void AgentTest::systemBusIsHeardToo()
{
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), kRich);
    engine_ = std::make_unique<FakeEngine>(system_->address());
    listen();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
}

void AgentTest::onlyTheServiceIsHeard()
{
    play();
    const FakeEngine impostor(session_->address(), FakeEngine::Name::NotOwned);
    impostor.tellThreat(kType, "/a", "Impostor", "left");
    impostor.tellEnd("Impostor", talo::interface::Finished, "", 1, 0, "key");
    engine_->tellEnd("Service", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].summary, QString("Service finished"));
}

void AgentTest::malformedSignalsAreIgnored()
{
    play();
    engine_->tellWrongly("ThreatFound");
    engine_->tellWrongly("ScanEnded");
    engine_->tellWrongly("Unheard");
    engine_->tellEnd("Running", talo::interface::Scanning, "", 1, 0, "key"); // no end
    engine_->tellEnd("Unknown", 99, "", 1, 0, "key");
    engine_->tellEnd("Well", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE(seen().size(), 1);
    QCOMPARE(seen()[0].summary, QString("Well finished"));
}

void AgentTest::oldSignaturesAreTold_data()
{
    QTest::addColumn<QVariantMap>("status");
    QTest::addColumn<QString>("told");
    QTest::newRow("8 days") << signatures("updated", daysAgo(8))
                            << "The signatures are 8 days old. Update them to find current "
                               "malware.";
    QTest::newRow("7 days") << signatures("updated", daysAgo(7)) << "";
    QTest::newRow("fresh") << signatures("system", daysAgo(0)) << "";
    QTest::newRow("built-in") << signatures("built-in", daysAgo(0))
                              << "The built-in set knows little more than test files. Update the "
                                 "signatures to find current malware.";
    QTest::newRow("not said") << QVariantMap() << "";
}

void AgentTest::oldSignaturesAreTold()
{
    QFETCH(QVariantMap, status);
    QFETCH(QString, told);
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(status);
    play();
    engine_->tellEnd("Marker", talo::interface::Finished, "", 1, 0, "key");
    QTRY_VERIFY(!seen().isEmpty() && seen().last().summary == "Marker finished");
    QCOMPARE(seen().size(), told.isEmpty() ? 1 : 2);
    if (told.isEmpty())
        return;
    QCOMPARE(seen()[0].summary, QString("The virus signatures need an update"));
    QCOMPARE(seen()[0].body, told);
}

void AgentTest::signaturesAreToldOnceADay()
{
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(signatures("updated", daysAgo(30)));
    play();
    QTRY_COMPARE(seen().size(), 1);

    // Neither the service's return nor the next session is a reason to say it again …
    engine_.reset();
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(signatures("updated", daysAgo(30)));
    QTRY_COMPARE(engine_->statusAsked(), 1);
    stopAgent();
    listen();
    engine_->tellEnd("Marker", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE(seen().size(), 2);
    QCOMPARE(seen()[1].summary, QString("Marker finished"));

    // … but the next day is.
    stopAgent();
    QFile stamp(stampFile());
    QVERIFY(stamp.open(QIODevice::WriteOnly));
    stamp.write(QByteArray::number(daysAgo(1)));
    stamp.close();
    listen();
    QTRY_COMPARE(seen().size(), 3);
    QCOMPARE(seen()[2].summary, QString("The virus signatures need an update"));
}

// A notice that no desktop has shown by the end of the session has not been given.
void AgentTest::untoldSignaturesAreToldAgain()
{
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(signatures("updated", daysAgo(30)));
    listen();
    stopAgent();
    QVERIFY(!QFile::exists(stampFile()));
    play();
    QTRY_COMPARE(seen().size(), 1);
    QTRY_VERIFY(QFile::exists(stampFile()));
}

void AgentTest::secondAgentEnds()
{
    play();
    QProcess second;
    second.setProcessEnvironment(environment());
    second.start(talo::tests::builtProgram("talo-agent"), QStringList());
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE(seen().size(), 1);
}

void AgentTest::endsWithTheSession()
{
    play();
    session_.reset();
    QVERIFY(agent_->waitForFinished(10000));
    QCOMPARE(agent_->exitStatus(), QProcess::NormalExit);
    QCOMPARE(agent_->exitCode(), 0);
}

void AgentTest::needsASession()
{
    QProcessEnvironment none = environment();
    none.remove("DBUS_SESSION_BUS_ADDRESS");
    none.remove("XDG_RUNTIME_DIR");
    QProcess agent;
    agent.setProcessEnvironment(none);
    agent.start(talo::tests::builtProgram("talo-agent"), QStringList());
    QVERIFY(agent.waitForFinished());
    QCOMPARE(agent.exitCode(), 1);
    QVERIFY(agent.readAllStandardError().contains("no session bus"));
}

// It runs as long as the session does, so it must stay small.
void AgentTest::drawsNothing()
{
    play();
    QFile maps(QString("/proc/%1/maps").arg(agent_->processId()));
    QVERIFY(maps.open(QIODevice::ReadOnly));
    const QByteArray mapped = maps.readAll();
    QVERIFY(mapped.contains("libQt5DBus"));
    QVERIFY(!mapped.contains("libQt5Gui"));
    QVERIFY(!mapped.contains("libQt5Widgets"));
}

int main(int argc, char *argv[])
{
    talo::test::Programs programs({"taloantivirus"});
    QCoreApplication application(argc, argv);
    AgentTest test(programs);
    return QTest::qExec(&test, argc, argv);
}
#include "test_agent.moc"
