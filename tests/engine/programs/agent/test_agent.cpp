// How talo-agent lives: with its session, and by one service alone.
#include "engine/programs/agent/agentsession.h"
#include "engine/programs/support/programrun.h"
#include "interface/names.h"
#include "support/soon.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

using namespace talo::tests;

class AgentTest : public AgentSession
{
    Q_OBJECT

private slots:
    void serviceMayComeLaterAndRestart();
    void systemBusIsHeardToo();
    void onlyTheServiceIsHeard();
    void malformedSignalsAreIgnored();
    void secondAgentEnds();
    void endsWithTheSession();
    void needsASession();
    void drawsNothing();
};

void AgentTest::serviceMayComeLaterAndRestart()
{
    takeDesktop();
    startAgent();
    for (int start = 1; start <= 3; ++start) {
        engine_ = std::make_unique<FakeEngine>(session_->address());
        QTRY_COMPARE_WITH_TIMEOUT(engine_->statusAsked(), 1, kSoon);
        engine_->tellThreat(kType, QString("/start/%1").arg(start), "Test", "left");
        QTRY_COMPARE_WITH_TIMEOUT(seen().size(), start, kSoon);
        // What the service found before it went is no part of what it finds now.
        QCOMPARE(seen().last().summary, QString("Threat found"));
        engine_.reset();
    }
}

void AgentTest::systemBusIsHeardToo()
{
    takeDesktop();
    engine_ = std::make_unique<FakeEngine>(system_->address());
    listen();
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
}

void AgentTest::onlyTheServiceIsHeard()
{
    play();
    const FakeEngine impostor(session_->address(), FakeEngine::Name::NotOwned);
    impostor.tellThreat(kType, "/a", "Impostor", "left");
    impostor.tellEnd("Impostor", talo::interface::Finished, "", 1, 0, "key");
    engine_->tellEnd("Service", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
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
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QCOMPARE(seen()[0].summary, QString("Well finished"));
}

void AgentTest::secondAgentEnds()
{
    play();
    QProcess second;
    second.setProcessEnvironment(environment());
    second.start(builtProgram("talo-agent"), QStringList());
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
    engine_->tellThreat(kType, "/a", "Test", "left");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
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
    agent.start(builtProgram("talo-agent"), QStringList());
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

QTEST_GUILESS_MAIN(AgentTest)
#include "test_agent.moc"
