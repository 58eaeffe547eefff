// A file system of a test's own in a file, to look at what stays on the drive below it.
#pragma once

#include <optional>
#include <string>

namespace talo::test
{

// Mounted through a loop device that the kernel frees with the mount. To be used inside
// withOwnMounts(), so that nothing stays behind whatever happens.
class DiskImage
{
public:
    // `maker` and its options, such as "mkfs.ext4 -q -O ^has_journal". Throws where it fails.
    DiskImage(const std::string &folder, const std::string &maker, long long size);

    void mount(const std::string &options = "");
    void unmount();
    std::string operator/(const std::string &name) const { return place_ + "/" + name; }
    const std::string &place() const { return place_; }

    // Where on the drive these bytes are, beginning with the first; what was not written yet is
    // written before.
    std::optional<long long> find(const std::string &bytes) const;
    // Only while it is not mounted.
    void plant(long long offset, const std::string &bytes) const;
    std::string read(long long offset, std::size_t size) const;

private:
    std::string image_;
    std::string place_;
};

} // namespace talo::test
