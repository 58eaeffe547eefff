#include "files/duplicates/treewalk.h"

#include "files/duplicates/beneath.h"
#include "files/duplicates/localmount.h"
#include "files/duplicates/pageallocator.h"

#include <condition_variable>
#include <cstring>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>

namespace talo::files
{

namespace
{

constexpr std::size_t kListing = 65536;       // bytes of a folder read at a time
constexpr std::size_t kMostNames = 1u << 20u; // bytes of names in one part of a folder
constexpr std::size_t kBlock = 256u << 10u;   // bytes of names in one allocation
constexpr std::size_t kRecordsInChunk = 4096; // files handed over at a time
constexpr std::size_t kMaxPath = 65536;       // a tree of absurd depth ends here
constexpr auto kMostFolders = std::numeric_limits<std::uint32_t>::max();

using Chunk = std::vector<FileRecord, PageAllocator<FileRecord>>;

// What the walking threads share. Folders wait to be listed, the latest first: so the number of
// those that wait stays small.
struct Shared {
    Tree &tree;
    Crew &crew;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::uint32_t> waiting;
    unsigned busy = 0;
    bool failed = false; // one of them ran out of memory
    std::deque<Chunk> chunks;
};

timespec timeOf(const struct statx_timestamp &time)
{
    return {static_cast<time_t>(time.tv_sec), static_cast<long>(time.tv_nsec)};
}

// One thread's part of the walk.
class Walker
{
public:
    explicit Walker(Shared &shared) : shared_(shared), listing_(kListing)
    {
        chunk_.reserve(kRecordsInChunk);
    }

    void walk();

private:
    bool takeFolder(std::string &path);
    void leaveFolder();
    void listFolder(const std::string &path);
    void visit(int folder, const dirent64 &entry);
    void addFile(const char *name, const struct statx &status, dev_t device);
    const char *keepNames();
    void closePart();
    void handOver();

