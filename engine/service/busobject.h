// What callers see on the bus: checks who asks, hands the question to the room it concerns, and
// answers. Its slots are the methods of the four interfaces.
#pragma once

#include "interface/types.h"
#include "service/authority.h"
#include "service/housekeeper.h"
#include "service/signatureset.h"

#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

#include <functional>

namespace talo::scan
{
class Quarantine;
class WorkerPool;
} // namespace talo::scan
namespace talo::store
{
class ReportStore;
}

namespace talo::service
{

class ScanService;

class BusObject : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    struct Rooms {
        ScanService &scans;
        store::ReportStore &reports;
        scan::Quarantine &quarantine;
        scan::WorkerPool &pool;
        Housekeeper &housekeeper;
        std::function<SignatureSet()> signatures;
    };
    explicit BusObject(Rooms rooms);

    // Status
    QVariantMap GetStatus();

    // Scan
    uint Start(uint kind, const QByteArray &path);
    void Pause(uint job);
    void Resume(uint job);
    void Stop(uint job);
    interface::ScanProgress Progress(uint job, uint threatsFrom);
    interface::RunningJobs Running();

    // Reports
    int List(const QString &from, const QString &to, interface::ReportList &reports);
    int Read(const QString &key, QString &date, QString &time, QString &text, QString &type);
    int Delete(const QString &key);
    QString LastFullScan();

    // Quarantine
    interface::QuarantineList List();
    void Restore(const QString &id);
    void Purge(const QString &id);

private:
    bool permitted(Action action);
    void control(uint job, bool (ScanService::*what)(uint));
    // Answers later, from the housekeeper's thread.
    void answerLater(std::function<QDBusMessage(const QDBusMessage &)> work);

    Rooms rooms_;
    Authority authority_;
};

} // namespace talo::service
