// Fetching files of a release: never more than was asked for, never from anywhere else.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace talo::update
{

struct DownloadLimits {
    std::chrono::seconds connect{20};
    std::chrono::seconds stall{30}; // without a single byte
    int attempts = 4;               // of a download that is cut off, each resumed
    std::chrono::milliseconds pause{1000};
};

struct FetchOutcome {
    enum class Result { Done, Stopped, Unreachable, Failed };
    Result result = Result::Failed;
    std::string reason; // empty for Done and Stopped
};

class Downloader
{
public:
    // `stop` ends what is under way from any thread; it outlives the object.
    Downloader(DownloadLimits limits, const std::atomic<bool> &stop) : limits_(limits), stop_(stop)
    {
    }

    // A whole small file; longer than `limit` is a failure.
    FetchOutcome fetch(const std::string &address, std::size_t limit, std::string &content) const;

    using Progress = std::function<void(std::uint64_t received, std::uint64_t bytesASecond)>;
    struct File {
        int descriptor = -1;   // holds the beginning, if any; open for reading and writing
        std::uint64_t size;    // of the whole
        std::string validator; // names the server's file that the beginning is of
    };
    // The rest of a file of known size. A beginning is kept where the server still has that very
    // file (If-Range); otherwise it begins anew. Each cut is resumed a few times.
    FetchOutcome download(const std::string &address, File &file, const Progress &progress) const;

private:
    FetchOutcome attempt(const std::string &address, File &file, const Progress &progress) const;
    bool waitBeforeNext() const;

    DownloadLimits limits_;
    const std::atomic<bool> &stop_;
};

} // namespace talo::update
