// A private folder for temporary files, gone with its owner.
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

private:
    std::string path_;
    files::UniqueFd fd_;
};

} // namespace talo::scan
