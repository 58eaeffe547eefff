// A private folder that vanishes with the test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "talo-store-XXXXXX";
        path_ = mkdtemp(name.data()) == nullptr ? std::string() : name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};
