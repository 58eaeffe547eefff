// talo update signatures: fetches new signatures, or tells how the last updates went.
#include "programs/talo/commands.h"

#include "client/bus.h"
#include "client/updaterun.h"
#include "interface/names.h"
#include "programs/console.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/talo/service.h"
#include "programs/textrows.h"
#include "programs/updatewords.h"
#include "programs/words.h"

#include <QDBusArgument>
#include <QDateTime>

#include <atomic>
#include <csignal>
#include <thread>

namespace talo::programs
{

namespace
{

constexpr int kCaptionColumns = 12;

QString moment(qlonglong when)
{
    return QDateTime::fromSecsSinceEpoch(when).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

int check()
{
    const auto answer = askService(interface::kUpdates, "UpdateState", {}, "a{sv}");
    if (!answer)
        return ScanFailed;
    const auto state = qdbus_cast<QVariantMap>(answer->at(0));
    const auto text = [&state](const char *key) {
        return printable(state.value(QLatin1String(key)).toString());
    };
    const auto time = [&state](const char *key) {
        return state.value(QLatin1String(key)).toLongLong();
    };
    Console console;
    const QString never = Programs::tr("never");
    const qlonglong attempted = time("signaturesAttempted");
    const qlonglong succeeded = time("signaturesSucceeded");
    const bool runs = state.value(QStringLiteral("signaturesRunning")).toBool();
    const qlonglong next = time("signaturesNext");
    TextRows rows{{Programs::tr("Running:"), runs ? Programs::tr("yes") : Programs::tr("no")},
                  {Programs::tr("Last try:"), attempted == 0 ? never : moment(attempted)}};
    if (!text("signaturesDetail").isEmpty())
        rows << TextRow{Programs::tr("Outcome:"), text("signaturesDetail")};
    rows << TextRow{Programs::tr("Up to date:"),
                    succeeded == 0 ? never : Programs::tr("as of %1").arg(moment(succeeded))}
         << TextRow{Programs::tr("Next:"),
                    next == 0 ? Programs::tr("when asked for; automatic updates are off")
                              : Programs::tr("at about %1").arg(moment(next))};
    if (!text("signaturesSource").isEmpty())
        rows << TextRow{Programs::tr("Source:"), text("signaturesSource")};
    for (const QString &line : aligned(rows, kCaptionColumns))
        console.line(line);
    return console.flush() ? 0 : ScanFailed;
}

// While it lives the signals end the run and not this program. To be made before anything starts a
// thread, which would take them in the usual way.
class StopOnSignal
{
public:
    StopOnSignal()
    {
        sigemptyset(&set_);
        for (const int signal : {SIGINT, SIGTERM, SIGUSR1})
            sigaddset(&set_, signal);
        pthread_sigmask(SIG_BLOCK, &set_, &before_);
        thread_ = std::thread([this] {
            int signal = 0;
            while (sigwait(&set_, &signal) == 0 && signal != SIGUSR1)
                client::stopUpdate(static_cast<int>(handle_.load()));
        });
    }
    ~StopOnSignal()
    {
        pthread_kill(thread_.native_handle(), SIGUSR1);
        thread_.join();
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    StopOnSignal(const StopOnSignal &) = delete;
    StopOnSignal &operator=(const StopOnSignal &) = delete;

    void ends(unsigned handle) { handle_ = handle; }

private:
    std::atomic<unsigned> handle_{0};
    sigset_t set_{};
    sigset_t before_{};
    std::thread thread_;
};

} // namespace

int updateSignatures(const Words &words)
{
    if (words == Words{"--check"})
        return check();
    if (!words.isEmpty())
        return usageError(Programs::tr("\"talo update signatures\" knows --check alone."));
    StopOnSignal stop;
    unsigned handle = 0;
    QDBusMessage error;
    if (client::prepareUpdate(handle, &error) != client::kPrepared) {
        Console().problem(printable(client::Bus::explain(error)));
        return ScanFailed;
    }
    stop.ends(handle);
    Console console;
    interface::UpdateProgress last;
    const auto show = [&](const interface::UpdateProgress &now) {
        last = now;
        if (!interface::isFinalUpdate(now.status))
            console.progress(updateLine(now));
    };
    if (!client::followUpdate(handle, show, &error)) {
        console.problem(printable(client::Bus::explain(error)));
        return ScanFailed;
    }
    if (!isGoodUpdate(last.status)) {
        console.problem(updateOutcome(last));
        return ScanFailed;
    }
    console.line(updateOutcome(last));
    return console.flush() ? 0 : ScanFailed;
}

} // namespace talo::programs
