#include "scan/quickroots.h"

#include "files/safeopen.h"
#include "scan/job.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <pwd.h>
#include <set>
#include <sstream>
#include <unistd.h>

namespace talo::scan
{

namespace
{

// Where every user's session, the system's services and its timed commands start from, and where
// anybody may write.
constexpr const char *kSystemPlaces[] = {
    "/etc/systemd/system",
    "/etc/systemd/user",
    "/usr/local/lib/systemd",
    "/usr/lib/systemd/system",
    "/usr/lib/systemd/user",
    "/run/systemd/system",
    "/etc/init.d",
    "/etc/rc.local",
    "/etc/crontab",
    "/etc/anacrontab",
    "/etc/cron.d",
    "/etc/cron.hourly",
    "/etc/cron.daily",
    "/etc/cron.weekly",
    "/etc/cron.monthly",
    "/var/spool/cron",
    "/etc/xdg/autostart",
    "/etc/X11/Xsession.d",
    "/etc/profile",
    "/etc/profile.d",
    "/etc/bash.bashrc",
    "/etc/bashrc",
    "/etc/zsh",
    "/etc/environment",
    "/etc/ld.so.preload",
    "/etc/udev/rules.d",
    "/tmp",
    "/var/tmp",
    "/dev/shm",
};

constexpr const char *kHomePlaces[] = {
    "/Downloads",
    "/Desktop",
    "/bin",
    "/.local/bin",
    "/.config/autostart",
    "/.config/systemd/user",
    "/.local/share/systemd/user",
    "/.config/plasma-workspace/env",
    "/.config/environment.d",
    "/.config/fish/config.fish",
    "/.profile",
    "/.bashrc",
    "/.bash_profile",
    "/.bash_login",
    "/.bash_logout",
    "/.zshrc",
    "/.zshenv",
    "/.zprofile",
    "/.zlogin",
    "/.xprofile",
    "/.xinitrc",
    "/.xsession",
    "/.xsessionrc",
};

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// A file in somebody's home may be of any kind and size; a list of folders is short.
std::string shortContentOf(const std::string &path)
{
    const auto file = files::openForReading(AT_FDCWD, path);
    if (!file || !S_ISREG(file->status.st_mode))
        return {};
    std::string text(16384, '\0');
    const ssize_t size = read(file->fd.get(), text.data(), text.size());
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
}

// Lines such as XDG_DESKTOP_DIR="$HOME/Schreibtisch".
std::string folderNamed(const std::string &text, std::string_view key, const std::string &home)
{
    std::istringstream lines(text);
    const std::string start = std::string(key) + "=\"$HOME/";
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.rfind('"');
        if (line.compare(0, start.size(), start) == 0 && end > start.size())
            return home + "/" + line.substr(start.size(), end - start.size());
    }
    return {};
}

class Roots
{
public:
    void add(const std::string &path)
    {
        // What is absent or out of this user's reach is no fault of a scan that nobody aimed there.
        if (faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0)
            paths_.insert(path);
    }

    // A link in a home may not lead the scan to what is not that user's.
    void addOwnedBy(uid_t owner, const std::string &path)
    {
        struct stat status = {};
        if (stat(path.c_str(), &status) == 0 && status.st_uid == owner)
            add(path);
    }

    std::vector<std::string> take() { return {paths_.begin(), paths_.end()}; }

private:
    std::set<std::string> paths_;
};

void addProcesses(Roots &roots)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> proc(opendir("/proc"), &closedir);
    while (const dirent *entry = proc ? readdir(proc.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (name.find_first_not_of("0123456789") != name.npos)
            continue;
        for (const std::string &path : programFilesIn(contentOf("/proc/" + name + "/maps")))
            roots.add(path);
    }
}

// From the file alone: asking a directory server could take long, and its users' homes here are
// found below /home.
void addHomes(Roots &roots)
{
    std::set<std::pair<uid_t, std::string>> homes;
    const std::unique_ptr<FILE, int (*)(FILE *)> users(std::fopen("/etc/passwd", "re"), &fclose);
    while (const passwd *user = users ? fgetpwent(users.get()) : nullptr)
        homes.emplace(user->pw_uid, user->pw_dir);
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir("/home"), &closedir);
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        const std::string path = std::string("/home/") + entry->d_name;
        struct stat status = {};
        if (entry->d_name[0] != '.' && stat(path.c_str(), &status) == 0)
            homes.emplace(status.st_uid, path);
    }
    for (const auto &[owner, home] : homes) {
        if (geteuid() != 0 && geteuid() != owner)
            continue;
        if (home.size() < 2 || home.front() != '/')
            continue;
        for (const std::string &path : placesInHome(home))
            roots.addOwnedBy(owner, path);
    }
}

} // namespace

std::vector<std::string> programFilesIn(std::string_view maps)
{
    std::set<std::string> paths;
    while (!maps.empty()) {
        const std::size_t end = std::min(maps.find('\n'), maps.size());
        const std::string_view line = maps.substr(0, end);
        maps.remove_prefix(std::min(end + 1, maps.size()));
        // Addresses, permissions such as "r-xp", offset, device, inode, path.
        const std::size_t rights = line.find(' ');
        const std::size_t path = line.find('/');
        constexpr std::string_view kGone = " (deleted)";
        if (rights == line.npos || path == line.npos || path < rights + 4 ||
            line[rights + 3] != 'x')
            continue;
        const std::string_view name = line.substr(path);
        if (name.size() > kGone.size() && name.substr(name.size() - kGone.size()) == kGone)
            continue;
        paths.emplace(name);
    }
    return {paths.begin(), paths.end()};
}

std::vector<std::string> placesInHome(const std::string &home)
{
    std::vector<std::string> places;
    for (const char *place : kHomePlaces)
        places.push_back(home + place);
    const std::string named = shortContentOf(home + "/.config/user-dirs.dirs");
    for (const char *key : {"XDG_DOWNLOAD_DIR", "XDG_DESKTOP_DIR"}) {
        std::string place = folderNamed(named, key, home);
        if (!place.empty())
            places.push_back(std::move(place));
    }
    return places;
}

std::vector<std::string> quickScanRoots()
{
    Roots roots;
    for (const char *place : kSystemPlaces)
        roots.add(place);
    addProcesses(roots);
    addHomes(roots);
    return roots.take();
}

} // namespace talo::scan
