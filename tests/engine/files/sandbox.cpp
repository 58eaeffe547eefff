#include "engine/files/sandbox.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace talo::test
{

TempFolder::TempFolder()
{
    char name[] = "/tmp/talo-test-XXXXXX";
    if (!mkdtemp(name) || chmod(name, 0755) != 0)
        throw std::runtime_error("no temporary folder");
    path_ = name;
}

TempFolder::~TempFolder()
{
    // The library's own way opens one descriptor a level, too many for the deepest trees.
    if (std::system(("rm -rf -- " + path_).c_str()) != 0)
        std::fputs(("left behind: " + path_ + "\n").c_str(), stderr);
}

std::string inChild(const std::function<std::string()> &function)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = function();
        const ssize_t written = write(ends[1], text.data(), text.size());
        _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0; (size = read(ends[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(size));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        text += "killed by signal " + std::to_string(WTERMSIG(status));
    else if (WEXITSTATUS(status) != 0)
        text += "exit code " + std::to_string(WEXITSTATUS(status));
    return text;
}

std::string asNobody(const std::function<std::string()> &function)
{
    return inChild([&]() -> std::string {
        if (isRoot() && (setgroups(0, nullptr) != 0 || setresgid(kNobody, kNobody, kNobody) != 0 ||
                         setresuid(kNobody, kNobody, kNobody) != 0))
            return "cannot become an ordinary user";
        return function();
    });
}

std::string withOwnMounts(const std::function<std::string()> &function)
{
    return inChild([&]() -> std::string {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return "cannot have mounts of its own";
        return function();
    });
}

bool isRoot()
{
    return geteuid() == 0;
}

} // namespace talo::test
