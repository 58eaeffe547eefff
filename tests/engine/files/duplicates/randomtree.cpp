#include "engine/files/duplicates/randomtree.h"

#include "engine/files/sandbox.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace talo::test
{

namespace
{

namespace fs = std::filesystem;

// Around the places where the search goes from one way of looking to the next.
std::size_t randomSize(Random &random)
{
    constexpr std::size_t kEdges[] = {1,     2,     4095,  4096,  4097, 8192,
                                      32767, 32768, 32769, 40000, 70000};
    if (below(random, 4) == 0)
        return below(random, 5) == 0 ? 0 : 1 + below(random, 100);
    return kEdges[below(random, std::size(kEdges))];
}

std::string randomContent(Random &random, std::size_t size)
{
    // Few patterns: many files are alike by chance.
    std::string content(size, static_cast<char>('a' + below(random, 2)));
    return content;
}

std::string randomName(Random &random, std::size_t number)
{
    constexpr const char *kStems[] = {"file",        ".hidden", "two words",   "a\nline",
                                      "caf\xC3\xA9", "caf\xE9", "back\\slash", "-rf"};
    return kStems[below(random, std::size(kStems))] + std::to_string(number);
}

// A copy with one byte changed: at an end, or anywhere.
void changeOneByte(std::string &content, Random &random)
{
    if (content.empty())
        return;
    const std::size_t last = content.size() - 1;
    const std::size_t places[] = {0, last, content.size() / 2, below(random, content.size())};
    content[places[below(random, std::size(places))]] ^= 1;
}

void makeOther(const std::string &path, const std::vector<std::string> &files, Random &random)
{
    const std::string &file = files[below(random, files.size())];
    switch (below(random, 4)) {
    case 0:
        std::ignore = symlink(file.c_str(), path.c_str());
        break;
    case 1:
        std::ignore = link(file.c_str(), path.c_str());
        break;
    case 2:
        mkfifo(path.c_str(), 0600);
        break;
    default:
        writeFile(path, {});
        std::ignore = truncate(path.c_str(), 40000); // a hole
        break;
    }
}

} // namespace

void makeRandomTree(const std::string &folder, Random &random)
{
    std::vector<std::string> folders{folder};
    std::vector<std::string> files;
    std::vector<std::string> contents;
    const std::size_t count = 2 + below(random, 14);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string path =
            folders[below(random, folders.size())] + "/" + randomName(random, i);
        const std::uint64_t kind = below(random, 10);
        if (kind < 2) {
            fs::create_directory(path);
            folders.push_back(path);
        } else if (kind < 4 && !files.empty()) {
            makeOther(path, files, random);
        } else {
            std::string content;
            if (kind < 8 && !contents.empty())
                content = contents[below(random, contents.size())];
            else
                content = randomContent(random, randomSize(random));
            if (kind == 7)
                changeOneByte(content, random);
            writeFile(path, content);
            files.push_back(path);
            contents.push_back(content);
        }
    }
}

Contents contentsOf(const std::string &folder)
{
    std::map<std::pair<dev_t, ino_t>, std::string> files; // the first name of each
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        struct stat status = {};
        const std::string path = entry.path().string();
        if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
            continue;
        auto &name = files[{status.st_dev, status.st_ino}];
        if (name.empty() || path < name)
            name = path;
    }
    Contents contents;
    for (const auto &file : files)
        contents[readFile(file.second)].push_back(file.second);
    return contents;
}

std::set<std::set<std::string>> duplicatesAmong(const Contents &contents)
{
    std::set<std::set<std::string>> groups;
    for (const auto &content : contents) {
        if (content.second.size() > 1)
            groups.emplace(content.second.begin(), content.second.end());
    }
    return groups;
}

} // namespace talo::test
