#include "service/firewallguard.h"

#include "files/printable.h"
#include "files/uniquefd.h"
#include "service/log.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <unistd.h>

namespace talo::service
{

namespace
{

using namespace std::chrono_literals;

// Changes come in bursts. Whoever takes our rules away again and again is met at a pace that
// leaves the machine to its work.
constexpr auto kSoon = 100ms;
constexpr auto kLater = 5s;
constexpr unsigned kMendsAtOnce = 10;
constexpr auto kQuiet = 60s;
// Where the kernel's messages cannot be had.
constexpr auto kPoll = 5s;

} // namespace

FirewallGuard::FirewallGuard(const std::string &stateFolder) : flag_(stateFolder + "/firewall-on")
{
    mending_.setSingleShot(true);
    connect(&mending_, &QTimer::timeout, this, &FirewallGuard::mend);
    quiet_.setSingleShot(true);
    connect(&quiet_, &QTimer::timeout, this, [this] { mended_ = 0; });
}

FirewallGuard::~FirewallGuard() = default;

void FirewallGuard::start(Wanted wanted)
{
    watchTables();
    const std::string failure = enforce(wanted);
    if (!failure.empty())
        log(Level::Error, failure);
}

std::string FirewallGuard::enforce(Wanted wanted)
{
    wanted_ = wanted;
    const auto before = firewall_.state();
    const bool stood = before.standing != guard::Firewall::Standing::Absent;
    std::string failure;
    if (wanted == Wanted::On)
        failure = firewall_.raise();
    else if (stood)
        failure = firewall_.lower();
    remember(wanted);
    if (!failure.empty())
        return files::printable(failure);
    if (stood != (wanted == Wanted::On))
        log(Level::Info, wanted == Wanted::On ? "the firewall is on" : "the firewall is off");
    if (wanted == Wanted::On)
        nameOthers();
    return {};
}

// Where it cannot be told, the firewall stands later after a restart, which the log says.
void FirewallGuard::remember(Wanted wanted) const
{
    bool done = false;
    if (wanted == Wanted::On)
        done = static_cast<bool>(files::UniqueFd(
            open(flag_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)));
    else
        done = unlink(flag_.c_str()) == 0 || errno == ENOENT;
    if (!done)
        log(Level::Warning, "cannot note in " + files::printable(flag_) +
                                " whether the firewall is on: " + files::systemError(errno).text);
}

void FirewallGuard::watchTables()
{
    auto watch = guard::TableWatch::open();
    if (!watch) {
        log(Level::Warning, "the kernel does not tell of changed rules (" + watch.error().text +
                                "); they are looked at every few seconds");
        auto *const poll = new QTimer(this);
        connect(poll, &QTimer::timeout, this, &FirewallGuard::mend);
        poll->start(kPoll);
        return;
    }
    tables_.emplace(std::move(*watch));
    tableNotifier_ = std::make_unique<QSocketNotifier>(tables_->fd(), QSocketNotifier::Read);
    connect(tableNotifier_.get(), &QSocketNotifier::activated, this, [this] {
        if (tables_->take() && wanted_ == Wanted::On && !mending_.isActive())
            mending_.start(mended_ < kMendsAtOnce ? kSoon : kLater);
    });
}

void FirewallGuard::mend()
{
    if (wanted_ == Wanted::Off)
        return;
    const auto now = firewall_.state();
    if (now.standing == guard::Firewall::Standing::Whole)
        return;
    ++mended_;
    quiet_.start(kQuiet);
    const std::string failure = firewall_.raise();
    const std::string what = now.standing == guard::Firewall::Standing::Absent
                                 ? "somebody has removed the firewall's rules"
                                 : "somebody has changed the firewall's rules";
    if (failure.empty())
        log(Level::Warning, what + "; they are in place again");
    else
        log(Level::Error, what + ", and " + files::printable(failure));
    // To try again is all that is left, and no message of the kernel would remind of it.
    if (!failure.empty())
        mending_.start(kLater);
}

void FirewallGuard::nameOthers()
{
    for (const std::string &name : firewall_.others())
        log(Level::Warning, "another firewall is at work, " + name +
                                "; what it drops stays dropped, whatever this one lets in");
}

} // namespace talo::service
