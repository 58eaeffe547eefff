// The bus object's method for notices, and their way to those who listen. They go to each of them
// alone: a signal to all would reach the programs of every user, whoever may read the reports.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/callers.h"

#include <QDBusMessage>

namespace talo::service
{

namespace
{

interface::JobState stateOf(store::Outcome outcome)
{
    switch (outcome) {
    case store::Outcome::Completed:
        return interface::Finished;
    case store::Outcome::Stopped:
        return interface::Stopped;
    case store::Outcome::Interrupted:
        return interface::Interrupted;
    default:
        return interface::Failed;
    }
}

} // namespace

void BusObject::Listen()
{
    // Notices tell of what is in the reports.
    if (permitted(Action::ReadReports))
        rooms_.listeners.add(message().service());
}

void BusObject::tell(const char *notice, const QVariantList &arguments)
{
    for (const QString &listener : rooms_.listeners.all()) {
        QDBusMessage signal = QDBusMessage::createTargetedSignal(
            listener, QString::fromLatin1(interface::kObject),
            QString::fromLatin1(interface::kNotices), QString::fromLatin1(notice));
        signal.setArguments(arguments);
        rooms_.listeners.bus().send(signal);
    }
}

void BusObject::announceThreat(const QString &type, const QString &path, const QString &threat,
                               const QString &outcome)
{
    tell("ThreatFound", {type, path, threat, outcome});
}

void BusObject::announceEnd(const ScanService::Ending &ending)
{
    if (ending.origin != ScanService::Origin::User)
        tell("ScanEnded", {ending.type, uint{stateOf(ending.outcome)}, ending.scanned, ending.files,
                           ending.threats, ending.report});
}

} // namespace talo::service
