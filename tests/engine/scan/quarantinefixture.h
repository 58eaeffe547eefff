// A quarantine, and a folder from which files are taken into it.
#pragma once

#include "engine/files/sandbox.h"
#include "files/safeopen.h"
#include "scan/quarantine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace talo::test
{

// A scanned file, its folder and content open.
struct Scanned {
    Scanned(const std::string &folder, const std::string &name)
        : path(folder + "/" + name)
        , place(talo::files::openFolderAsPlace(AT_FDCWD, folder))
        , content(talo::files::openForReading(AT_FDCWD, path))
        , name_(name)
    {
    }
    talo::scan::Quarantine::Catch caught() const
    {
        return {place->fd.get(), name_, content->fd.get(), path, "Test.Threat"};
    }

    std::string path;
    talo::files::Result<talo::files::OpenedFile> place;
    talo::files::Result<talo::files::OpenedFile> content;

private:
    std::string name_;
};

inline struct stat statusOf(const std::string &path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

class QuarantineTest : public testing::Test
{
protected:
    QuarantineTest() : quarantine_(folder_ / "vault")
    {
        mkdir((folder_ / "home").c_str(), 0777);
        chmod((folder_ / "home").c_str(), 0777);
    }

    std::string home(const std::string &name) const { return folder_ / ("home/" + name); }

    talo::files::Result<talo::scan::Quarantine::Kept> take(const std::string &name)
    {
        return quarantine_.take(Scanned(folder_ / "home", name).caught());
    }

    std::string object(const std::string &id) const { return folder_ / ("vault/" + id + ".vault"); }

    std::size_t objects() const
    {
        const std::filesystem::directory_iterator entries(folder_ / "vault");
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    TempFolder folder_;
    talo::scan::Quarantine quarantine_;
};

} // namespace talo::test
