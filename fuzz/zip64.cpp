// The directory of a zip archive, searched for members in zip64 form.
#include "target.h"

#include "worker/zip64.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const talo::fuzz::MemoryFile file(talo::fuzz::textOf(data, size));
    (void)talo::worker::hasZip64Members(file.fd());
    return 0;
}
