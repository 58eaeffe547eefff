#include "service/guardservice.h"

#include "files/printable.h"
#include "files/uniquefd.h"
#include "interface/names.h"
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

const char *inWords(guard::Firewall::Standing standing)
{
    switch (standing) {
    case guard::Firewall::Standing::Absent:
        return "off";
    case guard::Firewall::Standing::Whole:
        return "on";
    case guard::Firewall::Standing::Altered:
        return "altered";
    case guard::Firewall::Standing::Unknown:
        break;
    }
    return "unknown";
}

} // namespace

GuardService::GuardService(Scope scope, const std::string &stateFolder)
    : scope_(scope), flag_(stateFolder + "/firewall-on")
{
    mending_.setSingleShot(true);
    connect(&mending_, &QTimer::timeout, this, &GuardService::mend);
    quiet_.setSingleShot(true);
    connect(&quiet_, &QTimer::timeout, this, [this] { mended_ = 0; });
}

GuardService::~GuardService() = default;

void GuardService::start(const store::SettingValues &values)
{
    if (scope_ == Scope::Nothing)
        return;
    watchTables();
    changed(store::Group::Firewall, values);
    nameOthers();
}

void GuardService::changed(store::Group group, const store::SettingValues &values)
{
    if (scope_ == Scope::Nothing || group != store::Group::Firewall)
        return;
    const std::string failure =
        enforce(values[store::Setting::FirewallOn] == 1 ? Firewall::On : Firewall::Off);
    if (!failure.empty())
        log(Level::Error, failure);
}

GuardService::Refusal GuardService::trigger(Firewall wanted)
{
    if (scope_ == Scope::Nothing)
        return {interface::kErrorNotPermitted,
                QStringLiteral("this service does not guard the machine; only the one that root "
                               "runs for all users can switch the firewall")};
    const std::string failure = enforce(wanted);
    if (failure.empty())
        return {};
    log(Level::Error, failure);
    return {interface::kErrorFailed, QString::fromStdString(failure)};
}

std::string GuardService::enforce(Firewall wanted)
{
    wanted_ = wanted;
    const auto before = firewall_.state();
    const bool stood = before.standing != guard::Firewall::Standing::Absent;
    // Also where it is off already: what cannot be asked is not taken for granted.
    std::string failure = wanted == Firewall::On ? firewall_.raise() : firewall_.lower();
    remember(wanted);
    if (!failure.empty())
        return files::printable(failure);
    if (stood != (wanted == Firewall::On))
        log(Level::Info, wanted == Firewall::On ? "the firewall is on" : "the firewall is off");
    if (wanted == Firewall::On && !stood)
        nameOthers();
    return {};
}

// Where it cannot be told, the firewall stands later after a restart, which the log says.
void GuardService::remember(Firewall wanted) const
{
    bool done = false;
    if (wanted == Firewall::On)
        done = static_cast<bool>(files::UniqueFd(
            open(flag_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)));
    else
        done = unlink(flag_.c_str()) == 0 || errno == ENOENT;
    if (!done)
        log(Level::Warning, "cannot note in " + files::printable(flag_) +
                                " whether the firewall is on: " + files::systemError(errno).text);
}

void GuardService::watchTables()
{
    auto watch = guard::TableWatch::open();
    if (!watch) {
        log(Level::Warning, "the kernel does not tell of changed rules (" + watch.error().text +
                                "); they are looked at every few seconds");
        auto *const poll = new QTimer(this);
        connect(poll, &QTimer::timeout, this, &GuardService::mend);
        poll->start(kPoll);
        return;
    }
    tables_.emplace(std::move(*watch));
    tableNotifier_ = std::make_unique<QSocketNotifier>(tables_->fd(), QSocketNotifier::Read);
    connect(tableNotifier_.get(), &QSocketNotifier::activated, this, [this] {
        if (tables_->take() && wanted_ == Firewall::On && !mending_.isActive())
            mending_.start(mended_ < kMendsAtOnce ? kSoon : kLater);
    });
}

void GuardService::mend()
{
    if (wanted_ == Firewall::Off)
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

void GuardService::nameOthers()
{
    for (const std::string &name : firewall_.others())
        log(Level::Warning, "another firewall is at work, " + name +
                                "; what it drops stays dropped, whatever this one lets in");
}

QVariantMap GuardService::status()
{
    const auto text = [](const std::string &words) { return QString::fromStdString(words); };
    QVariantMap status;
    const bool here = scope_ == Scope::Machine;
    // Only root is told.
    const auto firewall = geteuid() == 0 ? firewall_.state() : guard::Firewall::State();
    status.insert(QStringLiteral("guardsMachine"), here);
    status.insert(QStringLiteral("firewall"), QString::fromLatin1(inWords(firewall.standing)));
    QStringList others;
    if (geteuid() == 0)
        for (const std::string &name : firewall_.others())
            others << text(name);
    status.insert(QStringLiteral("otherFirewalls"), others);
    return status;
}

} // namespace talo::service
