// What a worker cannot do, whatever a hostile file makes of it.
#pragma once

#include <cstdint>
#include <string>

namespace talo::worker
{

struct Limits {
    std::uint64_t addressSpace = 0; // in all, bytes
    std::uint64_t fileSize = 0;
};

// To be used together; each says why it failed, or nothing. Not to be undone.
std::string limitResources(const Limits &limits);
std::string confineToFolder(int folder); // the file system; nothing where the kernel cannot
bool canConfineToFolder();               // whether the kernel can
std::string confineToNothing();          // the same, with no folder at all
std::string filterSystemCalls();

// This process's address space in bytes, from its open /proc/self/statm; 0 where it cannot be told.
std::uint64_t addressSpace(int memoryFigures);

} // namespace talo::worker
