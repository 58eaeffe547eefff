#include "service/service.h"

#include "interface/busaddress.h"
#include "interface/busconnection.h"
#include "interface/names.h"
#include "scan/quarantine.h"
#include "scan/scratchfolder.h"
#include "schedule/clock.h"
#include "service/authority.h"
#include "service/busobject.h"
#include "service/callers.h"
#include "service/guardservice.h"
#include "service/housekeeper.h"
#include "service/log.h"
#include "service/passwordservice.h"
#include "service/paths.h"
#include "service/productupdateservice.h"
#include "service/scanservice.h"
#include "service/scheduleservice.h"
#include "service/settingsservice.h"
#include "service/signaturepools.h"
#include "service/updateservice.h"
#include "store/database.h"
#include "store/passwordstore.h"
#include "store/reportstore.h"
#include "update/signaturesets.h"

#include "exclusionsadaptor.h"
#include "firewalladaptor.h"
#include "noticesadaptor.h"
#include "passwordadaptor.h"
#include "productupdateadaptor.h"
#include "quarantineadaptor.h"
#include "reportsadaptor.h"
#include "scanadaptor.h"
#include "schedulesadaptor.h"
#include "settingsadaptor.h"
#include "statusadaptor.h"
#include "taloversion.h"
#include "updatesadaptor.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>

#include <chrono>
#include <ctime>

namespace talo::service
{

namespace
{

constexpr std::time_t kDay = std::time_t{24} * 60 * 60;
constexpr std::time_t kKeptInQuarantine = 30 * kDay;

QString connectionName()
{
    return QStringLiteral("talod");
}

QString text(const char *name)
{
    return QString::fromLatin1(name);
}

} // namespace

Service::Service(Options options) : options_(std::move(options)), bus_(connectionName())
{
    interface::registerTypes();
}

Service::~Service()
{
    stop();
}

void Service::stop()
{
    // No question comes in any more while the rooms close.
    QDBusConnection::disconnectFromBus(connectionName());
    object_.reset();
    passwords_.reset();
    if (updates_)
        updates_->shutDown();
    schedules_.reset();
    program_.reset();
    if (scans_)
        scans_->shutDown();
}

ExitCode Service::start()
{
    ExitCode code = openBus();
    if (code == Done)
        code = openStore();
    if (code == Done)
        code = publish();
    return code;
}

ExitCode Service::openBus()
{
    const QString address = interface::busAddress(options_.bus);
    if (address.isEmpty()) {
        log(Level::Error, "there is no session bus; start talod in a desktop session, or name a "
                          "bus with --bus");
        return CannotStart;
    }
    bus_ = interface::connectToBus(address, connectionName());
    if (!bus_.isConnected()) {
        log(Level::Error, "cannot reach the bus at " + address.toStdString() + ": " +
                              bus_.lastError().message().toStdString());
        return CannotStart;
    }
    if (bus_.interface()->isServiceRegistered(text(interface::kService)).value()) {
        log(Level::Error, "talod runs on this bus already");
        return RunsAlready;
    }
    bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                 SLOT(busLost()));
    return Done;
}

ExitCode Service::openStore()
{
    std::string failure;
    database_ = store::Database::open(options_.state, failure);
    if (!database_) {
        log(Level::Error, failure);
        return CannotStart;
    }
    if (!database_->notice().empty())
        log(Level::Warning, database_->notice());
    reports_ = std::make_unique<store::ReportStore>(*database_);
    reports_->onFailure([](const std::string &what) { log(Level::Error, what); });
    if (reports_->interrupted() != 0)
        log(Level::Warning, std::to_string(reports_->interrupted()) +
                                " scan(s) had been interrupted; their reports are closed");
    settings_ = std::make_unique<SettingsService>(*database_);
    quarantine_ = std::make_unique<scan::Quarantine>(quarantineFolder(options_.state));
    return Done;
}

void Service::openPasswords()
{
    passwordStore_ = std::make_unique<store::PasswordStore>(*database_);
    passwordStore_->onFailure([](const std::string &what) { log(Level::Error, what); });
    trusted_ = std::make_unique<Callers>(bus_);
    // A bus by its address is somebody's own, also if root runs the service there.
    const bool forAll = options_.bus == QLatin1String("system");
    authority_ = std::make_unique<Authority>(forAll ? Authority::Users::JudgedByPolkit
                                                    : Authority::Users::OnlyOurOwn,
                                             bus_, *passwordStore_, *trusted_);
    passwords_ =
        std::make_unique<PasswordService>(*passwordStore_, *trusted_, options_.configuration);
}

SignatureSet Service::signatures() const
{
    return chooseSignatures(options_.signatures, options_.state);
}

ExitCode Service::publish()
{
    openSignatures();
    housekeeper_ = std::make_unique<Housekeeper>();
    housekeeper_->run([this] {
        scan::ScratchFolder::sweep();
        quarantine_->recover();
    });
    scans_ =
        std::make_unique<ScanService>(ScanService::Rooms{*reports_,
                                                         *quarantine_,
                                                         *pools_,
                                                         *housekeeper_,
                                                         [this] { return settings_->forScan(); },
                                                         {options_.state, builtInSignatures()}});
    openPasswords();
    openUpdates();
    if (const ExitCode code = openSchedules(); code != Done)
        return code;
    openGuards();
    program_ = std::make_unique<ProductUpdateService>(ProductUpdateService::Surroundings{
        options_.state, options_.configuration, options_.releaseKey});
    listeners_ = std::make_unique<Callers>(bus_);
    object_ = std::make_unique<BusObject>(
        BusObject::Rooms{*authority_, *listeners_, *passwords_, *scans_, *reports_, *quarantine_,
                         *pools_, *housekeeper_, *settings_, *schedules_, *guards_, *program_,
                         *updates_, [this] { return signatures(); }});
    new StatusAdaptor(object_.get());
    new ScanAdaptor(object_.get());
    new SchedulesAdaptor(object_.get());
    new ReportsAdaptor(object_.get());
    new QuarantineAdaptor(object_.get());
    new SettingsAdaptor(object_.get());
    new ExclusionsAdaptor(object_.get());
    new PasswordAdaptor(object_.get());
    new NoticesAdaptor(object_.get());
    new UpdatesAdaptor(object_.get());
    new FirewallAdaptor(object_.get());
    new ProductUpdateAdaptor(object_.get());
    if (!bus_.registerObject(text(interface::kObject), object_.get())) {
        log(Level::Error, "cannot take a place on the bus");
        return CannotStart;
    }
    if (!bus_.registerService(text(interface::kService))) {
        log(Level::Error, "cannot own the name " + std::string(interface::kService) +
                              " on this bus: " + bus_.lastError().message().toStdString());
        return bus_.lastError().type() == QDBusError::AccessDenied ? CannotStart : RunsAlready;
    }
    connect(&daily_, &QTimer::timeout, this, &Service::keepHouse);
    daily_.start(std::chrono::hours(24));
    keepHouse();
    updates_->begin();
    schedules_->look();
    log(Level::Info, "version " TALO_VERSION " is ready");
    return Done;
}

void Service::keepHouse()
{
    housekeeper_->run([this] {
        quarantine_->expire(std::time(nullptr) - kKeptInQuarantine);
        const std::string failure = database_->keepCopy();
        if (!failure.empty())
            log(Level::Warning, failure);
    });
}

void Service::busLost()
{
    log(Level::Warning, "the bus has gone");
    QCoreApplication::quit();
}

} // namespace talo::service
