// The head of a signature database.
#include "target.h"

#include "update/databasefile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const talo::fuzz::MemoryFile file(talo::fuzz::textOf(data, size));
    (void)talo::update::officialVersion(file.path());
    const std::string name(talo::fuzz::textOf(data, std::min<std::size_t>(size, 255)));
    // Hidden files are no databases of anybody's.
    if (name.rfind('.', 0) != 0 && talo::update::isDatabase(name))
        talo::fuzz::require(!talo::update::nameOf(name).empty());
    return 0;
}
