#include "store/secret.h"

#include <sodium.h>

namespace talo::store
{

void wipe(void *memory, std::size_t size)
{
    if (size != 0)
        sodium_memzero(memory, size);
}

} // namespace talo::store
