// The entries of a folder, a buffer at a time, from any position on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace talo::scan
{

class FolderReader
{
public:
    struct Entry {
        std::string name;
        unsigned char type = 0; // DT_REG and its like; DT_UNKNOWN where the file system is silent
    };
    enum class Answer { Entry, End, Error };

    // Gives the next entry of the folder; "." and ".." are left out. On Error errno says why.
    Answer next(int folder, Entry &entry);

    // Frees the buffer. To go on, open the folder again and call resume().
    void suspend();
    bool resume(int folder); // false: errno says why

private:
    std::vector<char> buffer_;
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
    std::int64_t position_ = 0; // in the folder, behind the last entry given
};

} // namespace talo::scan
