// The paths of duplicates as texts, and what a search saw of the files behind them.
//
// A path that is UTF-8 is its own text. Another one is shown with its strange bytes escaped, as
// "/home/ada/caf\xE9": such a text means the file only to the process that searched.
#pragma once

#include "files/duplicates/deletion.h"
#include "files/duplicates/search.h"

#include <list>
#include <string>
#include <unordered_map>
#include <vector>

namespace talo::client
{

std::string duplicateText(const std::string &path);

class DuplicateTexts
{
public:
    // A list of texts for each group. A file whose text is already another one's is left out, and
    // so is a group that has one file left.
    std::vector<std::list<std::string>> take(std::vector<files::DuplicateGroup> &groups);

    // The file that a text stands for. One that no search has seen is its own path.
    files::GroupMember member(const std::string &text, files::Wish wish) const;

private:
    struct Seen {
        std::string path; // empty where it is the text
        files::SeenFile file;
    };
    bool remember(const std::string &text, const files::Copy &copy, std::uint64_t size);

    std::unordered_map<std::string, Seen> seen_;
};

} // namespace talo::client
