#include "client/duplicatetexts.h"

#include "files/printable.h"

#include <QString>

#include <algorithm>

namespace talo::client
{

using files::Copy;
using files::DuplicateGroup;

namespace
{

// Whether it is the same after a way through the panel's widgets.
bool survivesAsText(const std::string &path)
{
    return QString::fromStdString(path).toStdString() == path;
}

} // namespace

std::string duplicateText(const std::string &path)
{
    return survivesAsText(path) ? path : files::printable(path);
}

bool DuplicateTexts::remember(const std::string &text, const Copy &copy, std::uint64_t size)
{
    Seen seen;
    seen.file = {copy.identity, size, copy.stamp};
    if (text != copy.path)
        seen.path = copy.path;
    return seen_.emplace(text, std::move(seen)).second;
}

std::vector<std::list<std::string>> DuplicateTexts::take(std::vector<DuplicateGroup> &groups)
{
    // Those that are texts come first: no escaped path may take the place of one.
    for (const DuplicateGroup &group : groups) {
        for (const Copy &copy : group.copies) {
            if (survivesAsText(copy.path))
                remember(copy.path, copy, group.size);
        }
    }
    std::vector<std::list<std::string>> lists;
    for (DuplicateGroup &group : groups) {
        std::list<std::string> texts;
        const auto leftOut = [&](const Copy &copy) {
            std::string text = duplicateText(copy.path);
            if (text != copy.path && !remember(text, copy, group.size))
                return true;
            texts.push_back(std::move(text));
            return false;
        };
        group.copies.erase(std::remove_if(group.copies.begin(), group.copies.end(), leftOut),
                           group.copies.end());
        lists.push_back(std::move(texts));
    }
    const auto alone = [](const std::list<std::string> &texts) { return texts.size() < 2; };
    lists.erase(std::remove_if(lists.begin(), lists.end(), alone), lists.end());
    groups.erase(
        std::remove_if(groups.begin(), groups.end(),
                       [](const DuplicateGroup &group) { return group.copies.size() < 2; }),
        groups.end());
    return lists;
}

files::GroupMember DuplicateTexts::member(const std::string &text, files::Wish wish) const
{
    const auto seen = seen_.find(text);
    if (seen == seen_.end())
        return {text, wish, std::nullopt};
    return {seen->second.path.empty() ? text : seen->second.path, wish, seen->second.file};
}

} // namespace talo::client
