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

    void close(const std::string &report);
    bool closed() const;
    std::string report() const; // its key, once it is stored

private:
    mutable std::mutex mutex_;
    bool stopAsked_ = false;
    bool closed_ = false;
    std::string report_;
};

class ReportRecorder : public scan::JobRecorder
{
public:
    // `signatures` describes the set in use, and is asked again at the end, when it can tell more.
    // `whenEnded` is called on the job's thread after the report is stored.
    ReportRecorder(store::ReportStore &reports, const std::string &type, const std::string &scanned,
                   std::function<std::string()> signatures, std::shared_ptr<JobRecord> record,
                   std::function<void()> whenEnded);

    void threat(const scan::Threat &threat) override;
    void passedOver(const scan::PassedOver &file) override;
    void ended(scan::JobEnd end, const scan::Totals &totals, const std::string &failure) override;

private:
    store::ReportStore &reports_;
    std::function<std::string()> signatures_;
    std::shared_ptr<JobRecord> record_;
    std::function<void()> whenEnded_;
    store::ReportStore::Id id_;
};

// "infected", "suspected" or "hidden".
std::string className(scan::ThreatClass threatClass);

} // namespace talo::service
