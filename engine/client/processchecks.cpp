#include "engine/processchecks.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "client/network.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusReply>

#include <string>

namespace
{

constexpr int kMostJobs = 4;
constexpr int kLimitReached = -2;
constexpr int kRuns = 0;
constexpr int kMayStart = 1;

unsigned kindOf(const std::string &program)
{
    if (program == "FullScan")
        return talo::interface::FullScan;
    if (program == "QuickScan")
        return talo::interface::QuickScan;
    if (program == "CustomScan")
        return talo::interface::CustomScan;
    return 0;
}

int checkScan(const char *program)
{
    using namespace talo;
    const QDBusReply<interface::RunningJobs> running =
        client::Bus::instance().call(interface::kScan, "Running");
    if (!running.isValid())
        return kMayStart;
    if (running.value().size() >= kMostJobs)
        return kLimitReached;
    const unsigned kind = program == nullptr ? 0 : kindOf(program);
    for (const interface::RunningJob &job : running.value())
        if (job.kind == kind)
            return kRuns;
    return kMayStart;
}

// Also when the service is not reached one may be started: the started program explains the fault.
int checkProgramUpdate()
{
    using namespace talo;
    const QDBusReply<QVariantMap> progress =
        client::Bus::instance().call(interface::kProductUpdate, "ProgramUpdateProgress");
    if (!progress.isValid())
        return kMayStart;
    const uint state = progress.value().value(QStringLiteral("state")).toUInt();
    return state > interface::ProgramIdle && state < interface::ProgramAvailable ? kRuns
                                                                                 : kMayStart;
}

int checkSignatureUpdate()
{
    using namespace talo;
    const QDBusReply<QVariantMap> state =
        client::Bus::instance().call(interface::kUpdates, "UpdateState");
    return state.isValid() && state.value().value(QStringLiteral("signaturesRunning")).toBool()
               ? kRuns
               : kMayStart;
}

} // namespace

int IsProcessRunning(char const *kind)
{
    return talo::client::guarded(kMayStart, [&] { return checkScan(kind); });
}

int IsProductUpdateRunning(char const *kind)
{
    const std::string asked = kind == nullptr ? "" : kind;
    if (asked == "TaloAntivirus_S")
        return talo::client::guarded(kMayStart, checkSignatureUpdate);
    if (asked == "TaloAntivirus_P")
        return talo::client::guarded(kMayStart, checkProgramUpdate);
    return kMayStart;
}

int IsInternetAvailable()
{
    return talo::client::guarded(-1, [] { return talo::client::hasDefaultRoute() ? 1 : -1; });
}
