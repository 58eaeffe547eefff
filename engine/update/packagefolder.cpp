#include "update/packagefolder.h"

#include "update/productinstall.h"

#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace talo::update
{

namespace
{

constexpr std::size_t kLongestValidator = 256;
constexpr char kPart[] = ".part";
constexpr char kValidator[] = ".validator";
constexpr char kPackage[] = ".deb";

files::Error failure(const std::string &what)
{
    const files::Error reason = files::systemError(errno);
    return {reason.code, what + ": " + reason.text};
}

std::string stem(const Release &release)
{
    std::string digits(2 * release.sha256.size() + 1, '\0');
    sodium_bin2hex(digits.data(), digits.size(), release.sha256.data(), release.sha256.size());
    digits.pop_back();
    return digits;
}

bool endsWith(const std::string &name, const std::string &end)
{
    return name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
}

bool isOursAlone(int descriptor)
{
    struct stat status {
    };
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == geteuid() && status.st_nlink == 1;
}

files::Result<std::array<unsigned char, 32>> hashOf(int file, std::uint64_t size,
                                                    const std::atomic<bool> &stop)
{
    crypto_hash_sha256_state state;
    crypto_hash_sha256_init(&state);
    std::vector<unsigned char> block(std::size_t{1} << 18u);
    std::uint64_t offset = 0;
    while (!stop.load()) {
        const ssize_t count = pread(file, block.data(), block.size(), static_cast<off_t>(offset));
        if (count < 0)
            return failure("cannot read the download");
        if (count == 0)
            break;
        crypto_hash_sha256_update(&state, block.data(), static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
        if (offset > size)
            break;
    }
    if (offset != size)
        return files::Error{0, "the package has another size than the release says"};
    std::array<unsigned char, 32> hash{};
    crypto_hash_sha256_final(&state, hash.data());
    return hash;
}

} // namespace

files::Result<PackageFolder> PackageFolder::open(const std::string &path)
{
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return failure("cannot make the folder " + path);
    files::UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {
    };
    if (!folder || fstat(folder.get(), &status) != 0)
        return failure("cannot open the folder " + path);
    if (status.st_uid != geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return files::Error{0, "the folder " + path + " is not this service's alone"};
    return PackageFolder(path, std::move(folder));
}

files::Result<PackageFolder::Partial> PackageFolder::resume(const Release &release) const
{
    const std::string name = stem(release);
    sweep(name);
    Partial partial;
    partial.file.reset(openat(folder_.get(), (name + kPart).c_str(),
                              O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!partial.file)
        return failure("cannot write the download");
    if (!isOursAlone(partial.file.get()))
        return files::Error{0, "the folder " + path_ + " holds something else than the download"};
    const files::UniqueFd validator(
        openat(folder_.get(), (name + kValidator).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    std::array<char, kLongestValidator> text{};
    const ssize_t length = validator ? read(validator.get(), text.data(), text.size()) : 0;
    if (length > 0)
        partial.validator.assign(text.data(), static_cast<std::size_t>(length));
    return partial;
}

// Without it the next run begins anew, which is no fault.
void PackageFolder::remember(const Release &release, const std::string &validator) const
{
    const std::string name = stem(release) + kValidator;
    unlinkat(folder_.get(), name.c_str(), 0);
    if (validator.empty())
        return;
    const files::UniqueFd file(openat(folder_.get(), name.c_str(),
                                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                      S_IRUSR | S_IWUSR));
    if (file && write(file.get(), validator.data(), validator.size()) !=
                    static_cast<ssize_t>(validator.size()))
        unlinkat(folder_.get(), name.c_str(), 0);
}

files::Result<std::string> PackageFolder::seal(const Partial &partial, const Release &release,
                                               const std::atomic<bool> &stop) const
{
    const std::string part = stem(release) + kPart;
    const auto hash = hashOf(partial.file.get(), release.size, stop);
    if (stop.load())
        return files::Error{ECANCELED, "stopped"};
    if (!hash || *hash != release.sha256) {
        clear();
        return hash ? files::Error{0, "the package is not the one that the release names: its "
                                      "SHA-256 is another"}
                    : hash.error();
    }
    const std::string name =
        "taloantivirus_" + release.version + "_" + release.architecture + kPackage;
    if (fchmod(partial.file.get(), S_IRUSR) != 0 || fsync(partial.file.get()) != 0 ||
        renameat(folder_.get(), part.c_str(), folder_.get(), name.c_str()) != 0 ||
        fsync(folder_.get()) != 0)
        return failure("cannot keep the package");
    return path_ + '/' + name;
}

void PackageFolder::clear() const
{
    sweep(std::string());
}

void PackageFolder::sweep(const std::string &kept) const
{
    const int again = openat(folder_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *const opened = again >= 0 ? fdopendir(again) : nullptr;
    const std::unique_ptr<DIR, int (*)(DIR *)> list(opened, closedir);
    if (!list)
        return;
    std::vector<std::string> gone;
    while (const dirent *entry = readdir(list.get())) { // NOLINT(concurrency-mt-unsafe)
        const std::string name = entry->d_name;
        const bool ours =
            endsWith(name, kPart) || endsWith(name, kValidator) || endsWith(name, kPackage);
        // The package that is installed now is kept, under a name of its own.
        if (path_ + '/' + name == keptPackage(path_))
            continue;
        if (ours && (kept.empty() || name.compare(0, kept.size(), kept) != 0))
            gone.push_back(name);
    }
    for (const std::string &name : gone)
        unlinkat(folder_.get(), name.c_str(), 0);
}

} // namespace talo::update
