// What callers see on the bus: checks who asks, hands the question to the room it concerns, and
// answers. Its methods are those of all interfaces.
#pragma once

#include "interface/types.h"
#include "service/authority.h"
#include "service/housekeeper.h"
#include "service/signatureset.h"
#include "store/exclusion.h"
#include "store/settingsstore.h"

#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

#include <functional>
#include <optional>

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
class SettingsService;

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
        SettingsService &settings;
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

    // Settings
    interface::SettingMap Get(const QString &group);
    void Apply(const QString &group, const interface::SettingMap &values);
    void ApplyDefault(const QString &group);
    void NotifyChange();
    QByteArray Export();
    int Import(const QByteArray &text);

    // Exclusions
    int Add(const QByteArray &text, int kind);
    int Remove(const QByteArray &text, int kind);
    QStringList List(QStringList &extensions);

private:
    bool permitted(Action action);
    // Each sends an error where it answers nothing.
    std::optional<store::Group> group(const QString &name);
    std::optional<store::Group> groupToChange(const QString &name);
    std::optional<store::ExclusionKind> exclusionKind(int kind);
    void answer(const store::SettingsStore::Outcome &outcome);
    void fail(const std::string &reason); // sends one if there is one
    void control(uint job, bool (ScanService::*what)(uint));
    // Answers later, from the housekeeper's thread.
    void answerLater(std::function<QDBusMessage(const QDBusMessage &)> work);

    Rooms rooms_;
    Authority authority_;
};

} // namespace talo::service