    Shared &shared_;
    std::vector<char> listing_;
    std::uint32_t folder_ = 0; // the one that is listed, or its latest part
    FolderRecord record_;
    bool used_ = false; // the record of this number has names already
    std::string names_;
    std::vector<FileRecord> part_;
    std::vector<std::size_t> subfolders_; // where their names begin
    Chunk chunk_;
    char *block_ = nullptr;
    std::size_t left_ = 0;
};

void Walker::walk()
{
    try {
        std::string path;
        while (takeFolder(path)) {
            listFolder(path);
            leaveFolder();
        }
        handOver();
    } catch (...) {
        const std::lock_guard lock(shared_.mutex);
        shared_.failed = true;
        shared_.changed.notify_all();
        throw;
    }
}

bool Walker::takeFolder(std::string &path)
{
    std::unique_lock lock(shared_.mutex);
    shared_.changed.wait(
        lock, [this] { return !shared_.waiting.empty() || shared_.busy == 0 || shared_.failed; });
    if (shared_.waiting.empty() || shared_.failed)
        return false;
    folder_ = shared_.waiting.back();
    shared_.waiting.pop_back();
    ++shared_.busy;
    record_ = shared_.tree.folders[folder_];
    used_ = false;
    path = shared_.tree.relativePath(folder_);
    return true;
}

void Walker::leaveFolder()
{
    closePart();
    const std::lock_guard lock(shared_.mutex);
    if (--shared_.busy == 0 && shared_.waiting.empty())
        shared_.changed.notify_all();
}

void Walker::listFolder(const std::string &path)
{
    if (path.size() > kMaxPath)
        return;
    const auto opened = openFolderBeneath(shared_.tree.root(), path);
    if (!opened)
        return;
    if (shared_.crew.wantsPath())
        shared_.crew.tell(shared_.tree.absolute(path));
    const int folder = opened->fd.get();
    record_.device = opened->status.st_dev;
    for (;;) {
        const long count = syscall(SYS_getdents64, folder, listing_.data(), listing_.size());
        if (count <= 0)
            return;
        for (long at = 0; at < count;) {
            // The kernel aligns every record for this structure.
            const auto *entry = reinterpret_cast<const dirent64 *>(listing_.data() + at);
            at += entry->d_reclen;
            visit(folder, *entry);
        }
    }
}

void Walker::visit(int folder, const dirent64 &entry)
{
    const char *name = entry.d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
        return;
    if (entry.d_type != DT_REG && entry.d_type != DT_DIR && entry.d_type != DT_UNKNOWN)
        return;
    struct statx status = {};
    if (statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
              STATX_TYPE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_MNT_ID,
              &status) != 0)
        return;
    // Files can be mount points, too; those are of the kernel and of containers.
    const bool mounted = (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    if (S_ISDIR(status.stx_mode) && (!mounted || isLocalMount(status.stx_mnt_id))) {
        subfolders_.push_back(names_.size());
        names_.append(name, std::strlen(name) + 1);
    } else if (S_ISREG(status.stx_mode) && !mounted && status.stx_size > 0) {
        addFile(name, status, makedev(status.stx_dev_major, status.stx_dev_minor));
    }
}

void Walker::addFile(const char *name, const struct statx &status, dev_t device)
{
    if (device != record_.device || names_.size() > kMostNames) {
        closePart();
        record_.device = device;
    }
    part_.push_back({status.stx_size, status.stx_ino,
                     timesStamp(timeOf(status.stx_mtime), timeOf(status.stx_ctime)), folder_,
                     static_cast<std::uint32_t>(names_.size())});
    names_.append(name, std::strlen(name) + 1);
}

// Moves the names of the part to where they stay.
const char *Walker::keepNames()
{
    if (names_.size() > left_) {
        const std::size_t size = std::max(kBlock, names_.size());
        std::unique_ptr<char[]> block(new char[size]);
        block_ = block.get();
        left_ = size;
        const std::lock_guard lock(shared_.mutex);
        shared_.tree.keep(std::move(block));
    }
    char *kept = block_;
    std::memcpy(kept, names_.data(), names_.size());
    block_ += names_.size();
    left_ -= names_.size();
    return kept;
}

void Walker::closePart()
{
    if (names_.empty())
        return;
    record_.names = keepNames();
    {
        const std::lock_guard lock(shared_.mutex);
        auto &folders = shared_.tree.folders;
        if (folders.size() + subfolders_.size() >= kMostFolders)
            throw std::length_error("more folders than can be counted");
        if (used_) {
            folder_ = static_cast<std::uint32_t>(folders.size());
            folders.push_back(record_);
        } else {
            folders[folder_] = record_;
        }
        for (const std::size_t name : subfolders_) {
            shared_.waiting.push_back(static_cast<std::uint32_t>(folders.size()));
            folders.push_back({record_.names + name, nullptr, 0, folder_});
        }
        if (subfolders_.size() > 1)
            shared_.changed.notify_all();
        else if (!subfolders_.empty())
            shared_.changed.notify_one();
    }
    for (FileRecord &file : part_) {
        file.folder = folder_;
        chunk_.push_back(file);
        if (chunk_.size() == kRecordsInChunk)
            handOver();
    }
    used_ = true;
    part_.clear();
    subfolders_.clear();
    names_.clear();
}

void Walker::handOver()
{
    Chunk full;
    full.reserve(kRecordsInChunk);
    chunk_.swap(full);
    const std::lock_guard lock(shared_.mutex);
    shared_.chunks.push_back(std::move(full));
}

} // namespace

void walkTree(Tree &tree, Crew &crew, unsigned threads)
{
    Shared shared{tree, crew, {}, {}, {0}, 0, false, {}};
    tree.folders.assign(1, {"", nullptr, 0, 0});
    crew.run(threads, [&shared] { Walker(shared).walk(); });

    std::size_t count = 0;
    for (const Chunk &chunk : shared.chunks)
        count += chunk.size();
    if (count > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("more files than can be counted");
    tree.files.reserve(count);
    // Each chunk goes as soon as it is copied, so that the records are never there twice.
    for (; !shared.chunks.empty(); shared.chunks.pop_front())
        tree.files.insert(tree.files.end(), shared.chunks.front().begin(),
                          shared.chunks.front().end());
}

} // namespace talo::files
