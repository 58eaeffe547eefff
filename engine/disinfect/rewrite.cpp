#include "disinfect/rewrite.h"

#include "disinfect/archive.h"
#include "disinfect/office.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <wchar.h>

namespace talo::disinfect
{

namespace
{

using scan::disinfection::Fate;

constexpr std::size_t kMaxList = std::size_t{4} << 20u; // of an office document, bytes

struct EntryFree {
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};
using OwnEntry = std::unique_ptr<archive_entry, EntryFree>;

// Names are bytes whose meaning an archive does not always tell. Only those are written again of
// which it is certain.
std::string nameOf(archive_entry *entry)
{
    const char *name = archive_entry_pathname(entry);
    const bool known = name && *name != '\0' && mbstowcs(nullptr, name, 0) != std::size_t(-1);
    if (!known)
        throw Refusal("it holds names in an unknown encoding");
    return name;
}

bool isFile(archive_entry *entry)
{
    return archive_entry_filetype(entry) == AE_IFREG && !archive_entry_hardlink(entry);
}

std::string listIn(ArchiveReader &reader)
{
    std::string text;
    reader.read([&](const char *data, std::size_t size) {
        if (text.size() + size > kMaxList)
            throw Refusal("the document's lists of its parts are too long");
        text.append(data, size);
    });
    return text;
}

// Nothing where the archive is no office document.
std::optional<OfficeDocument> lookForDocument(int original)
{
    ArchiveReader reader(original);
    OfficeDocument document;
    bool isDocument = false;
    bool first = true;
    std::uint32_t parts = 0;
    while (archive_entry *entry = reader.next()) {
        if (++parts > scan::disinfection::kMaxParts)
            throw Refusal("it has too many parts");
        const std::string name = nameOf(entry);
        // Documents whose lists of parts are of another making.
        if (first && reader.isZip() && name == "mimetype")
            throw Refusal("no part of a document of this kind can be missing");
        first = false;
        if (!reader.isZip())
            return std::nullopt;
        if (name == kContentTypes) {
            isDocument = true;
            document.noteContentTypes(listIn(reader));
        } else if (isRelations(name)) {
            document.noteRelations(name, listIn(reader));
        }
    }
    return isDocument ? std::optional<OfficeDocument>(std::move(document)) : std::nullopt;
}

class Rewriter
{
public:
    Rewriter(const Files &files, const Ask &ask, const std::optional<OfficeDocument> &document)
        : files_(files), ask_(ask), document_(document), reader_(files.original)
    {
    }

    std::uint32_t run()
    {
        while (archive_entry *entry = reader_.next()) {
            if (++parts_ > scan::disinfection::kMaxParts)
                throw Refusal("it has too many parts");
            if (!writer_)
                writer_.emplace(files_.result, reader_);
            take(entry, nameOf(entry));
        }
        if (!writer_)
            throw Refusal("it holds nothing");
        writer_->close();
        if (removed_ == 0)
            throw Refusal("no part of it alone is infected");
        if (kept_ == 0)
            throw Refusal("all of it is infected");
        return removed_;
    }

private:
    void take(archive_entry *entry, const std::string &name)
    {
        const OwnEntry copy(archive_entry_clone(entry));
        if (!copy)
            throw std::bad_alloc();
        if (!isFile(entry)) {
            const char *target = archive_entry_hardlink(entry);
            if (target && dropped_.count(target) != 0)
                dropped_.insert(name); // another name of what went
            else
                writer_->begin(copy.get());
            return;
        }
        if (document_ && document_->isMacro(name)) {
            drop(name);
        } else if (document_ && name == kContentTypes) {
            writeList(copy.get(), document_->contentTypesWithout(listIn(reader_)));
        } else if (document_ && isRelations(name)) {
            writeList(copy.get(), document_->relationsWithout(name, listIn(reader_)));
        } else {
            const std::uint64_t size = hold();
            if (ask_() == Fate::Keep)
                keep(copy.get(), size);
            else if (document_)
                throw Refusal("a part that the document cannot be without is infected");
            else
                drop(name);
        }
    }

    void drop(const std::string &name)
    {
        ++removed_;
        dropped_.insert(name);
    }

    void writeList(archive_entry *entry, const std::string &text)
    {
        archive_entry_set_size(entry, static_cast<la_int64_t>(text.size()));
        writer_->begin(entry);
        writer_->write(text.data(), text.size());
    }

    // Unpacks the part into the memory for it.
    std::uint64_t hold()
    {
        std::uint64_t size = 0;
        if (ftruncate(files_.part, 0) != 0)
            throw Refusal("a part cannot be held in memory");
        reader_.read([&](const char *data, std::size_t count) {
            if (size + count > scan::disinfection::kMaxPart)
                throw Refusal("a part of it is too large");
            while (count > 0) {
                const ssize_t done = pwrite(files_.part, data, count, static_cast<off_t>(size));
                if (done < 0 && errno == EINTR)
                    continue;
                if (done <= 0)
                    throw Refusal("a part cannot be held in memory");
                data += done;
                size += static_cast<std::uint64_t>(done);
                count -= static_cast<std::size_t>(done);
            }
        });
        return size;
    }

    void keep(archive_entry *entry, std::uint64_t size)
    {
        ++kept_;
        archive_entry_set_size(entry, static_cast<la_int64_t>(size));
        archive_entry_sparse_clear(entry);
        writer_->begin(entry);
        std::string piece(65536, '\0');
        for (std::uint64_t done = 0; done < size;) {
            const ssize_t count =
                pread(files_.part, piece.data(), std::min<std::uint64_t>(piece.size(), size - done),
                      static_cast<off_t>(done));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                throw Refusal("a part cannot be held in memory");
            writer_->write(piece.data(), static_cast<std::size_t>(count));
            done += static_cast<std::uint64_t>(count);
        }
    }

    const Files files_;
    const Ask &ask_;
    const std::optional<OfficeDocument> &document_;
    ArchiveReader reader_;
    std::optional<ArchiveWriter> writer_;
    std::set<std::string> dropped_;
    std::uint32_t parts_ = 0;
    std::uint32_t removed_ = 0;
    std::uint32_t kept_ = 0;
};

} // namespace

std::uint32_t rewrite(const Files &files, const Ask &ask)
{
    const std::optional<OfficeDocument> document = lookForDocument(files.original);
    return Rewriter(files, ask, document).run();
}

} // namespace talo::disinfect
