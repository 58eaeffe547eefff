// Reading and writing archives by descriptor, on libarchive. Failures are exceptions of type
// Refusal: a damaged archive may show its damage anywhere, and all that is left to do is to say so.
#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace talo::disinfect
{

// Why a file cannot be disinfected, in words.
class Refusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class ArchiveReader
{
public:
    // Reads by position: the descriptor's own position belongs to others as well.
    explicit ArchiveReader(int fd);
    ~ArchiveReader();
    ArchiveReader(const ArchiveReader &) = delete;
    ArchiveReader &operator=(const ArchiveReader &) = delete;

    // The next entry, or nothing at the end. Valid until the next call.
    archive_entry *next();
    // The content of the entry, piece by piece.
    void read(const std::function<void(const char *, std::size_t)> &take);

    bool isZip() const;
    int format() const { return archive_format(archive_); }
    int filter() const { return archive_filter_code(archive_, 0); }

private:
    static la_ssize_t readMore(archive *archive, void *self, const void **data);
    static la_int64_t skip(archive *archive, void *self, la_int64_t count);
    static la_int64_t seek(archive *archive, void *self, la_int64_t offset, int whence);

    const int fd_;
    std::int64_t position_ = 0;
    std::string buffer_;
    archive *archive_;
};

class ArchiveWriter
{
public:
    // In the format and with the compression of what was read, which must have had its first entry
    // read.
    ArchiveWriter(int fd, const ArchiveReader &like);
    ~ArchiveWriter();
    ArchiveWriter(const ArchiveWriter &) = delete;
    ArchiveWriter &operator=(const ArchiveWriter &) = delete;

    void begin(archive_entry *entry);
    void write(const char *data, std::size_t size);
    void close();

private:
    void check(int result) const;

    archive *archive_;
};

} // namespace talo::disinfect
