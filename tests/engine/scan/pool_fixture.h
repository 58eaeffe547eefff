// What the tests of the worker pool share.
#pragma once

#include "files/uniquefd.h"
#include "scan/workerpool.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace talo::scan::test
{

namespace fs = std::filesystem;

// A folder of the test's own, gone at its end.
class TestFolder
{
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder &) = delete;
    TestFolder &operator=(const TestFolder &) = delete;

    const fs::path &path() const { return path_; }
    fs::path write(const std::string &name, std::string_view content) const;

private:
    fs::path path_;
};

// The product's worker, one that can be made to fail, and one that is none.
std::string realWorker();
std::string faultyWorker();
std::string fakeServer();
std::string builtInSignatures();

PoolConfig config(const std::string &program, unsigned workers = 2);

// Never written in one piece, so that no scanner takes the test for what it tests.
std::string eicar();

bool matches(const Verdict &verdict, VerdictKind kind, std::string_view detail = {});
std::string describe(const Verdict &verdict);

// Scans the files, all submitted as fast as there is room; by file name.
std::map<std::string, Verdict> scanAll(WorkerPool &pool, const std::vector<fs::path> &files,
                                       ScanOptions options = {});
Verdict scanOne(WorkerPool &pool, const fs::path &file, ScanOptions options = {});

// The processes below this one.
std::vector<pid_t> descendants();
// Those of them that run the given program, the server before its workers.
std::vector<pid_t> processesOf(const std::string &program);

// The processor time a process has used, in ticks: a worker at work uses some, an idle one none.
long processorTime(pid_t pid);

// Waits until something holds; false when it does not within half a minute.
bool eventually(const std::function<bool()> &holds);

std::size_t openDescriptors();
std::vector<fs::path> scratchFolders();

} // namespace talo::scan::test
