// Bytes of files and workers as the bus and the reports carry them.
#pragma once

#include "files/printable.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace talo::service
{

// A path may be far longer than any that a system call takes, and escapes make it four times that.
// A bus disconnects who sends it a message of some 30 MB, so what anybody can make long is
// shortened before many of it come together.
inline constexpr std::size_t kLongestShown = 4096;

inline std::string shown(std::string_view bytes)
{
    return files::printable(bytes, kLongestShown);
}

} // namespace talo::service
