#include "client/scanjob.h"

#include "client/asynccall.h"
#include "client/bus.h"
#include "client/buserrors.h"

#include <QDBusArgument>
#include <QDBusMessage>

namespace talo::client
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kWatchedInterval{100};
constexpr milliseconds kUnwatchedInterval{1000};

// A start that is given up may still have begun a scan that nobody looks after, so it is waited for
// longer than a poll.
constexpr milliseconds kStartPatience{25000};
constexpr milliseconds kPollPatience{5000};
constexpr int kMostUnanswered = 6;

constexpr char kProgressSignature[] = "(ustttttxuuuussa(ssss))";

bool isOver(uint state)
{
    return state >= interface::Finished;
}

QString alreadyRunning(interface::ScanKind kind)
{
    switch (kind) {
    case interface::FullScan:
        return ScanJob::tr("A full scan is already running. Wait until it has ended, or stop it, "
                           "and start this scan again.");
    case interface::QuickScan:
        return ScanJob::tr("A quick scan is already running. Wait until it has ended, or stop it, "
                           "and start this scan again.");
    case interface::CustomScan:
        break;
    }
    return ScanJob::tr("A custom scan is already running. Wait until it has ended, or stop it, "
                       "and start this scan again.");
}

QString otherVersion()
{
    return ScanJob::tr("The TALO Antivirus service answered in a form that this program does "
                       "not know: the two are of different versions. Restart talod, and start "
                       "the scan again.");
}

QString whyNotStarted(interface::ScanKind kind, const QDBusMessage &error)
{
    const QString name = error.errorName();
    if (name == QLatin1String(interface::kErrorRunning))
        return alreadyRunning(kind);
    if (name == QLatin1String(interface::kErrorLimit))
        return ScanJob::tr("As many scans as are allowed at a time are already running. Wait "
                           "until one of them has ended, or stop one, and start this scan "
                           "again.");
    if (name == QLatin1String(interface::kErrorNotFound))
        return ScanJob::tr("There is no such file or folder to scan, or the scan service may "
                           "not see it. Check the path and start the scan again.");
    return Bus::explain(error);
}

} // namespace

ScanJob::ScanJob(QObject *parent) : QObject(parent), bus_(QString())
{
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer); // a coarse one comes up to a twentieth too early
    connect(&timer_, &QTimer::timeout, this, &ScanJob::poll);
}

void ScanJob::start(interface::ScanKind kind, const QByteArray &path)
{
    kind_ = kind;
    active_ = true;
    bus_ = Bus::instance().connection();
    owner_ = QString::fromLatin1(interface::kService);
    call("Start", {static_cast<uint>(kind), path}, kStartPatience, &ScanJob::started);
}

void ScanJob::setPace(Pace pace)
{
    if (pace_ == pace)
        return;
    pace_ = pace;
    if (timer_.isActive())
        timer_.start(interval());
}

void ScanJob::pause()
{
    order("Pause");
}

void ScanJob::resume()
{
    order("Resume");
}

void ScanJob::stop()
{
    order("Stop");
}

void ScanJob::order(const char *method)
{
    if (!active_)
        return;
    if (job_ == 0)
        waitingOrder_ = method;
    else
        call(method, {job_}, kPollPatience, &ScanJob::orderAnswered);
}

void ScanJob::call(const char *method, const QVariantList &arguments, milliseconds patience,
                   Answered answered)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        owner_, QString::fromLatin1(interface::kObject), QString::fromLatin1(interface::kScan),
        QString::fromLatin1(method));
    message.setArguments(arguments);
    callAsync(bus_, message, patience, this, [this, answered](const QDBusMessage &answer) {
        if (active_)
            (this->*answered)(answer);
    });
}

void ScanJob::started(const QDBusMessage &answer)
{
    if (answer.type() != QDBusMessage::ReplyMessage) {
        end(whyNotStarted(kind_, answer));
        return;
    }
    if (answer.signature() != QLatin1String("u") || answer.arguments().at(0).toUInt() == 0) {
        end(otherVersion());
        return;
    }
    job_ = answer.arguments().at(0).toUInt();
    // From here on the very process that took the job is meant: another one that took over its
    // well-known name would answer for a job that it does not have.
    if (!answer.service().isEmpty())
        owner_ = answer.service();
    if (waitingOrder_ != nullptr)
        order(waitingOrder_);
    poll();
}

void ScanJob::orderAnswered(const QDBusMessage &answer)
{
    if (answer.type() == QDBusMessage::ErrorMessage &&
        answer.errorName() != QLatin1String(interface::kErrorNotFound))
        emit refused(Bus::explain(answer));
    // What the order changed is worth a look at once; a job that is gone is found that way too.
    if (active_ && !asking_)
        poll();
}

void ScanJob::poll()
{
    timer_.stop();
    asking_ = true;
    call("Progress", {job_, seen_}, kPollPatience, &ScanJob::progressAnswered);
}

void ScanJob::progressAnswered(const QDBusMessage &answer)
{
    asking_ = false;
    if (answer.type() != QDBusMessage::ReplyMessage) {
        lost(answer);
        return;
    }
    unanswered_ = 0;
    if (answer.signature() != QLatin1String(kProgressSignature)) {
        end(otherVersion());
        return;
    }
    take(qdbus_cast<interface::ScanProgress>(answer.arguments().at(0)));
}

void ScanJob::take(const interface::ScanProgress &progress)
{
    state_ = progress.state;
    seen_ += static_cast<uint>(progress.found.size());
    const bool more = !progress.found.isEmpty() && seen_ < progress.threats;
    if (!progress.found.isEmpty())
        emit threatsFound(progress.found);
    if (more) {
        // The rest of the list is there to be fetched; only what is new is paced.
        if (active_)
            poll();
        return;
    }
    if (isOver(progress.state)) {
        active_ = false;
        emit ended(progress);
        return;
    }
    emit progressed(progress);
    if (active_ && !asking_)
        timer_.start(interval());
}

void ScanJob::lost(const QDBusMessage &error)
{
    if (isSilence(error) && ++unanswered_ < kMostUnanswered) {
        timer_.start(interval());
        return;
    }
    if (isSilence(error))
        end(tr("The scan service does not answer any more. Its scan may still be going "
               "on; if no report of it appears, restart talod and start the scan "
               "again."));
    else if (is(error, QDBusError::ServiceUnknown) || is(error, QDBusError::Disconnected) ||
             error.errorName() == QLatin1String(interface::kErrorNotFound))
        end(tr("The scan service stopped before the scan was done. What was scanned "
               "until then may be in an interrupted report. Start the scan again; if "
               "this happens again, the system's log says why."));
    else
        end(Bus::explain(error));
}

void ScanJob::end(const QString &problem)
{
    active_ = false;
    timer_.stop();
    emit failed(problem);
}

milliseconds ScanJob::interval() const
{
    return pace_ == Pace::Unwatched || state_ == interface::Paused ? kUnwatchedInterval
                                                                   : kWatchedInterval;
}

} // namespace talo::client
