// Paths travel as the texts that client/duplicatetexts.h makes of them.
#include "engine/libduplicatefinder.h"

#include "client/boundary.h"
#include "client/duplicatetexts.h"
#include "files/duplicates/deletion.h"
#include "files/duplicates/groupkey.h"
#include "files/duplicates/search.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_set>

using namespace talo::client;
using talo::files::DuplicateGroup;
using talo::files::Fate;
using talo::files::GroupMember;
using talo::files::ProtectedPlaces;
using talo::files::Wish;

namespace
{

enum Code {
    kFound = 810,
    kNone = 801,
    kCannotBeRead = 804,
    kAllDeleted = 811,
    kListIsEmpty = 803,
    kSomeRemain = 802,
};

using Result = std::map<std::string, std::list<std::string>>;

std::atomic<void (*)(char *)> progressCallback{nullptr};

// What the latest search of this process saw, so that a deletion can tell whether a file is still
// that. Never destroyed: the process may end while a search is running.
struct LatestSearch {
    std::mutex mutex;
    std::shared_ptr<const DuplicateTexts> texts = std::make_shared<DuplicateTexts>();
};
LatestSearch &latestSearch()
{
    static auto *latest = new LatestSearch;
    return *latest;
}

void showProgress(const std::string &path)
{
    if (auto *callback = progressCallback.load()) {
        std::string text = duplicateText(path);
        callback(text.data());
    }
}

void set(long long *number, std::uint64_t value)
{
    if (number != nullptr)
        *number = static_cast<long long>(value);
}

int search(const std::string &folder, Result &result, long long *fileCount, long long *totalBytes)
{
    const bool shown = progressCallback.load() != nullptr;
    auto groups =
        talo::files::findDuplicates(folder, shown ? showProgress : talo::files::PathProgress());
    if (!groups)
        return kCannotBeRead;
    auto texts = std::make_shared<DuplicateTexts>();
    const auto lists = texts->take(*groups);
    std::uint64_t copies = 0;
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < groups->size(); ++i) {
        const DuplicateGroup &group = (*groups)[i];
        copies += group.copies.size() - 1;
        bytes += group.bytesToFree();
        result.emplace(talo::files::groupKey(i + 1, groups->size(), group), lists[i]);
    }
    {
        LatestSearch &latest = latestSearch();
        const std::lock_guard lock(latest.mutex);
        latest.texts = std::move(texts);
    }
    set(fileCount, copies);
    set(totalBytes, bytes);
    return groups->empty() ? kNone : kFound;
}

// Deletes what is listed of one group, and takes it off both lists. The number of files deleted.
int deleteOfGroup(std::list<std::string> &group, std::unordered_set<std::string> &listed,
                  const DuplicateTexts &texts, const ProtectedPlaces &places)
{
    std::vector<GroupMember> members;
    bool any = false;
    for (const std::string &text : group) {
        const bool wished = listed.count(text) != 0;
        any = any || wished;
        members.push_back(texts.member(text, wished ? Wish::Delete : Wish::Keep));
    }
    if (!any)
        return 0;
    int deleted = 0;
    const auto fates = talo::files::thinGroup(members, places);
    auto text = group.begin();
    for (std::size_t i = 0; i < fates.size(); ++i) {
        if (fates[i].fate != Fate::Refused)
            listed.erase(*text);
        deleted += fates[i].fate == Fate::Deleted;
        text = fates[i].fate == Fate::Deleted ? group.erase(text) : std::next(text);
    }
    return deleted;
}

int deleteFiles(const std::list<std::string> &files, Result &result, int &deleted)
{
    const ProtectedPlaces places({"/usr/local/taloantivirus", "/var/lib/taloantivirus"});
    std::shared_ptr<const DuplicateTexts> texts;
    {
        LatestSearch &latest = latestSearch();
        const std::lock_guard lock(latest.mutex);
        texts = latest.texts;
    }
    std::unordered_set<std::string> remaining(files.begin(), files.end());
    for (auto group = result.begin(); group != result.end();) {
        deleted += deleteOfGroup(group->second, remaining, *texts, places);
        group = group->second.size() < 2 ? result.erase(group) : std::next(group);
    }
    return remaining.empty() ? kAllDeleted : kSomeRemain;
}

} // namespace

void libDuplicateFinder::register_callback(void (*callback)(char *path))
{
    progressCallback = callback;
}

int libDuplicateFinder::DuplicateFinder(std::string folder, Result &result,
                                        [[maybe_unused]] int mode, long long *fileCount,
                                        long long *totalBytes)
{
    result.clear();
    set(fileCount, 0);
    set(totalBytes, 0);
    const int code = guarded(static_cast<int>(kCannotBeRead),
                             [&] { return search(folder, result, fileCount, totalBytes); });
    if (code != kFound)
        result.clear();
    return code;
}

int libDuplicateFinder::DeleteDuplicateFiles(std::list<std::string> files, Result &result,
                                             int *deletedCount)
{
    int deleted = 0;
    const int code = files.empty() ? static_cast<int>(kListIsEmpty)
                                   : guarded(static_cast<int>(kSomeRemain),
                                             [&] { return deleteFiles(files, result, deleted); });
    if (deletedCount != nullptr)
        *deletedCount = deleted;
    return code;
}
