#include "scan/trustedlinks.h"

#include "scan/mounts.h"

#include <array>
#include <climits>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::scan
{

namespace
{

constexpr int kMostLinks = 40; // as the kernel follows

bool ours(const struct stat &status)
{
    return status.st_uid == 0 || status.st_uid == geteuid();
}

// Nobody else can exchange what is ours in it: in a folder like /tmp others can only add.
bool keepsOurs(const struct stat &status)
{
    return ours(status) &&
           ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (status.st_mode & S_ISVTX) != 0);
}

std::string joined(const std::string &folder, std::string_view name)
{
    return std::string(folder).append(1, '/').append(name);
}

class Follower
{
public:
    Follower(std::string path, const Mounts &mounts) : rest_(std::move(path)), mounts_(mounts) {}

    std::string follow()
    {
        while (takeName()) {
            if (name_ == ".." ? leave() : enter())
                continue;
            done_ = joined(done_, name_);
            if (!rest_.empty())
                done_ = joined(done_, rest_);
            break;
        }
        return done_.empty() ? "/" : done_;
    }

private:
    bool takeName()
    {
        const std::size_t begin = rest_.find_first_not_of('/');
        if (begin == std::string::npos)
            return false;
        const std::size_t end = std::min(rest_.find('/', begin), rest_.size());
        name_ = rest_.substr(begin, end - begin);
        rest_.erase(0, std::min(end + 1, rest_.size()));
        return true;
    }

    bool leave()
    {
        done_.erase(std::min(done_.rfind('/'), done_.size()));
        return true;
    }

    // False: from here on the path stays as it is.
    bool enter()
    {
        std::string next = joined(done_, name_);
        struct stat status {
        };
        if (kindOfFileSystem(mounts_.typeAt(next)) == FileSystemKind::Network ||
            fstatat(AT_FDCWD, next.c_str(), &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0)
            return false;
        if (S_ISLNK(status.st_mode))
            return ours(status) && turn(next);
        if (!S_ISDIR(status.st_mode) || !keepsOurs(status))
            trusted_ = false;
        done_ = std::move(next);
        return true;
    }

    bool turn(const std::string &link)
    {
        std::array<char, PATH_MAX> target{};
        const ssize_t length = readlink(link.c_str(), target.data(), target.size());
        if (!trusted_ || ++links_ > kMostLinks || length <= 0 ||
            static_cast<std::size_t>(length) == target.size())
            return false;
        const std::string_view text(target.data(), static_cast<std::size_t>(length));
        if (text.front() == '/')
            done_.clear();
        rest_ = joined(std::string(text), rest_);
        return true;
    }

    std::string done_;
    std::string rest_;
    std::string name_;
    const Mounts &mounts_;
    bool trusted_ = true; // nobody else can exchange what is ours in any folder so far
    int links_ = 0;
};

} // namespace

std::string followTrustedLinks(const std::string &path, const Mounts &mounts)
{
    return Follower(path, mounts).follow();
}

} // namespace talo::scan
