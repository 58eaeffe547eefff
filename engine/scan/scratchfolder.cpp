#include "scratchfolder.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace talo::scan
{

namespace
{

namespace fs = std::filesystem;

constexpr const char *kPrefix = "talo-scan-";

fs::path place()
{
    std::error_code error;
    fs::path path = fs::temp_directory_path(error);
    return error ? fs::path("/tmp") : path;
}

files::UniqueFd openOwn(const fs::path &path)
{
    files::UniqueFd fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {
    };
    if (!fd || fstat(fd.get(), &status) != 0 || status.st_uid != geteuid() ||
        (status.st_mode & 077) != 0)
        fd.reset();
    return fd;
}

void removeTree(const fs::path &path)
{
    std::error_code error;
    fs::remove_all(path, error); // never through a link
}

// Whoever lives holds the lock.
void sweepBelow(const fs::path &folder)
{
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename().string().compare(0, 10, kPrefix) != 0)
            continue;
        const files::UniqueFd fd = openOwn(entry->path());
        if (fd && flock(fd.get(), LOCK_EX | LOCK_NB) == 0)
            removeTree(entry->path());
    }
}

} // namespace

ScratchFolder::ScratchFolder()
{
    const fs::path folder = place();
    sweepBelow(folder);
    std::string path = (folder / (std::string(kPrefix) + "XXXXXX")).string();
    if (!mkdtemp(path.data()))
        return;
    path_ = path;
    fd_ = openOwn(path_);
    // A sweep that runs at this very moment may have taken it for a leftover.
    if (fd_ && flock(fd_.get(), LOCK_EX | LOCK_NB) != 0)
        fd_.reset();
}

ScratchFolder::~ScratchFolder()
{
    if (!path_.empty())
        removeTree(path_);
}

void ScratchFolder::goIfUnused()
{
    if (rmdir(path_.c_str()) == 0)
        path_.clear();
}

void ScratchFolder::sweep()
{
    sweepBelow(place());
}

} // namespace talo::scan
