// Asks the system's authority, polkit, about a caller.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>

namespace talo::service
{

enum class PolkitDialogue { Never, Allowed };

struct PolkitQuestion {
    QDBusConnection bus;
    QString caller; // a unique bus name: polkit asks the bus itself who that is
    QString action;
    PolkitDialogue dialogue = PolkitDialogue::Never;
};

struct PolkitAnswer {
    bool authorized = false;
    QString failure; // why there was no decision
};

// Calls back on the thread of `context`, and not any more once that is gone. What is not a clear
// yes is a no.
void askPolkit(const PolkitQuestion &question, QObject *context,
               std::function<void(const PolkitAnswer &)> answered);

} // namespace talo::service
