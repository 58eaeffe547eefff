#include "update/productupdate.h"

#include "update/packagefolder.h"
#include "update/productaddress.h"
#include "update/productversion.h"

#include <cerrno>
#include <unistd.h>

namespace talo::update
{

namespace
{

constexpr std::chrono::milliseconds kBetweenLooks{100};

std::string manifestName()
{
    return std::string("release-") + thisArchitecture() + ".json";
}

} // namespace

bool isOver(ProductState state)
{
    return state == ProductState::Idle || state >= ProductState::Available;
}

ProductUpdate::ProductUpdate(ProductConfig config) : config_(std::move(config))
{
    adoptLastInstallation();
}

ProductUpdate::~ProductUpdate()
{
    stop_ = true;
    if (thread_.joinable())
        thread_.join();
}

// The package restarts the service in the middle of its installation, so that it may be the next
// service that sees its end.
void ProductUpdate::adoptLastInstallation()
{
    const auto last = lastInstallation(config_.folder);
    if (!last)
        return;
    progress_.version = last->version;
    progress_.problem = last->problem;
    switch (last->state) {
    case Installation::State::Installed:
        progress_.state = ProductState::Installed;
        break;
    case Installation::State::Failed:
        progress_.state = ProductState::Failed;
        break;
    case Installation::State::Running:
        progress_.state = ProductState::Installing;
        thread_ = std::thread([this] { awaitInstallation(); });
        break;
    }
}

bool ProductUpdate::begin(Want want)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!isOver(progress_.state))
        return false;
    if (thread_.joinable())
        thread_.join(); // it has nothing left to do but to end
    stop_ = false;
    progress_ = {};
    progress_.state = ProductState::Checking;
    thread_ = std::thread([this, want] { run(want); });
    return true;
}

bool ProductUpdate::stop()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isOver(progress_.state) || progress_.state == ProductState::Installing)
        return false;
    stop_ = true;
    return true;
}

ProductProgress ProductUpdate::progress() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return progress_;
}

void ProductUpdate::enter(ProductState state)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    progress_.state = state;
}

void ProductUpdate::end(ProductState state, const std::string &problem)
{
    ProductProgress last;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        last = progress_;
        last.state = state;
        last.speed = 0;
        last.problem = problem;
    }
    // Told of before anybody can see that the run is over, and begin another.
    if (config_.ended)
        config_.ended(last);
    const std::lock_guard<std::mutex> lock(mutex_);
    progress_ = last;
}

void ProductUpdate::end(const FetchOutcome &outcome, const std::string &what)
{
    switch (outcome.result) {
    case FetchOutcome::Result::Stopped:
        end(ProductState::Stopped);
        break;
    case FetchOutcome::Result::Unreachable:
        end(ProductState::Unreachable, what + ": " + outcome.reason);
        break;
    case FetchOutcome::Result::Failed:
    case FetchOutcome::Result::Done:
        end(ProductState::Failed, what + ": " + outcome.reason);
        break;
    }
}

void ProductUpdate::run(Want want)
{
    const auto release = check();
    if (!release)
        return;
    if (want == Want::Check)
        end(ProductState::Available);
    else
        install(*release);
}

// A release that is newer than what is installed; otherwise the run has ended.
std::optional<Release> ProductUpdate::check()
{
    std::string reason;
    source_ = config_.source(reason);
    if (source_.empty()) {
        end(ProductState::NoSource, reason);
        return std::nullopt;
    }
    if (!config_.key) {
        end(ProductState::Failed, "this build of the program has no key to check releases with");
        return std::nullopt;
    }
    const auto address = releaseAddress(source_, manifestName());
    if (!address) {
        end(ProductState::Failed, "the configured update source is no address of a folder");
        return std::nullopt;
    }
    const Downloader downloader(config_.limits, stop_);
    std::string manifest;
    std::string signature;
    FetchOutcome fetched = downloader.fetch(*address, kLargestManifest, manifest);
    if (fetched.result == FetchOutcome::Result::Done)
        fetched = downloader.fetch(*address + ".sig", kSignatureSize, signature);
    if (fetched.result != FetchOutcome::Result::Done) {
        end(fetched, "cannot ask for a release");
        return std::nullopt;
    }
    const auto release = readManifest(manifest, signature, *config_.key);
    if (!release) {
        end(ProductState::Failed, release.error().text);
        return std::nullopt;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        progress_.version = release->version;
        progress_.date = release->date;
        progress_.notes = release->notes;
        progress_.total = release->size;
    }
    // An older one is signed too, and would bring back the flaws that were mended since.
    if (compareVersions(release->version, config_.installedVersion).value_or(-1) <= 0) {
        end(ProductState::Latest);
        return std::nullopt;
    }
    return *release;
}

void ProductUpdate::install(const Release &release)
{
    const auto package = collect(release);
    if (!package)
        return;
    {
        // From here on stop() is too late.
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!stop_)
            progress_.state = ProductState::Installing;
    }
    if (stop_) {
        end(ProductState::Stopped);
        return;
    }
    const std::string problem =
        beginInstallation(config_.installer, config_.folder, release.version, *package);
    if (problem.empty())
        awaitInstallation();
    else
        end(ProductState::Failed, problem);
}

// The path of the package, complete and found right; otherwise the run has ended.
std::optional<std::string> ProductUpdate::collect(const Release &release)
{
    if (geteuid() != 0) {
        end(ProductState::Failed, "the service does not run as root, so it cannot install the "
                                  "newer release");
        return std::nullopt;
    }
    const auto address = releaseAddress(source_, release.package);
    if (!address) {
        end(ProductState::Failed, "the release's package has an address that is not allowed");
        return std::nullopt;
    }
    const auto folder = PackageFolder::open(config_.folder);
    if (!folder) {
        end(ProductState::Failed, folder.error().text);
        return std::nullopt;
    }
    auto partial = folder->resume(release);
    if (!partial) {
        end(ProductState::Failed, partial.error().text);
        return std::nullopt;
    }
    enter(ProductState::Downloading);
    Downloader::File file{partial->file.get(), release.size, partial->validator};
    const FetchOutcome fetched = Downloader(config_.limits, stop_)
                                     .download(*address, file, [this](auto received, auto speed) {
                                         const std::lock_guard<std::mutex> lock(mutex_);
                                         progress_.received = received;
                                         progress_.speed = speed;
                                     });
    folder->remember(release, file.validator);
    // A cut or stopped download is gone on with later; nothing is built on a wrong answer.
    if (fetched.result == FetchOutcome::Result::Failed)
        folder->clear();
    if (fetched.result != FetchOutcome::Result::Done) {
        end(fetched, "cannot download the release's package");
        return std::nullopt;
    }
    enter(ProductState::Verifying);
    const auto package = folder->seal(*partial, release, stop_);
    if (!package) {
        end(stop_ ? ProductState::Stopped : ProductState::Failed,
            stop_ ? "" : package.error().text);
        return std::nullopt;
    }
    return *package;
}

void ProductUpdate::awaitInstallation()
{
    for (;;) {
        const auto last = lastInstallation(config_.folder);
        if (!last) {
            end(ProductState::Failed, "nothing is known of what became of the installation");
            return;
        }
        if (last->state == Installation::State::Installed) {
            end(ProductState::Installed);
            return;
        }
        if (last->state == Installation::State::Failed) {
            end(ProductState::Failed, last->problem);
            return;
        }
        if (stop_)
            return; // the service ends; the next one goes on looking
        std::this_thread::sleep_for(kBetweenLooks);
    }
}

} // namespace talo::update
