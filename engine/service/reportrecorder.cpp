#include "service/reportrecorder.h"

#include "service/shown.h"

#include <ctime>

namespace talo::service
{

namespace
{

store::Tally tally(const scan::Tally &value)
{
    return {value.files, value.bytes};
}

store::Outcome outcome(scan::JobEnd end, const JobRecord &record)
{
    switch (end) {
    case scan::JobEnd::Finished:
        return store::Outcome::Completed;
    case scan::JobEnd::Stopped:
        return record.stopAsked() ? store::Outcome::Stopped : store::Outcome::Interrupted;
    case scan::JobEnd::Failed:
        break;
    }
    return store::Outcome::Failed;
}

} // namespace

void JobRecord::askStop()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    stopAsked_ = true;
}

bool JobRecord::stopAsked() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return stopAsked_;
}

void JobRecord::close(const std::string &report)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    report_ = report;
}

bool JobRecord::closed() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return closed_;
}

std::string JobRecord::report() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return report_;
}

ReportRecorder::ReportRecorder(store::ReportStore &reports, const std::string &type,
                               const std::string &scanned, std::function<std::string()> signatures,
                               std::shared_ptr<JobRecord> record, std::function<void()> whenEnded)
    : reports_(reports)
    , signatures_(std::move(signatures))
    , record_(std::move(record))
    , whenEnded_(std::move(whenEnded))
    , id_(reports.begin({type, scanned, signatures_(), std::time(nullptr)}))
{
}

void ReportRecorder::threat(const scan::Threat &threat)
{
    reports_.addThreat(id_, {shown(threat.path), shown(threat.name), className(threat.threatClass),
                             shown(threat.outcome)});
}

void ReportRecorder::passedOver(const scan::PassedOver &file)
{
    reports_.addPassedOver(id_,
                           {file.kind == scan::VerdictKind::Skipped ? store::PassedKind::Skipped
                                                                    : store::PassedKind::Error,
                            shown(file.path), shown(file.reason)});
}

void ReportRecorder::ended(scan::JobEnd end, const scan::Totals &totals, const std::string &failure)
{
    reports_.describeSignatures(id_, signatures_());
    record_->close(reports_.finish(
        id_, outcome(end, *record_),
        {tally(totals.clean), tally(totals.threats), tally(totals.skipped), tally(totals.errors)},
        shown(failure)));
    whenEnded_();
}

std::string className(scan::ThreatClass threatClass)
{
    switch (threatClass) {
    case scan::ThreatClass::Infected:
        return "infected";
    case scan::ThreatClass::Suspected:
        return "suspected";
    case scan::ThreatClass::Hidden:
        break;
    }
    return "hidden";
}

} // namespace talo::service
