// The one place where the download may write: a private folder outside the service's own, which
// nobody but the service may enter.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace talo::update
{

struct Identity {
    uid_t user = 0;
    gid_t group = 0;
};

// Whom root has the download run as; this process's own identity where it is not root. Nothing,
// and why, when there is no such user or it is root.
std::optional<Identity> downloader(const std::string &wanted, std::string &failure);

class WorkFolder
{
public:
    // Makes a folder in `place` for that user. Where it is, is noted in the link `note` before, so
    // that sweep() finds it whatever happens. Check failure().
    WorkFolder(const std::string &place, const std::string &note, Identity owner);
    ~WorkFolder();
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;

    const std::string &path() const { return path_; }
    const std::string &failure() const { return failure_; }

    // Removes what a run that was killed has left.
    static void sweep(const std::string &note);

private:
    std::string note_;
    std::string path_;
    std::string failure_;
};

} // namespace talo::update
