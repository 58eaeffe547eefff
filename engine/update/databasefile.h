// What can be told of a signature database from its name and its first bytes.
#pragma once

#include <cstdint>
#include <string>

namespace talo::update
{

// Whether a file of this name is a database that detects something.
bool isDatabase(const std::string &file);

// Whether it is one of those that ClamAV's own makers publish and sign.
bool isOfficial(const std::string &file);

// "daily" of "daily.cld": the same database comes as .cvd and, once changed by patches, as .cld.
std::string nameOf(const std::string &file);

// The version in an official database's header; 0 when the file has no such header.
std::uint64_t officialVersion(const std::string &path);

} // namespace talo::update
