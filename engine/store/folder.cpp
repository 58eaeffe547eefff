#include "store/folder.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::store
{

namespace
{

std::string systemReason()
{
    return std::strerror(errno);
}

bool makeFolders(const std::string &path)
{
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        if (mkdir(path.substr(0, slash).c_str(), S_IRWXU) != 0 && errno != EEXIST)
            return false;
    return mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST;
}

} // namespace

int openPrivateFolder(const std::string &path, std::string &failure)
{
    failure.clear();
    if (path.empty() || path.front() != '/') {
        failure = "the state folder must be an absolute path";
        return -1;
    }
    if (!makeFolders(path)) {
        failure = "cannot make the folder " + path + ": " + systemReason();
        return -1;
    }
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {
    };
    if (fd < 0 || fstat(fd, &status) != 0)
        failure = "cannot open the folder " + path + ": " + systemReason();
    else if (status.st_uid != geteuid())
        failure = "the folder " + path + " belongs to user " + std::to_string(status.st_uid) +
                  ", not to user " + std::to_string(geteuid()) + " who runs the service";
    else if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        failure = "the folder " + path +
                  " may be written by others; make sure of its content, then run: chmod 700 " +
                  path;
    else if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0 && fchmod(fd, S_IRWXU) != 0)
        failure = "cannot close the folder " + path + " to others: " + systemReason();
    if (failure.empty())
        return fd;
    if (fd >= 0)
        close(fd);
    return -1;
}

} // namespace talo::store
