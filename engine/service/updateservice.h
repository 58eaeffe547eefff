// Updates of the signatures: on request and by the settings, one at a time.
#pragma once

#include "interface/types.h"
#include "service/updateconfiguration.h"
#include "store/settingstable.h"
#include "store/updatestore.h"
#include "update/signaturesets.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace talo::update
{
class SignatureUpdate;
}

namespace talo::service
{

class SettingsService;
class SignaturePools;

// Lives on the service's main thread and is called there, but for fallBack().
class UpdateService : public QObject
{
    Q_OBJECT

public:
    struct Rooms {
        store::UpdateStore store;
        SettingsService &settings;
        SignaturePools &pools;
        update::SignatureSets &sets;
        std::string configuration;    // the administrator's file
        std::string chosenSignatures; // not empty: the service keeps to that folder
    };
    explicit UpdateService(Rooms rooms);
    ~UpdateService() override;

    // Begins the automatic updates, where they are wanted.
    void begin();

    enum class Refusal { None, AlreadyRunning, NoSource, Failed };
    struct Prepared {
        uint handle = 0;
        Refusal refusal = Refusal::None;
        QString reason;
    };
    Prepared prepare();
    // False: no such run, or one that cannot be started or stopped any more.
    bool start(uint handle);
    bool stop(uint handle);
    std::optional<interface::UpdateProgress> progress(uint handle) const;
    QVariantMap state();

    // Stops a run and waits for its end.
    void shutDown();

private:
    struct Run;
    enum class Asked { ByUser, ByClock };

    std::optional<UpdateSettings> source(std::string &reason) const;
    bool busy() const;
    void launch(Asked asked);
    void ended();
    void wait();
    void arm();
    void tick();

    Rooms rooms_;
    store::UpdateRecord record_;
    std::unique_ptr<Run> run_; // the last one
    std::thread thread_;
    QTimer clock_;
    uint lastHandle_;
    std::time_t next_ = 0; // the next automatic update; 0 for none
};

} // namespace talo::service
