// What callers see on the bus: checks who asks, hands the question to the room it concerns, and
// answers. Its methods are those of all interfaces.
#pragma once

#include "interface/types.h"
#include "service/authority.h"
#include "service/call.h"
#include "service/housekeeper.h"
#include "service/scanservice.h"
#include "service/signatureset.h"
#include "store/exclusion.h"
#include "store/settingsstore.h"
#include "update/productupdate.h"

#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace talo::scan
{
class Quarantine;
} // namespace talo::scan
namespace talo::store
{
class ReportStore;
}

namespace talo::service
{

class Callers;
class GuardService;
class PasswordService;
class ProductUpdateService;
class ScheduleService;
class SettingsService;
class UpdateService;

class BusObject : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    struct Rooms {
        Authority &authority;
        Callers &listeners; // to notices
        PasswordService &passwords;
        ScanService &scans;
        store::ReportStore &reports;
        scan::Quarantine &quarantine;
        SignaturePools &pools;
        Housekeeper &housekeeper;
        SettingsService &settings;
        ScheduleService &schedules;
        GuardService &guards;
        ProductUpdateService &program;
        UpdateService &updates;
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

    // Password
    bool Exists();
    bool Protection();
    void SetProtection(bool on);
    bool Validate(const QByteArray &password);
    int Create(const QByteArray &password, const QByteArray &confirmation);
    int Change(const QByteArray &current, const QByteArray &password,
               const QByteArray &confirmation);
    int Reset();

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

    // Firewall
    void Trigger(int state);

    // Exclusions
    int Add(const QByteArray &text, int kind);
    int Remove(const QByteArray &text, int kind);
    QStringList List(QStringList &extensions);

    // Schedules
    int Add(const QByteArray &name, int type, int frequency, int weekday, int hour, int minute);
    int Edit(const QByteArray &oldName, const QByteArray &name, int type, int frequency,
             int weekday, int hour, int minute);
    int Remove(const QByteArray &name);
    int Details(const QByteArray &name, int &type, int &weekday, int &hour, int &minute);
    interface::ScheduleList All();

    // ProductUpdate
    void CheckProgram();
    void UpdateProgram();
    bool StopProgramUpdate();
    QVariantMap ProgramUpdateProgress();
    // Updates
    QVariantMap UpdateState();
    uint PrepareSignatureUpdate();
    void StartSignatureUpdate(uint handle);
    void StopSignatureUpdate(uint handle);
    interface::UpdateProgress SignatureUpdateProgress(uint handle);

    // Notices
    void Listen();

private:
    using Work = std::function<void(const Call &)>;

    // For what only reads; answers with the reason itself where it is not permitted.
    bool permitted(Action action);
    // For the rest: has the work answer the call, on this thread, when the caller turns out to be
    // permitted, which may be after this method has returned. What the slot returns is not sent.
    void whenPermitted(Action action, Work work);
    Call call(uint user = 0);
    // Has the work answer the call, from the housekeeper's thread.
    void aside(const Call &call, std::function<QDBusMessage(const QDBusMessage &)> work);
    std::optional<store::Group> group(const QString &name); // sends an error where there is none
    void fail(const std::string &reason);                   // sends one if there is one
    void announceThreat(const QString &type, const QString &path, const QString &threat,
                        const QString &outcome);
    void announceEnd(const ScanService::Ending &ending);
    void tell(const char *notice, const QVariantList &arguments);
    void beginProgramUpdate(update::ProductUpdate::Want want);
    void control(uint job, bool (ScanService::*what)(uint));
    void controlUpdate(uint handle, bool (UpdateService::*what)(uint));

    Rooms rooms_;
};

} // namespace talo::service
