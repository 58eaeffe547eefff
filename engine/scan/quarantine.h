// Where deleted threats are kept, inert, until they are restored, purged or too old.
#pragma once

#include "files/result.h"
#include "files/uniquefd.h"

#include <cstdint>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace talo::scan
{

class Quarantine
{
public:
    // `folder` is made with mode 0700 if it does not exist.
    explicit Quarantine(std::string folder);

    const std::string &folder() const { return folder_; }

    // A file as it was scanned: the entry `name` of the open `folder`, and its open content.
    struct Catch {
        int folder = -1;
        std::string name;
        int content = -1;
        std::string path; // for the record
        std::string threat;
    };
    struct Kept {
        std::string id;
        nlink_t otherNames = 0; // hard links to the file that remain elsewhere
    };

    // Moves a file into the quarantine: its copy is safe on disk before the original goes. On an
    // error the original stays, and the text says why. Only the very file that is open goes.
    files::Result<Kept> take(const Catch &file);

    // The same, and puts `clean`, an open file without a name on the same file system, in the
    // original's place, with its owner, mode and times. `asRead` is what the original was when
    // `clean` was made from it: one that has changed since stays.
    files::Result<Kept> replace(const Catch &file, const struct stat &asRead, int clean);

    // Finishes or undoes what a kill interrupted in take(), replace() or restore(). Call once
    // before the first scan; it may take long when folders of quarantined files lie on slow drives.
    void recover();

    struct Object {
        std::string id;
        std::time_t time = 0; // of arrival
        std::string path;     // where it was taken from, bytes
        std::string threat;
        std::uint64_t size = 0;
    };

    // Newest first. Records that cannot be read are left out.
    std::vector<Object> list() const;

    enum class Result { Done, NotFound, Failed };
    struct Outcome {
        Result result = Result::Failed;
        std::string reason; // why it failed, in words
    };

    // Puts an object back where it was, with owner, mode and times; never over another file, and
    // never with more rights than its owner has.
    Outcome restore(const std::string &id);

    // Destroys an object for good.
    Outcome purge(const std::string &id);

    // Purges what arrived before the given time.
    void expire(std::time_t before);

private:
    using Remove = std::function<std::optional<files::Error>(const struct stat &status,
                                                             const std::string &id)>;
    files::Result<Kept> keep(const Catch &file, const Remove &remove);

    std::string folder_;
};

} // namespace talo::scan
