// talo-agent as the desktop starts it, between a service and a desktop that the test plays.
#pragma once

#include "engine/programs/agent/fakedesktop.h"
#include "engine/programs/agent/fakeengine.h"
#include "engine/service/privatebus.h"

#include <QList>
#include <QObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace talo::tests
{

inline const QString kType = QStringLiteral("Scheduled Full Scan");
inline const QStringList kRich{"actions", "body", "body-markup"}; // what a desktop can do
inline const QStringList kPlain{"body"};

// Base of the test classes: buses and a home of each test's own, and what runs there.
class AgentSession : public QObject
{
    Q_OBJECT

protected slots:
    void init();
    void cleanup();

protected:
    QProcessEnvironment environment() const;
    void startAgent();
    void stopAgent();
    // Started again with a service, and listening: it has asked for the status.
    void listen();
    // As listen(), with a desktop.
    void play(const QStringList &capabilities = kRich);
    void takeDesktop(const QStringList &capabilities = kRich, uint firstId = 1);
    QList<Notification> seen() const { return desktop_->notifications(); }

    std::unique_ptr<QTemporaryDir> home_;
    std::unique_ptr<PrivateBus> session_;
    std::unique_ptr<PrivateBus> system_;
    std::unique_ptr<FakeDesktop> desktop_;
    std::unique_ptr<FakeEngine> engine_;
    std::unique_ptr<QProcess> agent_;
};

} // namespace talo::tests
