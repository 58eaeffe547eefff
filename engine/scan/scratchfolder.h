// A private folder for temporary files, gone with its owner; where the owner is killed, with the
// next one that begins.
#pragma once

#include "files/uniquefd.h"

#include <string>

namespace talo::scan
{

class ScratchFolder
{
public:
    ScratchFolder(); // check valid()
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    bool valid() const { return static_cast<bool>(fd_); }
    int fd() const { return fd_.get(); }

    // Once whoever works there has taken what it needs: a folder that nothing was put into goes,
    // and nothing of it is left behind whatever happens to the owner.
    void goIfUnused();

    // Removes those whose owners were killed.
    static void sweep();

private:
    std::string path_;
    files::UniqueFd fd_;
};

} // namespace talo::scan
