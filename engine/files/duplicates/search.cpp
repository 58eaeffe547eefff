#include "files/duplicates/search.h"

#include "files/duplicates/content.h"
#include "files/duplicates/tree.h"
#include "files/duplicates/treewalk.h"
#include "files/safeopen.h"

#include <algorithm>
#include <fcntl.h>
#include <mutex>
#include <thread>
#include <tuple>

namespace talo::files
{

namespace
{

// A file that another one has the size of.
struct Candidate {
    Digest digest;
    std::uint32_t file = 0; // in Tree::files
    bool lost = false;      // unreadable, or not what it was
};

// More than there are cores: those that wait for the drive keep it busy, which is what a search of
// files not yet in memory takes its time for.
unsigned readers()
{
    return std::clamp(std::thread::hardware_concurrency() * 16, 32u, 64u);
}

class Search
{
public:
    Search(UniqueFd root, std::string path, const PathProgress &progress)
        : tree_(std::move(root), std::move(path)), crew_(progress), threads_(readers())
    {
    }

    std::vector<DuplicateGroup> run();

private:
    void keepOneNameEach();
    void takeCandidates();
    void lookFirst();
    void lookThrough();
    void dropUnmatched();
    std::vector<DuplicateGroup> collect();

    const FileRecord &fileOf(const Candidate &candidate) const
    {
        return tree_.files[candidate.file];
    }
    bool equal(const Candidate &a, const Candidate &b) const
    {
        return fileOf(a).size == fileOf(b).size && a.digest == b.digest;
    }
    void inDiskOrder(std::vector<std::uint32_t> &candidates) const;
    void tell(const Candidate &candidate)
    {
        if (crew_.wantsPath())
            crew_.tell(tree_.absolute(tree_.relativePath(fileOf(candidate))));
    }

