// The whole service: owns every room, introduces them to each other, and stands on the bus.
#pragma once

#include "service/signatureset.h"
#include "update/releasekey.h"

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>
#include <string>

namespace talo::scan
{
class Quarantine;
} // namespace talo::scan
namespace talo::schedule
{
class Clock;
}
namespace talo::store
{
class Database;
class PasswordStore;
class ReportStore;
} // namespace talo::store
namespace talo::update
{
class SignatureSets;
}

namespace talo::service
{

class Authority;
class BusObject;
class Callers;
class GuardService;
class Housekeeper;
class PasswordService;
class ProductUpdateService;
class ScanService;
class ScheduleService;
class SettingsService;
class SignaturePools;
class UpdateService;

struct Options {
    QString bus; // "system", "session" or an address
    std::string state;
    std::string signatures; // empty: the best there is
    std::string worker;
    std::string configuration;
    std::string scheduleClock; // of a trial; empty: the system's
    std::string powerSupplies;
    bool guardsMachine = false;                   // enforces firewall and USB settings
    std::optional<update::ReleaseKey> releaseKey; // whose releases of the program are installed
};

// Exit codes of the program.
enum ExitCode { Done = 0, CannotStart = 1, WrongUse = 2, RunsAlready = 3 };

class Service : public QObject
{
    Q_OBJECT

public:
    explicit Service(Options options);
    ~Service() override;

    // Takes its place on the bus; on anything but Done the reason is in the log.
    ExitCode start();

    // Leaves the bus, stops every scan and returns once their reports are stored.
    void stop();

private slots:
    void busLost();

private:
    ExitCode openBus();
    ExitCode openStore();
    void openSignatures();
    void openUpdates();
    SignatureSet signatures() const;
    void openPasswords();
    ExitCode openSchedules();
    void openGuards();
    ExitCode publish();
    void keepHouse();

    Options options_;
    QDBusConnection bus_;
    std::unique_ptr<store::Database> database_;
    std::unique_ptr<store::ReportStore> reports_;
    std::unique_ptr<store::PasswordStore> passwordStore_;
    std::unique_ptr<scan::Quarantine> quarantine_;
    std::unique_ptr<update::SignatureSets> sets_;
    std::unique_ptr<SignaturePools> pools_;
    std::unique_ptr<Housekeeper> housekeeper_;
    std::unique_ptr<SettingsService> settings_;
    std::unique_ptr<ScanService> scans_;
    std::unique_ptr<GuardService> guards_;
    std::unique_ptr<schedule::Clock> clock_;
    std::unique_ptr<ScheduleService> schedules_;
    std::unique_ptr<Callers> trusted_;
    std::unique_ptr<Callers> listeners_;
    std::unique_ptr<Authority> authority_;
    std::unique_ptr<PasswordService> passwords_;
    std::unique_ptr<ProductUpdateService> program_;
    std::unique_ptr<UpdateService> updates_;
    std::unique_ptr<BusObject> object_;
    QTimer daily_;
};

} // namespace talo::service
