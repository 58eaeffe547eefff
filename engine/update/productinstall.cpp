#include "update/productinstall.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace talo::update
{

namespace
{

constexpr char kResult[] = "/installation";
constexpr char kLock[] = "/installation.lock";
constexpr char kSystemdRun[] = "/usr/bin/systemd-run";
constexpr char kSystemd[] = "/run/systemd/system";
constexpr std::size_t kLongestResult = 65536;
constexpr std::chrono::seconds kHelperTime{10};

struct Name {
    Installation::State state;
    const char *text;
};
constexpr std::array<Name, 3> kNames{{
    {Installation::State::Running, "running"},
    {Installation::State::Installed, "installed"},
    {Installation::State::Failed, "failed"},
}};

std::string failure(const std::string &what)
{
    return what + ": " + files::systemError(errno).text;
}

// The service's own group of processes ends with it when its package restarts it, so systemd is
// asked for another one. Without systemd a session of its own is enough.
std::vector<std::string> surroundings()
{
    if (access(kSystemd, F_OK) != 0 || access(kSystemdRun, X_OK) != 0)
        return {};
    return {kSystemdRun,
            "--quiet",
            "--collect",
            "--service-type=exec",
            "--unit=taloantivirus-program-update",
            "--"};
}

std::string run(const std::vector<std::string> &words)
{
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    const std::array<const char *, 3> environment{
        "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8",
        nullptr};
    pid_t child = 0;
    const int fault = posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(),
                                  const_cast<char *const *>(environment.data()));
    if (fault != 0)
        return "cannot start " + words[0] + ": " + files::systemError(fault).text;
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return failure("cannot wait for " + words[0]);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return words[0] + " could not begin the installation";
    return std::string();
}

bool isHeld(const std::string &folder)
{
    const files::UniqueFd lock(open((folder + kLock).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    return lock && flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::optional<Installation> readInstallation(const std::string &folder)
{
    std::ifstream file(folder + kResult);
    std::string state;
    Installation last;
    if (!std::getline(file, state) || !std::getline(file, last.version))
        return std::nullopt;
    last.problem.assign(std::istreambuf_iterator<char>(file), {});
    last.problem.resize(std::min(last.problem.size(), kLongestResult));
    for (const Name &name : kNames) {
        if (state == name.text) {
            last.state = name.state;
            return last;
        }
    }
    return std::nullopt;
}

// systemd says that it has started the helper before the helper holds the folder.
void awaitHelper(const std::string &folder)
{
    const auto until = std::chrono::steady_clock::now() + kHelperTime;
    while (std::chrono::steady_clock::now() < until) {
        const auto last = readInstallation(folder);
        if (isHeld(folder) || (last && last->state != Installation::State::Running))
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace

std::vector<std::string> packageTool()
{
    // A downgrade is what puts the version before back.
    return {"/usr/bin/apt-get",
            "--assume-yes",
            "--no-install-recommends",
            "--no-remove",
            "--allow-downgrades",
            "--option=DPkg::Lock::Timeout=300",
            "--option=Dpkg::Options::=--force-confdef",
            "--option=Dpkg::Options::=--force-confold",
            "install"};
}

std::string beginInstallation(const Installer &installer, const std::string &folder,
                              const std::string &version, const std::string &package)
{
    if (isHeld(folder))
        return "an installation is under way already";
    std::vector<std::string> words = surroundings();
    const bool alone = words.empty();
    words.push_back(installer.helper);
    if (alone)
        words.emplace_back("--detach");
    words.insert(words.end(), {folder, version});
    words.insert(words.end(), installer.command.begin(), installer.command.end());
    words.push_back(package);
    std::string problem = writeInstallation(folder, {Installation::State::Running, version, {}});
    if (!problem.empty())
        return problem;
    std::string fault = run(words);
    if (fault.empty())
        awaitHelper(folder);
    return fault;
}

std::optional<Installation> lastInstallation(const std::string &folder)
{
    // Looked at first: a helper that ends in between has written its result by then.
    const bool held = isHeld(folder);
    auto last = readInstallation(folder);
    // One that has written its result and is about to end still keeps the next from beginning.
    if (last && held)
        return Installation{Installation::State::Running, last->version, {}};
    if (last && last->state == Installation::State::Running) {
        last->state = Installation::State::Failed;
        last->problem = "the installation was interrupted; \"dpkg --configure -a\" finishes or "
                        "repairs it";
    }
    return last;
}

std::string keptPackage(const std::string &folder)
{
    return folder + "/installed.package.deb";
}

files::Result<int> holdInstallation(const std::string &folder)
{
    files::UniqueFd lock(open((folder + kLock).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
                              S_IRUSR | S_IWUSR));
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return files::Error{errno, failure("the installation cannot begin")};
    return lock.release();
}

std::string writeInstallation(const std::string &folder, const Installation &installation)
{
    std::string text;
    for (const Name &name : kNames)
        if (name.state == installation.state)
            text = std::string(name.text) + '\n' + installation.version + '\n';
    text += installation.problem;
    const std::string path = folder + kResult;
    const std::string fresh = path + ".new";
    const files::UniqueFd file(open(
        fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!file || write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        fsync(file.get()) != 0 || rename(fresh.c_str(), path.c_str()) != 0)
        return failure("cannot write " + path);
    return std::string();
}

} // namespace talo::update
