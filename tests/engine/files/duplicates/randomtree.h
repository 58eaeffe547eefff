// Trees as nobody would make them by hand: made from a seed, with copies, near copies, links of
// both kinds, pipes, holes and strange names.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace talo::test
{

using Random = std::mt19937_64;

inline std::uint64_t below(Random &random, std::uint64_t end)
{
    return random() % end;
}

// Fills an empty folder. Some trees have files of more than one segment of a parallel read.
void makeRandomTree(const std::string &folder, Random &random);

// Every regular file of the folder that is not empty, found the plain way: content, and the paths
// that have it. Of the names of one file the first.
using Contents = std::map<std::string, std::vector<std::string>>;
Contents contentsOf(const std::string &folder);

// The groups among them: the sets of paths with one content.
std::set<std::set<std::string>> duplicatesAmong(const Contents &contents);

} // namespace talo::test
