#include "update/freshclamrun.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace talo::update
{

namespace
{

using namespace std::chrono_literals;
using files::UniqueFd;
using Clock = std::chrono::steady_clock;

// Time to end of its own accord once it was asked to.
constexpr auto kGrace = 3s;

struct Limit {
    int resource;
    rlim_t value;
};

constexpr std::array<Limit, 4> kLimits{{
    {RLIMIT_CORE, 0},
    {RLIMIT_NOFILE, 256},
    {RLIMIT_FSIZE, rlim_t{2} << 30u},
    {RLIMIT_AS, rlim_t{4} << 30u},
}};

// All that the child needs, made before the fork: between fork and exec only system calls are safe
// in a process with threads.
struct Prepared {
    std::vector<char *> arguments;
    std::vector<char *> environment;
    const char *folder = nullptr;
    Identity identity;
    bool changeUser = false;
    int output = -1;
    int null = -1;
    int report = -1; // tells what failed; closed by exec
    pid_t parent = 0;
};

bool becomeDownloader(const Prepared &child)
{
    if (child.changeUser) {
        // The system calls themselves: the library's functions would signal threads that are not
        // there in the child.
        const auto user = child.identity.user;
        const auto group = child.identity.group;
        if (syscall(SYS_setgroups, 0, nullptr) != 0 ||
            syscall(SYS_setresgid, group, group, group) != 0 ||
            syscall(SYS_setresuid, user, user, user) != 0)
            return false;
    }
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

[[noreturn]] void becomeFreshclam(const Prepared &child)
{
    constexpr int kReport = STDERR_FILENO + 1;
    int report = child.report;
    const auto prepared = [&child] {
        for (const Limit &limit : kLimits) {
            const rlimit both{limit.value, limit.value};
            if (setrlimit(static_cast<__rlimit_resource>(limit.resource), &both) != 0)
                return false;
        }
        if (setpgid(0, 0) != 0 || chdir(child.folder) != 0 || !becomeDownloader(child))
            return false;
        // After the change of the user, which would lift it.
        if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != child.parent)
            return false;
        if (dup2(child.null, STDIN_FILENO) < 0 || dup2(child.output, STDOUT_FILENO) < 0 ||
            dup2(child.output, STDERR_FILENO) < 0)
            return false;
        sigset_t none;
        sigemptyset(&none);
        struct sigaction usual {
        };
        usual.sa_handler = SIG_DFL;
        for (int number = 1; number < SIGRTMIN; ++number)
            if (number != SIGKILL && number != SIGSTOP)
                sigaction(number, &usual, nullptr);
        return sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
    };
    if (prepared()) {
        // Nothing else stays open, whoever opened it.
        if ((report == kReport || dup3(report, kReport, O_CLOEXEC) >= 0) &&
            close_range(kReport + 1, ~0u, 0) == 0) {
            report = kReport;
            execve(child.arguments[0], child.arguments.data(), child.environment.data());
        }
    }
    const int error = errno;
    [[maybe_unused]] const ssize_t told = write(report, &error, sizeof error);
    _exit(127);
}

// A child that is reaped last of all: as long as it is not, nobody else can get its number.
class Child
{
public:
    explicit Child(pid_t pid) : pid_(pid) {}
    ~Child()
    {
        end(SIGKILL);
        while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    // Also what it has started.
    void end(int signal)
    {
        if (kill(-pid_, signal) != 0)
            kill(pid_, signal); // it has no group of its own yet
    }

    bool ended()
    {
        if (info_.si_pid == 0)
            waitid(P_PID, static_cast<id_t>(pid_), &info_, WEXITED | WNOHANG | WNOWAIT);
        return info_.si_pid != 0;
    }

    FreshclamEnd how() const
    {
        return {info_.si_code == CLD_EXITED ? FreshclamEnd::By::Exit : FreshclamEnd::By::Signal,
                info_.si_status};
    }

private:
    pid_t pid_;
    siginfo_t info_{};
};

bool makePipe(UniqueFd &reading, UniqueFd &writing)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return false;
    reading.reset(ends[0]);
    writing.reset(ends[1]);
    return true;
}

int start(const FreshclamTask &task, UniqueFd &output, pid_t &pid)
{
    UniqueFd outputEnd;
    UniqueFd failure;
    UniqueFd failureEnd;
    const UniqueFd null(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!null || !makePipe(output, outputEnd) || !makePipe(failure, failureEnd))
        return errno;
    // Nothing of ours decides how it runs. Its cool-down is told in local time.
    std::vector<std::string> arguments = task.arguments;
    std::vector<std::string> environment{"LC_ALL=C", "PATH=/usr/bin:/bin", "HOME=" + task.folder,
                                         "TMPDIR=" + task.folder};
    if (const char *const zone = getenv("TZ"))
        environment.emplace_back(std::string("TZ=") + zone);
    Prepared child;
    for (std::string &argument : arguments)
        child.arguments.push_back(argument.data());
    child.arguments.push_back(nullptr);
    for (std::string &variable : environment)
        child.environment.push_back(variable.data());
    child.environment.push_back(nullptr);
    child.folder = task.folder.c_str();
    child.identity = task.identity;
    child.changeUser = geteuid() == 0;
    child.output = outputEnd.get();
    child.null = null.get();
    child.report = failureEnd.get();
    child.parent = getpid();
    pid = fork();
    if (pid < 0)
        return errno;
    if (pid == 0)
        becomeFreshclam(child);
    failureEnd.reset();
    int error = 0;
    ssize_t count = 0;
    do
        count = read(failure.get(), &error, sizeof error);
    while (count < 0 && errno == EINTR);
    if (count != sizeof error)
        return 0;
    waitpid(pid, nullptr, 0);
    return error != 0 ? error : EINVAL;
}

} // namespace

FreshclamEnd runFreshclam(const FreshclamTask &task, FreshclamOutput &output)
{
    using By = FreshclamEnd::By;
    UniqueFd reading;
    pid_t pid = 0;
    const int error = start(task, reading, pid);
    if (error != 0)
        return {By::NotStarted, error};
    Child child(pid);
    By by = By::Exit;
    const auto began = Clock::now();
    auto lastHeard = began;
    auto killAt = Clock::time_point::max();
    const auto ask = [&](By reason) {
        by = reason;
        child.end(SIGTERM);
        killAt = Clock::now() + kGrace;
    };
    bool open = true;
    while (open || !child.ended()) {
        // What is left in the pipe when it has ended is still read.
        std::array<pollfd, 2> watched{
            {{open ? reading.get() : -1, POLLIN, 0}, {by == By::Exit ? task.stop : -1, POLLIN, 0}}};
        poll(watched.data(), watched.size(), open && !child.ended() ? 100 : 20);
        const auto now = Clock::now();
        if (watched[0].revents != 0) {
            std::array<char, 4096> part{};
            const ssize_t count = read(reading.get(), part.data(), part.size());
            open = count > 0 || (count < 0 && errno == EINTR);
            if (count > 0) {
                lastHeard = now;
                output.feed({part.data(), static_cast<std::size_t>(count)});
                if (task.heard)
                    task.heard(output);
            }
        } else if (open && child.ended()) {
            open = false; // something that it left behind holds the pipe
        }
        if (watched[1].revents != 0)
            ask(By::Stop);
        else if (by == By::Exit && (now - lastHeard > task.patience || now - began > task.longest))
            ask(By::TooLong);
        if (now >= killAt) {
            child.end(SIGKILL);
            killAt = Clock::time_point::max();
        }
    }
    return by == By::Exit ? child.how() : FreshclamEnd{by, 0};
}

} // namespace talo::update
