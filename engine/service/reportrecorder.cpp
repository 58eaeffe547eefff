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

void JobRecord::close(store::Outcome outcome, const scan::Totals &totals, const std::string &report)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    outcome_ = outcome;
    totals_ = totals;
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

store::Outcome JobRecord::outcome() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return outcome_;
}

scan::Totals JobRecord::totals() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return totals_;
}

ReportRecorder::ReportRecorder(store::ReportStore &reports, const std::string &type,
                               const std::string &scanned, std::shared_ptr<JobRecord> record,
                               Hooks hooks)
    : reports_(reports)
    , record_(std::move(record))
    , hooks_(std::move(hooks))
    , id_(reports.begin({type, scanned, hooks_.signatures(), std::time(nullptr)}))
{
}

void ReportRecorder::threat(const scan::Threat &threat)
{
    reports_.addThreat(id_, {shown(threat.path), shown(threat.name), className(threat.threatClass),
                             shown(threat.outcome)});
    hooks_.whenThreat(threat);
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
    reports_.describeSignatures(id_, hooks_.signatures());
    const bool gone = hooks_.gone && hooks_.gone() && !record_->stopAsked();
    const store::Outcome how = gone ? store::Outcome::Interrupted : outcome(end, *record_);
    record_->close(how, totals,
                   reports_.finish(id_, how,
                                   {tally(totals.clean), tally(totals.threats),
                                    tally(totals.skipped), tally(totals.errors)},
                                   shown(failure)));
    hooks_.whenEnded();
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
