#include "engine/files/diskimage.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace talo::test
{

namespace
{

void run(const std::string &command)
{
    if (std::system(command.c_str()) != 0) // NOLINT(cert-env33-c): a test's own words
        throw std::runtime_error("failed: " + command);
}

class Descriptor
{
public:
    Descriptor(const std::string &path, int flags)
        : fd_(open(path.c_str(), flags | O_CLOEXEC, 0600))
    {
        if (fd_ < 0)
            throw std::runtime_error("cannot open " + path);
    }
    ~Descriptor() { close(fd_); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

} // namespace

DiskImage::DiskImage(const std::string &folder, const std::string &maker, long long size)
    : image_(folder + "/image"), place_(folder + "/mounted")
{
    mkdir(place_.c_str(), 0755);
    Descriptor image(image_, O_WRONLY | O_CREAT | O_TRUNC);
    if (ftruncate(image.get(), size) != 0)
        throw std::runtime_error("no room for an image");
    run(maker + " " + image_ + " >/dev/null");
}

void DiskImage::mount(const std::string &options)
{
    run("mount -o loop" + (options.empty() ? options : "," + options) + " " + image_ + " " +
        place_);
}

void DiskImage::unmount()
{
    if (umount(place_.c_str()) != 0)
        throw std::runtime_error("cannot unmount");
}

std::optional<long long> DiskImage::find(const std::string &bytes) const
{
    sync();
    const Descriptor image(image_, O_RDONLY);
    constexpr std::size_t kPart = 8u << 20;
    std::vector<char> part(kPart + bytes.size());
    for (off_t at = 0; (at = lseek(image.get(), at, SEEK_DATA)) >= 0; at += kPart) {
        const ssize_t size = pread(image.get(), part.data(), part.size(), at);
        if (size < 0)
            throw std::runtime_error("cannot read the image");
        const void *found =
            memmem(part.data(), static_cast<std::size_t>(size), bytes.data(), bytes.size());
        if (found != nullptr)
            return at + (static_cast<const char *>(found) - part.data());
    }
    return std::nullopt;
}

void DiskImage::plant(long long offset, const std::string &bytes) const
{
    const Descriptor image(image_, O_WRONLY);
    if (pwrite(image.get(), bytes.data(), bytes.size(), offset) !=
        static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("cannot write to the image");
}

std::string DiskImage::read(long long offset, std::size_t size) const
{
    const Descriptor image(image_, O_RDONLY);
    std::string bytes(size, '\0');
    if (pread(image.get(), bytes.data(), size, offset) != static_cast<ssize_t>(size))
        throw std::runtime_error("cannot read the image");
    return bytes;
}

} // namespace talo::test
