#include "scan/folderreader.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace talo::scan
{

namespace
{

constexpr std::size_t kBufferSize = 32768;

} // namespace

FolderReader::Answer FolderReader::next(int folder, Entry &entry)
{
    for (;;) {
        if (at_ >= filled_) {
            buffer_.resize(kBufferSize);
            // The C library's reader allocates per folder and cannot be resumed in another
            // descriptor; the system call can.
            const long count = syscall(SYS_getdents64, folder, buffer_.data(), buffer_.size());
            if (count < 0)
                return Answer::Error;
            if (count == 0)
                return Answer::End;
            at_ = 0;
            filled_ = static_cast<std::size_t>(count);
        }
        // The kernel aligns every record for this structure.
        const auto *record = reinterpret_cast<const dirent64 *>(buffer_.data() + at_);
        at_ += record->d_reclen;
        position_ = record->d_off;
        const std::string_view name(record->d_name);
        if (name == "." || name == "..")
            continue;
        entry.name = name;
        entry.type = record->d_type;
        return Answer::Entry;
    }
}

void FolderReader::suspend()
{
    buffer_ = {};
    at_ = filled_ = 0;
}

bool FolderReader::resume(int folder)
{
    return lseek(folder, position_, SEEK_SET) == position_;
}

} // namespace talo::scan
