// The sets of signatures that updates have brought: the one in use, the one before it, and at times
// one that is still being judged.
//
//     signatures/sets/ID/    the files of a set, never changed once it is complete
//     signatures/current     a link to the set in use
//     signatures/previous    a link to the one before
//
// A kill or a power cut at any point leaves `current` at a complete set.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <vector>

namespace talo::update
{

// May be used from any thread.
class SignatureSets
{
public:
    // Sets of which `inUse` says so are left where they are until another time.
    using InUse = std::function<bool(const std::string &set)>;
    explicit SignatureSets(std::string folder, InUse inUse = {});

    // Makes the folders, and removes what a run that was killed has left. Where there is no current
    // set any more but a previous one, that one is used again, and `notice` says so. Empty, or why
    // not.
    std::string open(std::string &notice);

    const std::string &folder() const { return folder_; }
    std::string workNote() const; // where a run notes its working folder, for open() to remove it
    std::string current() const;  // the folder that the link leads to; empty for none
    std::string previous() const; // never the same as current()

    // A new, empty folder for a set; one at a time.
    std::string begin(std::string &failure);
    // Makes the set of that folder the current one. Empty, or why not; then nothing has changed.
    std::string take(const std::string &set);
    void discard(const std::string &set);

    // Uses the previous set again, and forgets the current one. Empty, or why not.
    std::string fallBack();

private:
    std::string path(const char *name) const { return folder_ + "/" + name; }
    std::string target(const char *link) const;
    std::string point(const char *link, const std::string &set) const;
    void prune() const;

    const std::string folder_;
    const InUse inUse_;
    mutable std::recursive_mutex mutex_;
    std::string begun_;
};

// Copies the databases that came from a download, which are of the user `from`, into a set.
// Empty, or why not.
std::string takeDatabases(const std::string &download, const std::vector<std::string> &files,
                          uid_t from, const std::string &set);

} // namespace talo::update
