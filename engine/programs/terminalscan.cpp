#include "programs/terminalscan.h"

#include "programs/console.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/progressline.h"
#include "programs/signatures.h"
#include "programs/textrows.h"
#include "programs/words.h"

namespace talo::programs
{

namespace
{

constexpr int kCaptionColumns = 13;

QString title(const ScanRequest &request)
{
    if (request.kind != interface::CustomScan)
        return kindTitle(request.kind);
    return Programs::tr("%1 of %2")
        .arg(kindTitle(request.kind), printable(QString::fromUtf8(request.path)));
}

// With the scan's title and how long it took.
QString endSentence(uint state)
{
    switch (state) {
    case interface::Finished:
        return Programs::tr("%1 finished after %2.");
    case interface::Stopped:
        return Programs::tr("%1 stopped after %2.");
    default:
        return Programs::tr("%1 failed after %2.");
    }
}

} // namespace

TerminalScan::TerminalScan(QList<ScanRequest> requests, Console &console, QObject *parent)
    : QObject(parent)
    , requests_(std::move(requests))
    , console_(console)
    , status_(new StatusQuery(this))
{
    connect(status_, &StatusQuery::answered, this, &TerminalScan::showSummary);
}

void TerminalScan::start()
{
    if (requests_.isEmpty())
        emit done(worst_);
    else if (stopping_)
        emit done(ScanFailed);
    else
        startNext();
}

void TerminalScan::startNext()
{
    current_ = requests_.takeFirst();
    job_ = new client::ScanJob(this);
    connect(job_, &client::ScanJob::threatsFound, this, &TerminalScan::showThreats);
    connect(job_, &client::ScanJob::progressed, this, &TerminalScan::showProgress);
    connect(job_, &client::ScanJob::refused, this, &TerminalScan::showRefusal);
    connect(job_, &client::ScanJob::ended, this, &TerminalScan::noteEnd);
    connect(job_, &client::ScanJob::failed, this, &TerminalScan::showProblem);
    job_->start(current_.kind, current_.path);
}

void TerminalScan::stop()
{
    if (stopping_) {
        console_.problem(Programs::tr("Not waiting for the scan to stop."));
        emit done(ScanFailed);
        return;
    }
    stopping_ = true;
    if (job_ != nullptr)
        job_->stop();
}

void TerminalScan::showThreats(const QList<talo::interface::ThreatFound> &threats)
{
    for (const interface::ThreatFound &threat : threats)
        console_.line(QStringLiteral("THREAT  %1: %2 (%3), %4")
                          .arg(printable(threat.path), printable(threat.name),
                               printable(threat.threatClass), printable(threat.outcome)));
}

void TerminalScan::showProgress(const talo::interface::ScanProgress &progress)
{
    // The last column stays free: some terminals wrap when it is written.
    console_.progress(progressLine(progress, console_.width() - 1));
}

void TerminalScan::noteEnd(const talo::interface::ScanProgress &progress)
{
    end_ = progress;
    status_->ask();
}

void TerminalScan::showSummary(const QVariantMap &status)
{
    const SignatureWords words = describeSignatures(status, QDateTime::currentDateTimeUtc());
    console_.line(endSentence(end_.state).arg(title(current_), formatDuration(end_.elapsedMs)));
    TextRows rows{{Programs::tr("Scanned:"), formatFiles(filesScanned(end_))},
                  {Programs::tr("Data done:"), formatBytes(end_.bytesDone)},
                  {Programs::tr("Threats:"), formatCount(end_.threats)},
                  {Programs::tr("Not scanned:"), formatFiles(filesNotScanned(end_))},
                  {Programs::tr("Signatures:"), words.inUse}};
    if (!end_.report.isEmpty())
        rows << TextRow{Programs::tr("Report:"),
                        QStringLiteral("talo report show \"%1\"").arg(printable(end_.report))};
    for (const QString &line : aligned(rows, kCaptionColumns))
        console_.line(QLatin1String("  ") + line);
    if (!words.advice.isEmpty())
        console_.line(words.advice);
    const QString notScanned = notScannedSentence(end_);
    if (!notScanned.isEmpty())
        console_.line(notScanned);
    console_.line(verdictSentence(end_));
    next(exitCode(end_));
}

void TerminalScan::showProblem(const QString &problem)
{
    console_.problem(QStringLiteral("%1: %2").arg(title(current_), printable(problem)));
    next(ScanFailed);
}

void TerminalScan::showRefusal(const QString &problem)
{
    console_.problem(printable(problem));
}

void TerminalScan::next(ExitCode code)
{
    worst_ = qMax(worst_, static_cast<int>(code));
    job_->deleteLater();
    job_ = nullptr;
    // From the event loop, so that a row of scans that fail at once does not pile up calls.
    QMetaObject::invokeMethod(this, "start", Qt::QueuedConnection);
}

} // namespace talo::programs
