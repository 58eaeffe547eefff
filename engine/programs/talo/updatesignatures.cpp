// talo update signatures: fetches new signatures, or tells how the last updates went.
#include "programs/talo/commands.h"

#include "client/bus.h"
#include "client/updaterun.h"
#include "interface/names.h"
#include "programs/console.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/talo/service.h"
#include "programs/updatewords.h"

#include <QDBusArgument>
#include <QDateTime>

#include <atomic>
#include <csignal>
#include <thread>

namespace talo::programs
{

namespace
{

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
    const auto row = [&console](const char *caption, const QString &value) {
        console.line(QStringLiteral("%1 %2").arg(QLatin1String(caption), -12).arg(value));
    };
    const QString never = QStringLiteral("never");
    const qlonglong attempted = time("signaturesAttempted");
    const qlonglong succeeded = time("signaturesSucceeded");
    row("Running:", state.value(QStringLiteral("signaturesRunning")).toBool()
                        ? QStringLiteral("yes")
                        : QStringLiteral("no"));
    row("Last try:", attempted == 0 ? never : moment(attempted));
    if (!text("signaturesDetail").isEmpty())
        row("Outcome:", text("signaturesDetail"));
    row("Up to date:", succeeded == 0 ? never : QStringLiteral("as of ") + moment(succeeded));
    const qlonglong next = time("signaturesNext");
    row("Next:", next == 0 ? QStringLiteral("when asked for; automatic updates are off")
                           : QStringLiteral("at about ") + moment(next));
    if (!text("signaturesSource").isEmpty())
        row("Source:", text("signaturesSource"));
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
        return usageError("\"talo update signatures\" knows --check alone.");
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
