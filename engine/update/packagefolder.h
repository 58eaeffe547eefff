// The private folder in which a package is collected, checked and handed to the installer.
#pragma once

#include "files/result.h"
#include "files/uniquefd.h"
#include "update/productmanifest.h"

#include <atomic>
#include <string>

namespace talo::update
{

// Nobody else may look into it or change it, which is checked when it is opened: what was found
// right there stays so until it is installed.
class PackageFolder
{
public:
    // Makes the folder where it is missing.
    static files::Result<PackageFolder> open(const std::string &path);

    struct Partial {
        files::UniqueFd file;
        std::string validator; // of the server's file that the content is the beginning of
    };
    // What is there already of a release's package. What other releases left goes.
    files::Result<Partial> resume(const Release &release) const;
    // So that another run can go on where this one ends.
    void remember(const Release &release, const std::string &validator) const;

    // The path of the whole package, whose every byte has been found right. What is not right is
    // removed. `stop` ends the reading.
    files::Result<std::string> seal(const Partial &partial, const Release &release,
                                    const std::atomic<bool> &stop) const;

    void clear() const; // of packages, whole or not

private:
    PackageFolder(std::string path, files::UniqueFd folder)
        : path_(std::move(path)), folder_(std::move(folder))
    {
    }
    void sweep(const std::string &kept) const;

    std::string path_;
    files::UniqueFd folder_;
};

} // namespace talo::update
