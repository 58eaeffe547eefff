// Addresses that releases may come from.
#pragma once

#include <optional>
#include <string>

namespace talo::update
{

// https://, or http:// to this very machine; a host and a path, and neither a user nor a query.
bool isReleaseAddress(const std::string &address);

// `name` beside `folder`: an address of its own, or a file's name in the folder. Nothing where the
// result would be no release address.
std::optional<std::string> releaseAddress(const std::string &folder, const std::string &name);

} // namespace talo::update
