// Takes a job's findings down in the store of reports.
#pragma once

#include "scan/job.h"
#include "store/reportstore.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace talo::service
{

// What a job and those who ask about it share.
class JobRecord
{
public:
    // Whether a stop was somebody's wish; otherwise the service went down.
    void askStop();
    bool stopAsked() const;

    void close(store::Outcome outcome, const scan::Totals &totals, const std::string &report);
    bool closed() const;
    std::string report() const; // its key, once it is stored
    store::Outcome outcome() const;
    scan::Totals totals() const;

private:
    mutable std::mutex mutex_;
    bool stopAsked_ = false;
    bool closed_ = false;
    store::Outcome outcome_ = store::Outcome::Failed;
    scan::Totals totals_;
    std::string report_;
};

class ReportRecorder : public scan::JobRecorder
{
public:
    struct Hooks {
        // Describes the set in use; asked again at the end, when it can tell more.
        std::function<std::string()> signatures;
        // Both are called on the job's thread, the second after the report is stored.
        std::function<void(const scan::Threat &)> whenThreat;
        std::function<void()> whenEnded;
        // Whether what was scanned has gone by now; none: it cannot.
        std::function<bool()> gone = {};
    };
    ReportRecorder(store::ReportStore &reports, const std::string &type, const std::string &scanned,
                   std::shared_ptr<JobRecord> record, Hooks hooks);

    void threat(const scan::Threat &threat) override;
    void passedOver(const scan::PassedOver &file) override;
    void ended(scan::JobEnd end, const scan::Totals &totals, const std::string &failure) override;

private:
    store::ReportStore &reports_;
    std::shared_ptr<JobRecord> record_;
    Hooks hooks_;
    store::ReportStore::Id id_;
};

// "infected", "suspected" or "hidden".
std::string className(scan::ThreatClass threatClass);

} // namespace talo::service
