// The link of the chain of verdicts that remembers: clean before and unchanged since is clean.
#pragma once

#include "scan/cleanfiles.h"
#include "scan/verdictchain.h"

#include <sys/types.h>
#include <unordered_map>

namespace talo::scan
{

// One job's.
class CleanLink final : public VerdictLink
{
public:
    using Clock = std::time_t (*)(std::time_t *);
    CleanLink(CleanFiles &memory, ScanOptions options, Clock now = std::time)
        : memory_(memory), options_(options), now_(now)
    {
    }

    std::optional<Verdict> judge(const Candidate &file) override;
    void learn(const Candidate &file, const Verdict &verdict) override;

private:
    bool trusted(const Candidate &file);

    CleanFiles &memory_;
    const ScanOptions options_;
    const Clock now_;
    std::unordered_map<dev_t, bool> fileSystems_; // whether their times can be trusted
};

} // namespace talo::scan
