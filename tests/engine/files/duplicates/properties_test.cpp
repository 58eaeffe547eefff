// What holds of every tree: the search finds what comparing all files with each other finds, and no
// deletion loses a content.
#include "engine/files/duplicates/randomtree.h"
#include "engine/files/sandbox.h"
#include "files/duplicates/deletion.h"
#include "files/duplicates/search.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

constexpr int kTrees = 1000;

// TALO_SEED repeats a failed run.
std::uint64_t seed()
{
    const char *given = std::getenv("TALO_SEED");
    return given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device()();
}

std::vector<DuplicateGroup> search(const std::string &folder)
{
    auto groups = findDuplicates(folder, {});
    EXPECT_TRUE(groups) << (groups ? "" : groups.error().text);
    return groups ? std::move(*groups) : std::vector<DuplicateGroup>();
}

std::set<std::set<std::string>> pathsOf(const std::vector<DuplicateGroup> &groups)
{
    std::set<std::set<std::string>> paths;
    for (const DuplicateGroup &group : groups) {
        std::set<std::string> of;
        for (const Copy &copy : group.copies)
            of.insert(copy.path);
        paths.insert(of);
    }
    return paths;
}

std::set<std::string> keysOf(const Contents &contents)
{
    std::set<std::string> keys;
    for (const auto &content : contents)
        keys.insert(content.first);
    return keys;
}

GroupMember member(const DuplicateGroup &group, const Copy &copy, Wish wish)
{
    return {copy.path, wish, SeenFile{copy.identity, group.size, copy.stamp}};
}

// What people and programs do to files between search and deletion.
enum class Meddling { Edit, SameSizeEdit, Truncate, Replace, Link, HardLink, Remove, Move };

void meddle(const std::string &path, const std::string &other, Random &random)
{
    const auto what = static_cast<Meddling>(below(random, 8));
    const std::string moved = path + ".moved";
    switch (what) {
    case Meddling::Edit:
        writeFile(path, readFile(path) + "+");
        break;
    case Meddling::SameSizeEdit: {
        std::string content = readFile(path);
        content[below(random, content.size())] ^= 3;
        writeFile(path, content);
        break;
    }
    case Meddling::Truncate:
        EXPECT_EQ(truncate(path.c_str(), 0), 0);
        break;
    case Meddling::Replace:
        unlink(path.c_str());
        writeFile(path, "quite another file " + std::to_string(random()));
        break;
    case Meddling::Link:
        EXPECT_EQ(rename(path.c_str(), moved.c_str()), 0);
        EXPECT_EQ(symlink(other.c_str(), path.c_str()), 0);
        break;
    case Meddling::HardLink:
        EXPECT_EQ(rename(path.c_str(), moved.c_str()), 0);
        EXPECT_EQ(link(other.c_str(), path.c_str()), 0);
        break;
    case Meddling::Remove:
        unlink(path.c_str());
        break;
    case Meddling::Move:
        EXPECT_EQ(rename(path.c_str(), moved.c_str()), 0);
        break;
    }
}

// Deletes some of each group, or all of it. The number of files deleted.
std::size_t deleteSome(const std::vector<DuplicateGroup> &groups,
                       const std::set<std::string> &meddled, Random &random)
{
    std::size_t deleted = 0;
    for (const DuplicateGroup &group : groups) {
        const bool all = below(random, 2) == 0;
        std::vector<GroupMember> members;
        for (const Copy &copy : group.copies)
            members.push_back(
                member(group, copy, all || below(random, 2) == 0 ? Wish::Delete : Wish::Keep));
        const auto fates = thinGroup(members, ProtectedPlaces({}));
        for (std::size_t i = 0; i < fates.size(); ++i) {
            if (fates[i].fate != Fate::Deleted)
                continue;
            ++deleted;
            EXPECT_EQ(members[i].wish, Wish::Delete);
            EXPECT_FALSE(exists(members[i].path));
            EXPECT_EQ(meddled.count(members[i].path), 0u) << members[i].path;
        }
    }
    return deleted;
}

