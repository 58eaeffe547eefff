#include "files/shredwriter.h"

#include "files/shrednoise.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/mman.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace talo::files
{

namespace
{

// Large enough for a drive to be busy all the time, small enough to be cheap.
constexpr std::uint64_t kPiece = 4u << 20;
constexpr std::uint64_t kPage = 4096;
constexpr std::size_t kWriters = 3; // one makes noise while two keep the drive busy

std::vector<FileRange> cutIntoPieces(const std::vector<FileRange> &ranges)
{
    std::vector<FileRange> pieces;
    for (const FileRange &range : ranges)
        for (std::uint64_t done = 0; done < range.length; done += kPiece)
            pieces.push_back({range.start + done, std::min(kPiece, range.length - done)});
    return pieces;
}

// Memory that begins with a page, which direct writes need.
class Pages
{
public:
    explicit Pages(std::size_t size)
        : data_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
        , size_(size)
    {
    }
    ~Pages()
    {
        if (*this)
            munmap(data_, size_);
    }
    Pages(const Pages &) = delete;
    Pages &operator=(const Pages &) = delete;

    explicit operator bool() const { return data_ != MAP_FAILED; }
    char *data() const { return static_cast<char *>(data_); }

private:
    void *data_;
    std::size_t size_;
};

// One pass over a file. Its writers take the next piece as they are done with one.
class Pass
{
public:
    Pass(int file, const std::vector<FileRange> &pieces) : file_(file), pieces_(pieces) {}

    // Works until no piece is left or a writer has failed. `told` is called after each piece with
    // what all writers have written so far.
    template <class Told> void work(Told told)
    {
        const Pages pages(bufferSize());
        NoiseStream noise;
        if (!pages || !noise)
            fail(ENOMEM);
        while (failure_ == 0) {
            const std::size_t index = next_++;
            if (index >= pieces_.size())
                return;
            const FileRange &piece = pieces_[index];
            if (!noise.fill(pages.data(), piece.length))
                fail(EIO);
            else if (const int code = write(pages.data(), piece.length, piece.start); code != 0)
                fail(code);
            told(written_.load());
        }
    }

    int failure() const { return failure_; } // an errno value, or 0
    std::uint64_t written() const { return written_; }

private:
    std::size_t bufferSize() const
    {
        std::uint64_t largest = kPage;
        for (const FileRange &piece : pieces_)
            largest = std::max(largest, piece.length);
        return largest;
    }

    // The first failure is the one that tells.
    void fail(int code)
    {
        int none = 0;
        failure_.compare_exchange_strong(none, code);
    }

    int write(const char *data, std::uint64_t size, std::uint64_t offset)
    {
        bool cached = false;
        while (size > 0) {
            const ssize_t count = pwrite(file_, data, size, static_cast<off_t>(offset));
            if (count < 0 && (errno == EINTR || (errno == EINVAL && writeThroughCache(cached))))
                continue;
            if (count <= 0)
                return count < 0 ? errno : EIO;
            data += count;
            size -= static_cast<std::uint64_t>(count);
            offset += static_cast<std::uint64_t>(count);
            written_ += static_cast<std::uint64_t>(count);
        }
        return 0;
    }

    // What the file system wants aligned it may want aligned by more than a block, and a write that
    // was cut short may leave an odd place to go on from. False if this piece was tried so already.
    bool writeThroughCache(bool &triedBefore) const
    {
        const int flags = fcntl(file_, F_GETFL);
        return !std::exchange(triedBefore, true) && flags >= 0 &&
               fcntl(file_, F_SETFL, flags & ~O_DIRECT) == 0;
    }

    int file_;
    const std::vector<FileRange> &pieces_;
    std::atomic<std::size_t> next_{0};
    std::atomic<std::uint64_t> written_{0};
    std::atomic<int> failure_{0};
};

// More hands for a pass, until they go out of scope. The caller's signals are none of theirs; where
// there are no threads to be had the caller does it alone.
class Helpers
{
public:
    Helpers(Pass &pass, std::size_t count)
    {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        try {
            while (threads_.size() < count)
                threads_.emplace_back([&pass] { pass.work([](std::uint64_t) {}); });
        } catch (const std::system_error &) { // fewer will do
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    ~Helpers()
    {
        for (std::thread &thread : threads_)
            thread.join();
    }
    Helpers(const Helpers &) = delete;
    Helpers &operator=(const Helpers &) = delete;

private:
    std::vector<std::thread> threads_;
};

} // namespace

Overwritten overwrite(int file, const std::vector<FileRange> &ranges, int passes,
                      const ShredProgress &progress)
{
    const std::vector<FileRange> pieces = cutIntoPieces(ranges);
    long long sum = 0;
    for (const FileRange &piece : pieces)
        sum += static_cast<long long>(piece.length);
    Overwritten result;
    const auto tell = [&](std::uint64_t now) {
        if (progress)
            progress(result.written + static_cast<long long>(now), sum * passes);
    };
    tell(0);
    if (pieces.empty())
        return result;

    // Past the page cache, where the file system lets us: noise has no business there.
    const int flags = fcntl(file, F_GETFL);
    if (flags >= 0)
        fcntl(file, F_SETFL, flags | O_DIRECT);
    for (int number = 0; number < passes; ++number) {
        Pass pass(file, pieces);
        {
            const Helpers helpers(pass, std::min(kWriters, pieces.size()) - 1);
            pass.work(tell);
        }
        tell(pass.written());
        result.written += static_cast<long long>(pass.written());
        // Without this a drive may keep only the last pass, and the system's memory even none.
        const int code = pass.failure() != 0 ? pass.failure() : fdatasync(file) != 0 ? errno : 0;
        if (code != 0) {
            result.error = systemError(code);
            return result;
        }
    }
    return result;
}

} // namespace talo::files
