// talo-install-update: runs the package tool for one package and writes down what became of it.
//
// usage: talo-install-update [--detach] FOLDER VERSION COMMAND... PACKAGE
//
// It is a program of its own because the package's scripts restart the service that starts it. The
// package that was installed last is kept, and put back where the next one fails.
#include "files/uniquefd.h"
#include "update/productinstall.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using talo::update::Installation;

constexpr std::size_t kKept = 4096; // of the end of what the package tool says

// Lets the starter go on; false in the starter, which has nothing more to do.
bool leaveStarter()
{
    const pid_t child = fork();
    if (child != 0)
        _exit(child > 0 ? 0 : 1);
    return setsid() >= 0;
}

void closeStandardStreams()
{
    const talo::files::UniqueFd nowhere(open("/dev/null", O_RDWR | O_CLOEXEC));
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (nowhere)
            dup2(nowhere.get(), descriptor);
}

std::string readAll(int pipe)
{
    std::string text;
    std::array<char, 4096> part{};
    for (;;) {
        const ssize_t count = read(pipe, part.data(), part.size());
        if (count == 0 || (count < 0 && errno != EINTR))
            return text;
        if (count > 0)
            text.append(part.data(), static_cast<std::size_t>(count));
        if (text.size() > 2 * kKept)
            text.erase(0, text.size() - kKept);
    }
}

// Empty where the tool succeeded, else what it said.
std::string runTool(char **command)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return "no pipe can be made";
    talo::files::UniqueFd reading(ends[0]);
    talo::files::UniqueFd writing(ends[1]);
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_adddup2(&streams, writing.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&streams, writing.get(), STDERR_FILENO);
    const std::array<const char *, 5> environment{
        "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8",
        "DEBIAN_FRONTEND=noninteractive", "HOME=/root", nullptr};
    pid_t child = 0;
    const int fault = posix_spawn(&child, command[0], &streams, nullptr, command,
                                  const_cast<char *const *>(environment.data()));
    posix_spawn_file_actions_destroy(&streams);
    if (fault != 0)
        return std::string("cannot start ") + command[0] + ": " + std::strerror(fault);
    writing.reset();
    std::string said = readAll(reading.get());
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return "the package tool cannot be waited for";
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return std::string();
    return said.empty() ? "the package tool failed and said nothing" : said;
}

// Scripts of packages are to find what a shell of root's has, not what a service set for itself.
void becomeOrdinary()
{
    umask(S_IWGRP | S_IWOTH);
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// The words of the tool's command with another package at their end.
std::string runToolWith(char **command, std::string package)
{
    char **last = command;
    while (last[1] != nullptr)
        ++last;
    char *const before = *last;
    *last = package.data();
    std::string said = runTool(command);
    *last = before;
    return said;
}

// What is to be told of a failure, after the version before has been put back where that can be.
std::string recover(char **command, const std::string &folder, const std::string &said)
{
    const std::string previous = talo::update::keptPackage(folder);
    std::string told = "the installation failed: " + said + '\n';
    if (access(previous.c_str(), R_OK) != 0)
        return told + "no package of the version before is kept to put it back; \"dpkg --audit\" "
                      "shows whether anything is left half done";
    const std::string again = runToolWith(command, previous);
    if (again.empty())
        return told + "the version before stays";
    return told + "the version before could not be put back either: " + again;
}

} // namespace

int main(int argc, char **argv)
{
    int next = 1;
    const bool detach = argc > 1 && std::strcmp(argv[1], "--detach") == 0;
    if (detach)
        ++next;
    if (argc - next < 4) {
        std::fputs("talo-install-update is started by talod\n", stderr);
        return 2;
    }
    const std::string folder = argv[next];
    const std::string version = argv[next + 1];
    const char *const package = argv[argc - 1];

    // Held before the starter goes on, which from then on sees that an installation runs.
    const auto lock = talo::update::holdInstallation(folder);
    if (!lock) {
        std::fprintf(stderr, "%s\n", lock.error().text.c_str());
        return 1;
    }
    if (detach && !leaveStarter())
        return 1;
    if (detach)
        closeStandardStreams();

    becomeOrdinary();
    char **const command = argv + next + 2;
    const std::string said = runTool(command);
    const std::string problem = said.empty() ? said : recover(command, folder, said);
    if (!said.empty() || rename(package, talo::update::keptPackage(folder).c_str()) != 0)
        unlink(package);
    const Installation result{problem.empty() ? Installation::State::Installed
                                              : Installation::State::Failed,
                              version, problem};
    return talo::update::writeInstallation(folder, result).empty() && problem.empty() ? 0 : 1;
}
