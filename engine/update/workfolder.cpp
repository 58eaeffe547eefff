#include "update/workfolder.h"

#include "files/randomname.h"
#include "update/plainfolder.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace talo::update
{

namespace
{

constexpr char kPrefix[] = "talo-update-";
constexpr char kOwnUser[] = "talo-update"; // made by the installation, for downloads alone

bool lookUp(const std::string &name, Identity &identity)
{
    std::vector<char> buffer(65536);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr || found->pw_uid == 0)
        return false;
    identity = {found->pw_uid, found->pw_gid};
    return true;
}

} // namespace

std::optional<Identity> downloader(const std::string &wanted, std::string &failure)
{
    Identity identity{geteuid(), getegid()};
    if (identity.user != 0)
        return identity;
    std::vector<std::string> names{wanted};
    if (wanted.empty())
        names = {kOwnUser, "nobody"};
    for (const std::string &name : names)
        if (lookUp(name, identity))
            return identity;
    failure = "there is no unprivileged user \"" + names.back() + "\" to download as";
    return std::nullopt;
}

WorkFolder::WorkFolder(const std::string &place, const std::string &note, Identity owner)
    : note_(note)
{
    sweep(note);
    const std::string path = place + "/" + kPrefix + files::randomName(16);
    if (symlink(path.c_str(), note.c_str()) != 0) {
        failure_ = because(note + " cannot be made", errno);
        return;
    }
    // Exclusively: a folder that is there already is somebody else's.
    if (mkdir(path.c_str(), S_IRWXU) != 0) {
        failure_ = because("no folder can be made in " + place, errno);
        unlink(note.c_str());
        return;
    }
    path_ = path;
    if (geteuid() == 0 && lchown(path.c_str(), owner.user, owner.group) != 0)
        failure_ = because(path + " cannot be given to the user of downloads", errno);
}

WorkFolder::~WorkFolder()
{
    if (!path_.empty())
        sweep(note_);
}

void WorkFolder::sweep(const std::string &note)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink(note.c_str(), target.data(), target.size());
    if (length <= 0)
        return;
    const std::string path(target.data(), static_cast<std::size_t>(length));
    const std::size_t name = path.find_last_of('/') + 1;
    // The note lies where only the service can write; this holds even if it was tampered with.
    if (path.compare(name, sizeof kPrefix - 1, kPrefix) == 0)
        removeTree(path);
    unlink(note.c_str());
}

} // namespace talo::update
