#include "scan/vaultobject.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace talo::scan
{

using files::Error;
using files::Result;

namespace
{

constexpr std::string_view kMagic = "TALOVLT\n";
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kHashSize = 32;
// magic, version, both lengths, key, content's hash and size; owner, group, mode; two times of two
// numbers, arrival; device, inode.
constexpr std::size_t kFixedSize = 8 + 3 * 4 + 2 * 32 + 8 + 3 * 4 + 5 * 8 + 2 * 8;
constexpr std::size_t kMaxPath = 131072; // longer than any path that a scan reaches
constexpr std::size_t kChunk = 262144;   // whole blocks of the cipher

class Writer
{
public:
    void bytes(const void *data, std::size_t size)
    {
        out_.append(static_cast<const char *>(data), size);
    }
    // Least byte first, whatever the machine.
    void number(std::uint64_t value, std::size_t size)
    {
        for (std::size_t i = 0; i < size; ++i)
            out_ += static_cast<char>((value >> (8 * i)) & 0xFFu);
    }
    std::string take() { return std::move(out_); }
    const std::string &text() const { return out_; }

private:
    std::string out_;
};

// Reads from a text whose length has been checked.
class Reader
{
public:
    explicit Reader(std::string_view text) : text_(text) {}
    std::string_view bytes(std::size_t size)
    {
        const std::string_view out = text_.substr(0, size);
        text_.remove_prefix(out.size());
        return out;
    }
    std::uint64_t number(std::size_t size)
    {
        std::uint64_t value = 0;
        const std::string_view digits = bytes(size);
        for (std::size_t i = 0; i < digits.size(); ++i)
            value |= std::uint64_t{static_cast<unsigned char>(digits[i])} << (8 * i);
        return value;
    }

private:
    std::string_view text_;
};

ContentHash hashOf(std::string_view text)
{
    ContentHash hash{};
    crypto_generichash(hash.data(), hash.size(),
                       reinterpret_cast<const unsigned char *>(text.data()), text.size(), nullptr,
                       0);
    return hash;
}

// Fewer bytes than asked for only at the end of the file.
Result<std::size_t> readAt(int fd, void *data, std::size_t size, std::uint64_t offset)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = pread(fd, static_cast<char *>(data) + done, size - done,
                                    static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return files::systemError(errno);
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Result<std::size_t> writeAt(int fd, const void *data, std::size_t size, std::uint64_t offset)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = pwrite(fd, static_cast<const char *>(data) + done, size - done,
                                     static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return files::systemError(errno);
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Error damaged()
{
    return {0, "its record in the quarantine is damaged"};
}

bool isTime(const timespec &time)
{
    return time.tv_nsec >= 0 && time.tv_nsec < 1'000'000'000;
}

// What a record may say, whoever wrote it.
bool isPlausible(const ObjectRecord &record)
{
    return !record.path.empty() && record.path.front() == '/' &&
           record.path.find('\0') == std::string::npos &&
           record.owner != std::numeric_limits<uid_t>::max() &&
           record.group != std::numeric_limits<gid_t>::max() &&
           (record.mode & ~mode_t{07777}) == 0 && isTime(record.accessed) &&
           isTime(record.modified);
}

ObjectRecord decodeFields(Reader &in, std::size_t pathLength, std::size_t threatLength)
{
    ObjectRecord record;
    std::memcpy(record.key.data(), in.bytes(record.key.size()).data(), record.key.size());
    std::memcpy(record.contentHash.data(), in.bytes(kHashSize).data(), kHashSize);
    record.contentSize = in.number(8);
    record.owner = static_cast<uid_t>(in.number(4));
    record.group = static_cast<gid_t>(in.number(4));
    record.mode = static_cast<mode_t>(in.number(4));
    for (timespec *time : {&record.accessed, &record.modified}) {
        time->tv_sec = static_cast<std::time_t>(in.number(8));
        time->tv_nsec = static_cast<long>(in.number(8));
    }
    record.arrival = static_cast<std::time_t>(in.number(8));
    record.identity.device = in.number(8);
    record.identity.inode = in.number(8);
    record.path = in.bytes(pathLength);
    record.threat = in.bytes(threatLength);
    return record;
}

} // namespace

ObjectKey newObjectKey()
{
    ObjectKey key{};
    randombytes_buf(key.data(), key.size());
    return key;
}

std::uint64_t encodedSize(std::size_t pathLength, std::size_t threatLength)
{
    return kFixedSize + pathLength + threatLength + kHashSize;
}

std::string encodeRecord(const ObjectRecord &record)
{
    Writer out;
    out.bytes(kMagic.data(), kMagic.size());
    out.number(kVersion, 4);
    out.number(record.path.size(), 4);
    out.number(record.threat.size(), 4);
    out.bytes(record.key.data(), record.key.size());
    out.bytes(record.contentHash.data(), record.contentHash.size());
    out.number(record.contentSize, 8);
    out.number(record.owner, 4);
    out.number(record.group, 4);
    out.number(record.mode, 4);
    for (const timespec &time : {record.accessed, record.modified}) {
        out.number(static_cast<std::uint64_t>(time.tv_sec), 8);
        out.number(static_cast<std::uint64_t>(time.tv_nsec), 8);
    }
    out.number(static_cast<std::uint64_t>(record.arrival), 8);
    out.number(record.identity.device, 8);
    out.number(record.identity.inode, 8);
    out.bytes(record.path.data(), record.path.size());
    out.bytes(record.threat.data(), record.threat.size());
    const ContentHash hash = hashOf(out.text());
    out.bytes(hash.data(), hash.size());
    return out.take();
}

std::optional<Error> writeRecord(int object, const ObjectRecord &record)
{
    const std::string text = encodeRecord(record);
    const auto written = writeAt(object, text.data(), text.size(), 0);
    if (!written)
        return written.error();
    return std::nullopt;
}

Result<ObjectRecord> readRecord(int object)
{
    struct stat status = {};
    if (fstat(object, &status) != 0)
        return files::systemError(errno);
    std::string text(kFixedSize, '\0');
    const auto got = readAt(object, text.data(), text.size(), 0);
    if (!got)
        return got.error();
    if (*got != text.size())
        return damaged();

    Reader start(text);
    if (start.bytes(kMagic.size()) != kMagic || start.number(4) != kVersion)
        return damaged();
    const std::size_t pathLength = start.number(4);
    const std::size_t threatLength = start.number(4);
    if (pathLength > kMaxPath || threatLength > kMaxThreatLength)
        return damaged();

    text.resize(encodedSize(pathLength, threatLength));
    const auto all = readAt(object, text.data(), text.size(), 0);
    if (!all)
        return all.error();
    if (*all != text.size())
        return damaged();
    const std::string_view hashed = std::string_view(text).substr(0, text.size() - kHashSize);
    const ContentHash hash = hashOf(hashed);
    if (std::memcmp(hash.data(), text.data() + hashed.size(), kHashSize) != 0)
        return damaged();

    Reader in(text);
    in.bytes(kMagic.size() + 3 * sizeof(std::uint32_t));
    ObjectRecord record = decodeFields(in, pathLength, threatLength);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (!isPlausible(record) || size < text.size() || record.contentSize != size - text.size())
        return damaged();
    return record;
}

Result<ContentHash> convertContent(Conversion conversion, const ObjectRecord &record, int in,
                                   std::uint64_t inOffset, int out, std::uint64_t outOffset)
{
    // No two objects share a key, so one nonce serves for all.
    const std::array<unsigned char, crypto_stream_xchacha20_NONCEBYTES> nonce{};
    crypto_generichash_state state;
    crypto_generichash_init(&state, nullptr, 0, kHashSize);
    std::vector<unsigned char> chunk(kChunk);
    for (std::uint64_t done = 0; done < record.contentSize;) {
        const std::size_t want = std::min<std::uint64_t>(kChunk, record.contentSize - done);
        const auto got = readAt(in, chunk.data(), want, inOffset + done);
        if (!got)
            return got.error();
        if (*got != want)
            return Error{0, "it became shorter while it was copied"};
        if (conversion == Conversion::MakeLive)
            crypto_generichash_update(&state, chunk.data(), want);
        crypto_stream_xchacha20_xor_ic(chunk.data(), chunk.data(), want, nonce.data(), done / 64,
                                       record.key.data());
        if (conversion == Conversion::MakeInert)
            crypto_generichash_update(&state, chunk.data(), want);
        const auto put = writeAt(out, chunk.data(), want, outOffset + done);
        if (!put)
            return put.error();
        done += want;
    }
    ContentHash hash{};
    crypto_generichash_final(&state, hash.data(), hash.size());
    return hash;
}

} // namespace talo::scan
