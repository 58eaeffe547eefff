#include "client/updaterun.h"

#include "client/bus.h"
#include "client/buserrors.h"
#include "interface/names.h"

#include <QDBusReply>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

namespace talo::client
{

namespace
{

using namespace std::chrono_literals;

constexpr auto kPace = 100ms; // between two reports
// A machine that loads large signatures can be slow, and a silent service is not asked for a while.
constexpr auto kPatienceWithSilence = 60s;

std::atomic<UpdateCallback> callback{nullptr};

QDBusMessage ask(const char *method, const QVariantList &arguments = {})
{
    return Bus::instance().call(interface::kUpdates, method, arguments);
}

// For what an administrator may have to be asked for.
QDBusMessage request(const char *method, const QVariantList &arguments = {})
{
    return Bus::instance().callPatiently(interface::kUpdates, "UpdateState", method, arguments);
}

bool isReply(const QDBusMessage &message)
{
    return message.type() == QDBusMessage::ReplyMessage;
}

void keep(QDBusMessage *error, const QDBusMessage &answer)
{
    if (error != nullptr)
        *error = answer;
}

// What a service says need not make sense.
interface::UpdateProgress sane(interface::UpdateProgress progress)
{
    progress.total = std::max<qlonglong>(progress.total, 0);
    progress.remaining = std::clamp<qlonglong>(progress.remaining, 0, progress.total);
    progress.speed = std::max(progress.speed, 0);
    if (!std::isfinite(progress.percentage))
        progress.percentage = 0;
    progress.percentage = std::clamp(progress.percentage, 0.0, 100.0);
    return progress;
}

interface::UpdateProgress fault(interface::UpdateProgress last, const QDBusMessage &error)
{
    last.status = interface::UpdateFailed;
    last.speed = 0;
    last.detail = Bus::explain(error);
    return last;
}

} // namespace

void reportUpdatesTo(UpdateCallback function)
{
    callback = function;
}

int prepareUpdate(unsigned &handle, QDBusMessage *error)
{
    const QDBusMessage answer = request("PrepareSignatureUpdate");
    const QDBusReply<uint> prepared = answer;
    if (prepared.isValid()) {
        handle = prepared.value();
        return kPrepared;
    }
    keep(error, answer);
    if (answer.errorName() == QLatin1String(interface::kErrorRunning))
        return kRunsAlready;
    return answer.errorName() == QLatin1String(interface::kErrorNoSource) ? kNoSource : kRefused;
}

bool followUpdate(unsigned handle, const UpdateReport &report, QDBusMessage *error)
{
    const QDBusMessage started = request("StartSignatureUpdate", {handle});
    if (!isReply(started)) {
        keep(error, started);
        return false;
    }
    interface::UpdateProgress last;
    auto lastHeard = std::chrono::steady_clock::now();
    for (;;) {
        const QDBusMessage answer = ask("SignatureUpdateProgress", {handle});
        const QDBusReply<interface::UpdateProgress> progress = answer;
        const auto now = std::chrono::steady_clock::now();
        if (progress.isValid()) {
            lastHeard = now;
            last = sane(progress.value());
            report(last);
            if (interface::isFinalUpdate(last.status))
                return true;
        } else if (!isSilence(answer) || now - lastHeard > kPatienceWithSilence) {
            report(fault(last, answer));
            return true;
        }
        std::this_thread::sleep_until(now + kPace);
    }
}

int runUpdate(int handle)
{
    const auto report = [](const interface::UpdateProgress &now) {
        if (const UpdateCallback function = callback)
            function(now.total, now.remaining, static_cast<float>(now.percentage), now.speed,
                     static_cast<int>(now.status));
    };
    return followUpdate(static_cast<unsigned>(handle), report) ? kReported : kNotReported;
}

int stopUpdate(int handle)
{
    const auto number = static_cast<unsigned>(handle);
    return isReply(request("StopSignatureUpdate", {number})) ? 0 : 1;
}

} // namespace talo::client
