// Walks a folder as a scan does, without scanning, with ever more exclusions of which none is met,
// and prints the median time for each file.
//   bench_exclusions FOLDER ROUNDS
#include "scan/exclusions.h"
#include "scan/walk.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace talo::scan;
using Clock = std::chrono::steady_clock;

namespace
{

double nanoseconds(Clock::time_point since)
{
    return std::chrono::duration<double, std::nano>(Clock::now() - since).count();
}

// Half of them folders beside those that are walked, half of them extensions.
ExclusionPatterns patterns(const std::string &folder, int count)
{
    ExclusionPatterns made;
    for (int entry = 0; entry < count / 2; ++entry) {
        made.locations.push_back(folder + "/home/somebody/project/other" + std::to_string(entry));
        made.extensions.push_back("x" + std::to_string(entry));
    }
    return made;
}

double perFile(const std::string &folder, const std::shared_ptr<const Exclusions> &excluded,
               Walk::Purpose purpose)
{
    const Clock::time_point begin = Clock::now();
    Walk walk({folder}, {}, purpose, excluded);
    std::size_t files = 0;
    for (;;) {
        const Walk::Found found = walk.next();
        if (found.kind == Walk::Kind::End)
            break;
        files += found.kind == Walk::Kind::File ? 1 : 0;
    }
    return nanoseconds(begin) / static_cast<double>(std::max<std::size_t>(files, 1));
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    const int rounds = argc == 3 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 0;
    if (rounds < 1) {
        std::fputs("usage: bench_exclusions FOLDER ROUNDS\n", stderr);
        return 2;
    }
    const std::string folder = argv[1];
    const int counts[] = {0, 10, 1000, 10000, 20000};
    std::puts("exclusions   made ready   counting a file   opening a file");
    // Each round takes every number in turn, so that a slow moment of the machine meets all.
    std::vector<double> ready[std::size(counts)];
    std::vector<double> counted[std::size(counts)];
    std::vector<double> opened[std::size(counts)];
    perFile(folder, std::make_shared<Exclusions>(), Walk::Purpose::Scan);
    for (int round = 0; round < rounds; ++round)
        for (std::size_t at = 0; at < std::size(counts); ++at) {
            const ExclusionPatterns made = patterns(folder, counts[at]);
            const Clock::time_point begin = Clock::now();
            const auto excluded = std::make_shared<Exclusions>(made);
            ready[at].push_back(nanoseconds(begin));
            counted[at].push_back(perFile(folder, excluded, Walk::Purpose::Count));
            opened[at].push_back(perFile(folder, excluded, Walk::Purpose::Scan));
        }
    for (std::size_t at = 0; at < std::size(counts); ++at)
        std::printf("%10d   %7.2f ms   %12.0f ns   %11.0f ns\n", counts[at],
                    median(ready[at]) / 1e6, median(counted[at]), median(opened[at]));
    return 0;
}
