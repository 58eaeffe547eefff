#include "engine/programs/agent/agentsession.h"

#include "engine/programs/support/programrun.h"
#include "support/soon.h"

#include <QtTest>

namespace talo::tests
{

void AgentSession::init()
{
    home_ = std::make_unique<QTemporaryDir>();
    session_ = std::make_unique<PrivateBus>();
    system_ = std::make_unique<PrivateBus>();
    QVERIFY(!session_->address().isEmpty());
}

void AgentSession::cleanup()
{
    stopAgent();
    engine_.reset();
    desktop_.reset();
    session_.reset();
    system_.reset();
}

QProcessEnvironment AgentSession::environment() const
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

void AgentSession::startAgent()
{
    agent_ = std::make_unique<QProcess>();
    agent_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    agent_->setProcessEnvironment(environment());
    agent_->start(builtProgram("talo-agent"), QStringList());
    QVERIFY(agent_->waitForStarted());
}

void AgentSession::stopAgent()
{
    if (!agent_)
        return;
    agent_->terminate();
    agent_->waitForFinished();
    agent_.reset();
}

void AgentSession::listen()
{
    if (!engine_)
        engine_ = std::make_unique<FakeEngine>(session_->address());
    const int before = engine_->statusAsked();
    startAgent();
    QTRY_VERIFY_WITH_TIMEOUT(engine_->statusAsked() > before, kSoon);
}

void AgentSession::play(const QStringList &capabilities)
{
    takeDesktop(capabilities);
    listen();
}

void AgentSession::takeDesktop(const QStringList &capabilities, uint firstId)
{
    desktop_ = std::make_unique<FakeDesktop>(session_->address(), capabilities, firstId);
}

} // namespace talo::tests
