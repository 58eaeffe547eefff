#include "confinement.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>
#include <unistd.h>

namespace talo::worker
{

std::string limitResources(const Limits &limits)
{
    // No limit on processor time: it would count over all files of a worker's life. The pool
    // watches the time of each file.
    const struct {
        __rlimit_resource resource;
        rlim_t most;
    } kLimits[] = {
        {RLIMIT_CORE, 0},
        {RLIMIT_NPROC, 0},
        {RLIMIT_NOFILE, 256},
        {RLIMIT_FSIZE, limits.fileSize},
        {RLIMIT_AS, limits.addressSpace},
    };
    for (const auto &limit : kLimits) {
        // One that was lower before cannot be raised, and confines as well.
        rlimit both{};
        if (getrlimit(limit.resource, &both) == 0)
            both.rlim_cur = both.rlim_max = std::min(both.rlim_max, limit.most);
        if (setrlimit(limit.resource, &both) != 0)
            return std::string("a resource limit cannot be set: ") + std::strerror(errno);
    }
    // A file that grows too large is an error of write() then, and the scan's outcome.
    std::signal(SIGXFSZ, SIG_IGN);
    return {};
}

std::uint64_t addressSpace(int memoryFigures)
{
    char line[64] = {};
    if (pread(memoryFigures, line, sizeof line - 1, 0) <= 0)
        return 0;
    const unsigned long long pages = std::strtoull(line, nullptr, 10);
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

} // namespace talo::worker
