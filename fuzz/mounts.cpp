// /proc/self/mountinfo, in which paths and sources are whatever somebody mounted.
#include "target.h"

#include "guard/mounttable.h"
#include "scan/mounts.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const std::string_view text = fuzz::textOf(data, size);
    scan::Mounts scanned;
    scanned.parse(text);
    for (const guard::Mount &mount : guard::parseMounts(text))
        (void)scan::kindOfFileSystem(scanned.typeAt(mount.path));
    return 0;
}