int leftovers(const std::string &folder)
{
    int count = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder))
        count += entry.path().filename().string().rfind(".talo-capture", 0) == 0;
    return count;
}

class DuplicateProperties : public testing::Test
{
protected:
    // Calls `check` with many trees, each in a folder of its own.
    template <class Check> void forManyTrees(Check check)
    {
        const std::uint64_t first = seed();
        std::printf("TALO_SEED=%llu\n", static_cast<unsigned long long>(first));
        for (int i = 0; i < kTrees && !HasFailure(); ++i) {
            SCOPED_TRACE("tree " + std::to_string(i));
            Random random(first + static_cast<unsigned>(i));
            const std::string folder = folder_ / "tree";
            std::filesystem::create_directory(folder);
            makeRandomTree(folder, random);
            check(folder, random);
            std::filesystem::remove_all(folder);
        }
    }

    TempFolder folder_;
};

} // namespace

TEST_F(DuplicateProperties, theSearchFindsWhatComparingAllFilesFinds)
{
    std::size_t found = 0;
    forManyTrees([&](const std::string &folder, Random &) {
        const auto groups = search(folder);
        found += groups.size();
        ASSERT_EQ(pathsOf(groups), duplicatesAmong(contentsOf(folder)));
    });
    EXPECT_GT(found, 0u);
}

TEST_F(DuplicateProperties, noDeletionLosesAContent)
{
    std::size_t deleted = 0;
    forManyTrees([&](const std::string &folder, Random &random) {
        const auto groups = search(folder);
        const auto before = keysOf(contentsOf(folder));
        deleted += deleteSome(groups, {}, random);
        ASSERT_EQ(keysOf(contentsOf(folder)), before);
        ASSERT_EQ(leftovers(folder), 0);
    });
    EXPECT_GT(deleted, 0u);
}

TEST_F(DuplicateProperties, whatChangedAfterTheSearchIsNeverDeleted)
{
    std::size_t deleted = 0;
    std::size_t touched = 0;
    forManyTrees([&](const std::string &folder, Random &random) {
        const auto groups = search(folder);
        std::set<std::string> meddled;
        for (const DuplicateGroup &group : groups) {
            for (std::size_t i = 0; i < group.copies.size(); ++i) {
                const std::string &other = group.copies[i == 0 ? 1 : 0].path;
                if (below(random, 3) == 0 && meddled.count(other) == 0 &&
                    meddled.insert(group.copies[i].path).second)
                    meddle(group.copies[i].path, other, random);
            }
        }
        touched += meddled.size();
        const auto before = keysOf(contentsOf(folder));
        deleted += deleteSome(groups, meddled, random);
        ASSERT_EQ(keysOf(contentsOf(folder)), before);
        ASSERT_EQ(leftovers(folder), 0);
    });
    EXPECT_GT(deleted, 0u);
    EXPECT_GT(touched, 0u);
}

TEST_F(DuplicateProperties, everyTickedCopyGoesButOne)
{
    forManyTrees([&](const std::string &folder, Random &) {
        std::vector<DuplicateGroup> groups = search(folder);
        const auto thinned = [&](const DuplicateGroup &group) {
            std::vector<GroupMember> members;
            for (const Copy &copy : group.copies)
                members.push_back(member(group, copy, Wish::Delete));
            const auto fates = thinGroup(members, ProtectedPlaces({}));
            ASSERT_EQ(fates[0].fate, Fate::Kept);
            for (std::size_t i = 1; i < fates.size(); ++i)
                ASSERT_EQ(fates[i].fate, Fate::Deleted) << fates[i].reason.text;
        };
        // Of a file with many names one goes at a time.
        for (int round = 0; !groups.empty(); ++round) {
            ASSERT_LT(round, 20);
            for (const DuplicateGroup &group : groups)
                thinned(group);
            groups = search(folder);
        }
    });
}
