#include "disinfect/archive.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::disinfect
{

namespace
{

constexpr std::size_t kBuffer = 65536;

[[noreturn]] void damaged()
{
    throw Refusal("it is damaged, or made in a way that is not understood");
}

// libarchive also finds a zip archive behind a program that unpacks it. Such a program would be
// lost, so only what begins as an archive counts.
bool beginsAsZip(int fd)
{
    char start[4] = {};
    return pread(fd, start, sizeof start, 0) == 4 && std::memcmp(start, "PK\3\4", 4) == 0;
}

// Filters that libarchive does by starting another program answer with a warning, and are no use.
void mustBe(int result)
{
    if (result != ARCHIVE_OK)
        throw Refusal("the archive library lacks a format");
}

} // namespace

ArchiveReader::ArchiveReader(int fd) : fd_(fd), buffer_(kBuffer, '\0'), archive_(archive_read_new())
{
    if (!archive_)
        throw std::bad_alloc();
    if (beginsAsZip(fd)) {
        mustBe(archive_read_support_format_zip_seekable(archive_));
    } else {
        mustBe(archive_read_support_format_tar(archive_));
        mustBe(archive_read_support_filter_gzip(archive_));
        mustBe(archive_read_support_filter_bzip2(archive_));
        mustBe(archive_read_support_filter_xz(archive_));
    }
    archive_read_set_callback_data(archive_, this);
    archive_read_set_read_callback(archive_, readMore);
    archive_read_set_skip_callback(archive_, skip);
    archive_read_set_seek_callback(archive_, seek);
    if (archive_read_open1(archive_) != ARCHIVE_OK) {
        archive_read_free(archive_);
        throw Refusal("parts can be removed from zip and tar archives and from office documents "
                      "only");
    }
}

ArchiveReader::~ArchiveReader()
{
    archive_read_free(archive_);
}

archive_entry *ArchiveReader::next()
{
    archive_entry *entry = nullptr;
    const int result = archive_read_next_header(archive_, &entry);
    if (result == ARCHIVE_EOF)
        return nullptr;
    if (result != ARCHIVE_OK) {
        if (format() == 0)
            throw Refusal("parts can be removed from zip and tar archives and from office "
                          "documents only");
        damaged();
    }
    if (archive_entry_is_encrypted(entry))
        throw Refusal("it is encrypted");
    return entry;
}

void ArchiveReader::read(const std::function<void(const char *, std::size_t)> &take)
{
    std::string piece(kBuffer, '\0');
    for (;;) {
        const la_ssize_t count = archive_read_data(archive_, piece.data(), piece.size());
        if (count < 0)
            damaged();
        if (count == 0)
            return;
        take(piece.data(), static_cast<std::size_t>(count));
    }
}

bool ArchiveReader::isZip() const
{
    return (format() & ARCHIVE_FORMAT_BASE_MASK) == ARCHIVE_FORMAT_ZIP;
}

la_ssize_t ArchiveReader::readMore(archive *archive, void *self, const void **data)
{
    auto *reader = static_cast<ArchiveReader *>(self);
    ssize_t count = 0;
    do
        count =
            pread(reader->fd_, reader->buffer_.data(), reader->buffer_.size(), reader->position_);
    while (count < 0 && errno == EINTR);
    if (count < 0) {
        archive_set_error(archive, errno, "cannot be read");
        return ARCHIVE_FATAL;
    }
    reader->position_ += count;
    *data = reader->buffer_.data();
    return count;
}

la_int64_t ArchiveReader::skip(archive *, void *self, la_int64_t count)
{
    auto *reader = static_cast<ArchiveReader *>(self);
    struct stat status = {};
    if (count < 0 || fstat(reader->fd_, &status) != 0 || count > status.st_size - reader->position_)
        return 0; // then it is read, and the end is found
    reader->position_ += count;
    return count;
}

la_int64_t ArchiveReader::seek(archive *, void *self, la_int64_t offset, int whence)
{
    auto *reader = static_cast<ArchiveReader *>(self);
    struct stat status = {};
    if (fstat(reader->fd_, &status) != 0)
        return ARCHIVE_FATAL;
    std::int64_t base = 0;
    if (whence == SEEK_CUR)
        base = reader->position_;
    else if (whence == SEEK_END)
        base = status.st_size;
    std::int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0)
        return ARCHIVE_FATAL;
    reader->position_ = target;
    return target;
}

ArchiveWriter::ArchiveWriter(int fd, const ArchiveReader &like) : archive_(archive_write_new())
{
    if (!archive_)
        throw std::bad_alloc();
    if (like.isZip()) {
        check(archive_write_set_format_zip(archive_));
        check(archive_write_set_bytes_in_last_block(archive_, 1));
    } else {
        check(like.format() == ARCHIVE_FORMAT_TAR_GNUTAR
                  ? archive_write_set_format_gnutar(archive_)
                  : archive_write_set_format_pax_restricted(archive_));
        if (like.filter() != ARCHIVE_FILTER_NONE)
            check(archive_write_add_filter(archive_, like.filter()));
    }
    check(archive_write_open_fd(archive_, fd));
}

ArchiveWriter::~ArchiveWriter()
{
    archive_write_free(archive_);
}

void ArchiveWriter::begin(archive_entry *entry)
{
    check(archive_write_header(archive_, entry));
}

void ArchiveWriter::write(const char *data, std::size_t size)
{
    const la_ssize_t count = archive_write_data(archive_, data, size);
    if (count != static_cast<la_ssize_t>(size))
        check(ARCHIVE_FATAL);
}

void ArchiveWriter::close()
{
    check(archive_write_close(archive_));
}

// A warning would be about something that could not be kept as it was.
void ArchiveWriter::check(int result) const
{
    if (result != ARCHIVE_OK)
        throw Refusal("what is clean in it cannot be written again as it was");
}

} // namespace talo::disinfect
