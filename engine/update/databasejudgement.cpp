#include "update/databasejudgement.h"

#include "update/databasefile.h"
#include "update/plainfolder.h"

#include <algorithm>
#include <cstring>
#include <fstream>

namespace talo::update
{

namespace
{

std::string inside(const std::string &folder, const std::string &file)
{
    std::string path = folder;
    return path.append("/").append(file);
}

// A connection that breaks where the server told no length leaves half a line.
bool endsWithin(const std::string &path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file || file.tellg() <= 0)
        return true;
    file.seekg(-1, std::ios::end);
    return file.get() != '\n';
}

bool hasLines(const std::string &file)
{
    static const char *const kKinds[] = {".hdb", ".hdu", ".hsb", ".hsu", ".mdb", ".mdu", ".msb",
                                         ".msu", ".ndb", ".ndu", ".ldb", ".ldu", ".db",  ".cdb"};
    return std::any_of(std::begin(kKinds), std::end(kKinds), [&](const char *kind) {
        const std::size_t length = std::strlen(kind);
        return file.size() > length && file.compare(file.size() - length, length, kind) == 0;
    });
}

} // namespace

bool sameSet(const std::string &one, const std::string &other,
             const std::vector<std::string> &files)
{
    std::vector<std::string> others = plainFiles(other);
    others.erase(std::remove_if(others.begin(), others.end(),
                                [](const std::string &file) { return !isDatabase(file); }),
                 others.end());
    return files == others && std::all_of(files.begin(), files.end(), [&](const auto &file) {
               return sameContent(inside(one, file), inside(other, file));
           });
}

std::string faultOfFiles(const std::string &folder, const std::vector<std::string> &files,
                         const SignatureSource &source, const std::string &base)
{
    for (const std::string &file : files) {
        if (isOfficial(file) && officialVersion(inside(folder, file)) == 0)
            return file + " has no version";
        if (hasLines(file) && endsWithin(inside(folder, file)))
            return file + " is cut off";
    }
    if (base.empty())
        return std::string();
    for (const std::string &old : plainFiles(base)) {
        if (!isOfficial(old) || !comesFrom(source, old))
            continue;
        const auto now = std::find_if(files.begin(), files.end(), [&](const std::string &file) {
            return isOfficial(file) && nameOf(file) == nameOf(old);
        });
        if (now == files.end())
            return old + " is gone";
        if (officialVersion(inside(folder, *now)) < officialVersion(inside(base, old)))
            return *now + " is older than the one in use";
    }
    return std::string();
}

} // namespace talo::update
