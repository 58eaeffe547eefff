// Versions of the program: numbers with dots between them, such as "0.2.0".
#pragma once

#include <optional>
#include <string_view>

namespace talo::update
{

// Below, equal to or above zero, as `left` is older than, the same as or newer than `right`; a
// missing number counts as 0. Nothing where one of the two is not one to four numbers of at most
// six digits.
std::optional<int> compareVersions(std::string_view left, std::string_view right);

} // namespace talo::update
