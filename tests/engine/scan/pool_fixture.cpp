#include "engine/scan/pool_fixture.h"

#include <chrono>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace talo::scan::test
{

using namespace std::chrono_literals;

namespace
{

// Folders for temporary files are counted, so those of other programs must not be among them.
class OwnTemporaryFolder : public testing::Environment
{
public:
    void SetUp() override
    {
        std::string path = (fs::temp_directory_path() / "talo-tests-XXXXXX").string();
        ASSERT_NE(mkdtemp(path.data()), nullptr);
        path_ = path;
        fs::permissions(path_, fs::perms::all);
        setenv("TMPDIR", path_.c_str(), 1);
    }
    void TearDown() override { fs::remove_all(path_); }

private:
    fs::path path_;
};

[[maybe_unused]] const auto *const kTemporaryFolder =
    testing::AddGlobalTestEnvironment(new OwnTemporaryFolder);

} // namespace

TestFolder::TestFolder()
{
    std::string path = (fs::temp_directory_path() / "talo-test-XXXXXX").string();
    if (!mkdtemp(path.data()))
        std::abort();
    path_ = path;
    fs::permissions(path_, fs::perms(0755));
}

TestFolder::~TestFolder()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path TestFolder::write(const std::string &name, std::string_view content) const
{
    fs::path path = path_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string realWorker()
{
    return TALO_BUILD_DIR "/bin/talo-scan-worker";
}
std::string faultyWorker()
{
    return TALO_BUILD_DIR "/tests/talo-scan-worker-faulty";
}
std::string fakeServer()
{
    return TALO_BUILD_DIR "/tests/talo-fake-scan-server";
}
std::string builtInSignatures()
{
    return TALO_BUILD_DIR "/signatures";
}

PoolConfig config(const std::string &program, unsigned workers)
{
    PoolConfig config;
    config.workerProgram = program;
    config.signatureFolder = builtInSignatures();
    config.workers = workers;
    config.maxTemporary = 64u << 20;
    return config;
}

std::string eicar()
{
    return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$") + "EICAR-STANDARD-ANTIVIRUS-" +
           "TEST-FILE!$H+H*";
}

bool matches(const Verdict &verdict, VerdictKind kind, std::string_view detail)
{
    return verdict.kind == kind && verdict.detail.find(detail) != std::string::npos;
}

std::string describe(const Verdict &verdict)
{
    static constexpr const char *kNames[] = {"clean", "threat", "skipped", "error"};
    return std::string(kNames[static_cast<int>(verdict.kind)]) + " [" + verdict.detail + "]";
}

std::map<std::string, Verdict> scanAll(WorkerPool &pool, const std::vector<fs::path> &files,
                                       ScanOptions options)
{
    std::map<std::string, Verdict> verdicts;
    std::map<std::uint64_t, files::UniqueFd> open_;
    const auto session = pool.open();
    std::size_t next = 0;
    while (next < files.size() || session->pending() > 0) {
        while (next < files.size() && session->hasRoom()) {
            files::UniqueFd fd(open(files[next].c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
            struct stat status {
            };
            if (!fd || fstat(fd.get(), &status) != 0) {
                ADD_FAILURE() << "cannot open " << files[next];
                return verdicts;
            }
            session->submit(next, fd.get(), static_cast<std::uint64_t>(status.st_size), options);
            open_[next++] = std::move(fd);
        }
        const auto result = session->next(60s);
        if (!result) {
            ADD_FAILURE() << "no verdict within a minute; " << session->pending() << " pending";
            return verdicts;
        }
        EXPECT_EQ(open_.erase(result->cookie), 1u) << "a verdict nobody asked for, or a second one";
        verdicts[files[result->cookie].filename().string()] = result->verdict;
    }
    return verdicts;
}

Verdict scanOne(WorkerPool &pool, const fs::path &file, ScanOptions options)
{
    const auto verdicts = scanAll(pool, {file}, options);
    return verdicts.empty() ? Verdict{VerdictKind::Error, "no verdict"} : verdicts.begin()->second;
}

namespace
{

std::vector<pid_t> children(pid_t parent)
{
    std::vector<pid_t> found;
    std::error_code error;
    for (const auto &task :
         fs::directory_iterator("/proc/" + std::to_string(parent) + "/task", error)) {
        std::ifstream list(task.path() / "children");
        for (pid_t child = 0; list >> child;)
            found.push_back(child);
    }
    return found;
}

std::string programOf(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

} // namespace

std::vector<pid_t> descendants()
{
    std::vector<pid_t> all;
    std::deque<pid_t> ahead{getpid()};
    while (!ahead.empty()) {
        for (const pid_t child : children(ahead.front())) {
            all.push_back(child);
            ahead.push_back(child);
        }
        ahead.pop_front();
    }
    return all;
}

std::vector<pid_t> processesOf(const std::string &program)
{
    const std::string name = fs::path(program).filename().string().substr(0, 15);
    std::vector<pid_t> found;
    for (const pid_t pid : descendants())
        if (programOf(pid) == name)
            found.push_back(pid);
    return found;
}

long processorTime(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text);
    if (text.empty())
        return 0; // it has gone
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return user + system;
}

bool eventually(const std::function<bool()> &holds)
{
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

std::size_t openDescriptors()
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

std::vector<fs::path> scratchFolders()
{
    std::vector<fs::path> found;
    for (const auto &entry : fs::directory_iterator(fs::temp_directory_path()))
        if (entry.path().filename().string().rfind("talo-scan-", 0) == 0)
            found.push_back(entry.path());
    return found;
}

} // namespace talo::scan::test
