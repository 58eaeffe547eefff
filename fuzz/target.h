// What the fuzz targets share. A target is one source with LLVMFuzzerTestOneInput(); linked with
// libFuzzer it searches for inputs that break a parser, linked with replay.cpp it is a test.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace talo::fuzz
{

inline std::string_view textOf(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), size};
}

// What must hold whatever came in.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

// For parsers that read a descriptor or a path.
class MemoryFile
{
public:
    explicit MemoryFile(std::string_view content = {}) : fd_(memfd_create("fuzz", MFD_CLOEXEC))
    {
        require(fd_ >= 0 && fchmod(fd_, S_IRUSR | S_IWUSR) == 0);
        require(write(fd_, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
        require(lseek(fd_, 0, SEEK_SET) == 0);
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    int fd() const { return fd_; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

} // namespace talo::fuzz