    Tree tree_;
    Crew crew_;
    unsigned threads_;
    std::vector<Candidate> candidates_;
};

std::vector<DuplicateGroup> Search::run()
{
    walkTree(tree_, crew_, threads_);
    keepOneNameEach();
    takeCandidates();
    lookFirst();
    dropUnmatched();
    lookThrough();
    dropUnmatched();
    return collect();
}

// Of the names of one file the first in the order of bytes stays, whatever order the walk met them
// in.
void Search::keepOneNameEach()
{
    const auto key = [this](const FileRecord &file) {
        return std::make_tuple(file.size, tree_.folderOf(file).device, file.inode);
    };
    auto &files = tree_.files;
    std::sort(files.begin(), files.end(), [&](const FileRecord &a, const FileRecord &b) {
        const auto keyA = key(a);
        const auto keyB = key(b);
        if (keyA != keyB)
            return keyA < keyB;
        return &a != &b && tree_.relativePath(a) < tree_.relativePath(b);
    });
    const auto end =
        std::unique(files.begin(), files.end(),
                    [&](const FileRecord &a, const FileRecord &b) { return key(a) == key(b); });
    files.erase(end, files.end());
}

// Files whose size no other one has need not be remembered any longer.
void Search::takeCandidates()
{
    auto &files = tree_.files;
    auto kept = files.begin();
    for (auto first = files.begin(); first != files.end();) {
        auto last = first;
        while (last != files.end() && last->size == first->size)
            ++last;
        kept = last - first > 1 ? std::move(first, last, kept) : kept;
        first = last;
    }
    files.erase(kept, files.end());
    files.shrink_to_fit();
    candidates_.resize(files.size());
    for (std::size_t i = 0; i < files.size(); ++i)
        candidates_[i].file = static_cast<std::uint32_t>(i);
}

// Most file systems give neighbouring numbers to what they put side by side.
void Search::inDiskOrder(std::vector<std::uint32_t> &candidates) const
{
    std::sort(candidates.begin(), candidates.end(), [this](std::uint32_t a, std::uint32_t b) {
        return fileOf(candidates_[a]).inode < fileOf(candidates_[b]).inode;
    });
}

void Search::lookFirst()
{
    std::vector<std::uint32_t> order(candidates_.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<std::uint32_t>(i);
    inDiskOrder(order);
    crew_.forEachWith(
        threads_, order.size(), [this] { return ContentReader(tree_); },
        [&](ContentReader &reader, std::size_t i) {
            Candidate &candidate = candidates_[order[i]];
            tell(candidate);
            const auto digest = reader.firstLook(fileOf(candidate));
            candidate.lost = !digest;
            candidate.digest = digest.value_or(Digest());
        });
}

// Whoever was looked at only in part is read as a whole, a segment at a time.
void Search::lookThrough()
{
    struct Task {
        std::uint32_t candidate;
        std::uint32_t segment;
    };
    std::vector<std::uint32_t> order;
    for (std::size_t i = 0; i < candidates_.size(); ++i) {
        if (fileOf(candidates_[i]).size > kReadAtOnce)
            order.push_back(static_cast<std::uint32_t>(i));
    }
    inDiskOrder(order);
    std::vector<Task> tasks;
    for (const std::uint32_t candidate : order) {
        const std::uint64_t segments = segmentsOf(fileOf(candidates_[candidate]).size);
        for (std::uint64_t i = 0; i < segments; ++i)
            tasks.push_back({candidate, static_cast<std::uint32_t>(i)});
    }
    std::vector<Digest> digests(tasks.size());
    std::vector<char> lost(tasks.size()); // a byte each: threads write side by side
    crew_.forEachWith(
        threads_, tasks.size(), [this] { return ContentReader(tree_); },
        [&](ContentReader &reader, std::size_t i) {
            const Candidate &candidate = candidates_[tasks[i].candidate];
            tell(candidate);
            const auto digest = reader.segment(fileOf(candidate), tasks[i].segment);
            lost[i] = !digest;
            digests[i] = digest.value_or(Digest());
        });
    for (std::size_t first = 0; first < tasks.size();) {
        Candidate &candidate = candidates_[tasks[first].candidate];
        const std::uint64_t segments = segmentsOf(fileOf(candidate).size);
        for (std::size_t i = first; i < first + segments; ++i)
            candidate.lost = candidate.lost || lost[i] != 0;
        candidate.digest = joined(&digests[first], segments);
        first += segments;
    }
}

// Puts equal ones side by side, and lets go of those that are alone.
void Search::dropUnmatched()
{
    auto &all = candidates_;
    all.erase(std::remove_if(all.begin(), all.end(), [](const Candidate &c) { return c.lost; }),
              all.end());
    std::sort(all.begin(), all.end(), [this](const Candidate &a, const Candidate &b) {
        const std::uint64_t sizeA = fileOf(a).size;
        const std::uint64_t sizeB = fileOf(b).size;
        return sizeA != sizeB ? sizeA < sizeB : a.digest < b.digest;
    });
    auto kept = all.begin();
    for (auto first = all.begin(); first != all.end();) {
        auto last = first;
        while (last != all.end() && equal(*last, *first))
            ++last;
        kept = last - first > 1 ? std::move(first, last, kept) : kept;
        first = last;
    }
    all.erase(kept, all.end());
}

std::vector<DuplicateGroup> Search::collect()
{
    std::vector<Copy> copies(candidates_.size());
    crew_.forEach(threads_, copies.size(), [&](std::size_t i) {
        const FileRecord &file = fileOf(candidates_[i]);
        const auto modified = modifiedIfUnchanged(tree_, file);
        candidates_[i].lost = !modified;
        if (modified)
            copies[i] = {tree_.absolute(tree_.relativePath(file)),
                         {tree_.folderOf(file).device, file.inode},
                         *modified,
                         file.stamp};
    });
    std::vector<DuplicateGroup> groups;
    for (std::size_t first = 0; first < candidates_.size();) {
        DuplicateGroup group;
        group.size = fileOf(candidates_[first]).size;
        std::size_t i = first;
        for (; i < candidates_.size() && equal(candidates_[i], candidates_[first]); ++i) {
            if (!candidates_[i].lost)
                group.copies.push_back(std::move(copies[i]));
        }
        first = i;
        if (group.copies.size() < 2)
            continue;
        std::sort(group.copies.begin(), group.copies.end(), [](const Copy &a, const Copy &b) {
            return std::tie(a.modified.tv_sec, a.modified.tv_nsec, a.path) <
                   std::tie(b.modified.tv_sec, b.modified.tv_nsec, b.path);
        });
        groups.push_back(std::move(group));
    }
    std::sort(groups.begin(), groups.end(), [](const DuplicateGroup &a, const DuplicateGroup &b) {
        if (a.bytesToFree() != b.bytesToFree())
            return a.bytesToFree() > b.bytesToFree();
        return a.copies.front().path < b.copies.front().path;
    });
    return groups;
}

} // namespace

Result<std::vector<DuplicateGroup>> findDuplicates(const std::string &folder,
                                                   const PathProgress &progress)
{
    auto path = canonicalPath(folder);
    if (!path)
        return path.error();
    auto root = openFolder(AT_FDCWD, *path);
    if (!root)
        return root.error();
    return Search(std::move(root->fd), std::move(*path), progress).run();
}

} // namespace talo::files
