// An update of the program, from the question for a release to the installed package.
#pragma once

#include "update/productdownload.h"
#include "update/productinstall.h"
#include "update/productmanifest.h"
#include "update/releasekey.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace talo::update
{

enum class ProductState {
    Idle,
    Checking,
    Downloading,
    Verifying,
    Installing,
    // From here on nothing runs.
    Available, // there is a newer release, and no more than that was asked
    Latest,
    Installed,
    Stopped,
    Unreachable,
    Failed,
    NoSource,
};

struct ProductProgress {
    ProductState state = ProductState::Idle;
    std::uint64_t total = 0; // bytes of the package
    std::uint64_t received = 0;
    std::uint64_t speed = 0; // bytes a second
    std::string version;     // of the release
    std::string date;
    std::string notes;
    std::string problem; // in words, where it did not end well
};

struct ProductConfig {
    std::string folder; // private, below the state folder
    std::string installedVersion;
    std::optional<ReleaseKey> key;
    // The folder on the server, asked for at each run; empty and a reason where none is configured.
    std::function<std::string(std::string &reason)> source;
    Installer installer;
    DownloadLimits limits;
    std::function<void(const ProductProgress &)> ended; // on the run's thread; may be empty
};

// One run at a time, on a thread of its own. Any thread may call.
class ProductUpdate
{
public:
    explicit ProductUpdate(ProductConfig config);
    ~ProductUpdate(); // stops; an installation that has begun goes on by itself
    ProductUpdate(const ProductUpdate &) = delete;
    ProductUpdate &operator=(const ProductUpdate &) = delete;

    enum class Want { Check, Install };
    bool begin(Want want); // false while one runs
    bool stop();           // false where none runs, or it is too late
    // After a restart of the service this still tells of the installation that restarted it.
    ProductProgress progress() const;

private:
    void run(Want want);
    std::optional<Release> check();
    void install(const Release &release);
    std::optional<std::string> collect(const Release &release);
    void awaitInstallation();
    void enter(ProductState state);
    void end(ProductState state, const std::string &problem = std::string());
    void end(const FetchOutcome &outcome, const std::string &what);
    void adoptLastInstallation();

    const ProductConfig config_;
    std::string source_;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    ProductProgress progress_;
    std::thread thread_;
};

bool isOver(ProductState state); // or has never begun

} // namespace talo::update
