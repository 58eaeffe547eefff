// What every operation does at the library's edge.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace talo::client
{

// Runs an operation's body and answers `failure` where memory runs out: nothing may be thrown at a
// caller that was built by somebody else.
template <typename Result, typename Body> Result guarded(Result failure, Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

// Writes as much of a UTF-8 text as fits with its terminator, without cutting a character.
inline void copyText(char *buffer, std::size_t size, const std::string &text)
{
    if (buffer == nullptr || size == 0)
        return;
    std::size_t length = text.size() < size ? text.size() : size - 1;
    if (length < text.size())
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
            --length;
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

} // namespace talo::client
