// Removing only the malicious part of a file: the infected members of a zip or tar archive, or the
// macros of an office document of the zip kind.
//
// Nothing of the file is looked at here: talo-disinfect does that, sandboxed. What it makes is
// believed only once the scanner has found it clean.
#pragma once

#include "files/result.h"
#include "scan/quarantine.h"
#include "scan/verdict.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace talo::scan
{

struct DisinfectionConfig {
    std::string program; // path of talo-disinfect; empty: nothing can be disinfected
    std::chrono::milliseconds time{120000}; // and a second for every 4 MiB of the file
};

class Disinfection
{
public:
    // Judges an open file; `isStopped` tells whether the wait for it is to be given up.
    using Judge = std::function<Verdict(int fd, std::uint64_t size)>;
    using IsStopped = std::function<bool()>;

    Disinfection(DisinfectionConfig config, Judge judge, IsStopped isStopped);

    bool isPossible() const { return !config_.program.empty(); }
    bool isStopped() const { return isStopped_(); }

    struct Done {
        Quarantine::Kept original;
        std::uint32_t removed = 0; // parts
    };
    // On an error the original stays as it is.
    files::Result<Done> run(const Quarantine::Catch &file, Quarantine &quarantine) const;

private:
    files::Result<std::uint32_t> clean(int original, std::uint64_t size, int result) const;

    const DisinfectionConfig config_;
    const Judge judge_;
    const IsStopped isStopped_;
};

} // namespace talo::scan
