// A folder of a test's own, and children that try things with other rights.
#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

namespace talo::test
{

// Made below /tmp, open to all users, and removed with all that it holds.
class TempFolder
{
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline void writeFile(const std::string &path, const std::string &content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string readFile(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

inline bool exists(const std::string &path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

constexpr unsigned kNobody = 65534;

// Runs the function in a child process and gives what it returned, or how the child ended.
std::string inChild(const std::function<std::string()> &function);
// The same as an ordinary user, if this is root.
std::string asNobody(const std::function<std::string()> &function);
// The same with mounts of its own, that end with it. Needs root.
std::string withOwnMounts(const std::function<std::string()> &function);

bool isRoot();

} // namespace talo::test
