#include "engine/scan/longload.h"

#include <cstdio>
#include <fstream>
#include <sys/resource.h>

namespace talo::scan::test
{

LongLoad::LongLoad()
{
    std::ofstream set(folder_.write("set/many.hdb", ""), std::ios::binary);
    for (unsigned number = 0; number < 500000; ++number) {
        char line[64];
        std::snprintf(line, sizeof line, "%08x%024x:%u:Test-%u\n", number * 2654435761u, number,
                      1000 + number % 5000, number);
        set << line;
    }
    fs::copy(builtInSignatures() + "/talo.ldb", signatures());
}

PoolConfig LongLoad::pool() const
{
    PoolConfig pool = config(realWorker(), 1);
    pool.signatureFolder = signatures();
    return pool;
}

int LongLoad::ownPriority()
{
    return getpriority(PRIO_PROCESS, 0);
}

pid_t LongLoad::server()
{
    const auto processes = processesOf(realWorker());
    return processes.empty() ? -1 : processes.front();
}

bool LongLoad::yields()
{
    std::error_code gone;
    const fs::path threads = "/proc/" + std::to_string(server()) + "/task";
    for (const auto &thread : fs::directory_iterator(threads, gone))
        if (getpriority(PRIO_PROCESS, static_cast<id_t>(std::stoi(thread.path().filename()))) ==
            kLowest)
            return true;
    return false;
}

} // namespace talo::scan::test
