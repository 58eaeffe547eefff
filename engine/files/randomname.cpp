#include "files/randomname.h"

#include <cstdlib>
#include <sys/random.h>

namespace talo::files
{

std::string randomName(std::size_t digits)
{
    std::string name(digits, '\0');
    if (getrandom(name.data(), name.size(), 0) != static_cast<ssize_t>(name.size()))
        std::abort(); // never for so few bytes
    for (char &digit : name)
        digit = "0123456789abcdef"[static_cast<unsigned char>(digit) % 16];
    return name;
}

} // namespace talo::files
