// Finds the files below some places, in a bounded amount of memory and open folders.
//
// Symbolic links are not followed, but for a root that is one. Pseudo and network file systems are
// left out unless a root lies on one. Each file counts once, however many names it has.
#pragma once

#include "files/identity.h"
#include "files/safeopen.h"
#include "files/uniquefd.h"
#include "scan/folderreader.h"
#include "scan/inodeset.h"
#include "scan/mounts.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talo::scan
{

class Walk
{
public:
    enum class Purpose {
        Scan,  // files are opened
        Count, // files are looked at by name alone
    };

    enum class Kind {
        File,    // to be scanned
        Skipped, // passed over; the reason says why
        Error,   // could not be opened; the reason says why
        Step,    // nothing to take down: a moment to look around
        End,     // no more will come
    };

    struct Found {
        Kind kind = Kind::End;
        std::string path; // bytes
        std::string reason;
        files::UniqueFd fd;                      // of a File, when scanning
        struct stat status = {};                 // of a File
        std::shared_ptr<files::UniqueFd> folder; // where it lies, to work in by name
        std::string name;                        // in that folder
    };

    // `roots` are absolute paths; what is one of `leaveOut` is not entered.
    Walk(std::vector<std::string> roots, std::vector<files::Identity> leaveOut, Purpose purpose);
    Walk(const Walk &) = delete;
    Walk &operator=(const Walk &) = delete;

    Found next();

    std::size_t rootsOpened() const { return rootsOpened_; }
    // Why the first root that could not be opened could not, in words.
    const std::string &rootFailure() const { return rootFailure_; }

private:
    struct Frame {
        std::shared_ptr<files::UniqueFd> fd; // none while too many others are open
        files::Identity identity;
        FolderReader reader;
        std::size_t pathLength = 0;
        bool finished = false;
    };
    enum class Place { Root, Inside };

    Found beginRoot(const std::string &root);
    files::Result<Found> visitRoot(const std::string &real);
    Found failRoot(const std::string &root, const std::string &reason);
    Found continueFolder();
    Found leaveFolder();
    // An error here may mean that the entry is gone.
    files::Result<Found> visit(const std::shared_ptr<files::UniqueFd> &folder,
                               const std::string &name, unsigned char type, Place place);
    files::Result<Found> visitFile(const std::shared_ptr<files::UniqueFd> &folder,
                                   const std::string &name);
    files::Result<Found> visitFolder(int parent, const std::string &name, Place place);
    files::Result<Found> enter(files::OpenedFile opened, std::string path);

    std::string pathOf(const std::string &name) const;
    bool isLeftOut(const files::Identity &identity) const;
    void closeMiddleFrame();

    std::vector<std::string> roots_;
    std::vector<files::Identity> leaveOut_;
    Purpose purpose_;
    std::size_t nextRoot_ = 0;
    std::size_t rootsOpened_ = 0;
    std::string rootFailure_;
    Mounts mounts_;
    InodeSet seen_;
    std::vector<Frame> frames_;
    std::string path_; // of the folder on top
};

} // namespace talo::scan
