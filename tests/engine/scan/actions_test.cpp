#include "scan/actions.h"

#include "engine/files/sandbox.h"
#include "files/safeopen.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;

TEST(ThreatClasses, followFromPlaceAndName)
{
    EXPECT_EQ(classOf("/home/u/a", "Eicar-Test"), ThreatClass::Infected);
    EXPECT_EQ(classOf("/home/u/a.b/c..d", "Eicar-Test"), ThreatClass::Infected);
    EXPECT_EQ(classOf("/home/u/a", "Heuristics.Broken"), ThreatClass::Suspected);
    EXPECT_EQ(classOf("/home/u/a", "Not.Heuristics.Broken"), ThreatClass::Infected);
    EXPECT_EQ(classOf("/home/u/a", "PUA.Tool"), ThreatClass::Suspected);
    EXPECT_EQ(classOf("/home/u/a", "Win.PUA.Tool.UNOFFICIAL"), ThreatClass::Suspected);
    EXPECT_EQ(classOf("/home/u/.a", "Eicar-Test"), ThreatClass::Hidden);
    EXPECT_EQ(classOf("/home/.u/d/a", "Heuristics.Broken"), ThreatClass::Hidden);
    EXPECT_EQ(classOf("/.a", "PUA.Tool"), ThreatClass::Hidden);
}

TEST(ClassActionsTest, belongToTheClass)
{
    ScanSettings settings;
    settings.infected = {Action::Delete, Action::Report};
    settings.suspected = {Action::Report, Action::Report};
    settings.hidden = {Action::Disinfect, Action::Delete};
    EXPECT_EQ(&actionsFor(ThreatClass::Infected, settings), &settings.infected);
    EXPECT_EQ(&actionsFor(ThreatClass::Suspected, settings), &settings.suspected);
    EXPECT_EQ(&actionsFor(ThreatClass::Hidden, settings), &settings.hidden);
}

namespace
{

struct Row {
    Action first;
    Action second;
    std::string outcome; // the quarantine's id left out
    bool removable;
    bool remains;
};

const Disinfection kNoDisinfection({}, {}, [] { return false; });
const std::string kMoved = "moved to quarantine ()";
const std::string kStill = "could not be deleted: permission denied; still there";

const Row kRows[] = {
    {Action::Report, Action::Delete, "reported only", true, true},
    {Action::Delete, Action::Report, kMoved, true, false},
    {Action::Delete, Action::Report, kStill, false, true},
    {Action::Delete, Action::Delete, kStill, false, true},
    {Action::Disinfect, Action::Delete, kMoved, true, false},
    {Action::Disinfect, Action::DisinfectOrDelete, kMoved, true, false},
    {Action::Disinfect, Action::Report, "reported only", true, true},
    {Action::Disinfect, Action::Delete, kStill, false, true},
    {Action::DisinfectOrDelete, Action::Report, kMoved, true, false},
    {Action::DisinfectOrDelete, Action::Report, kStill, false, true},
    {Action::Disinfect, Action::Disinfect, "could not be disinfected; still there", true, true},
};

// As an ordinary user, whose files lie in a folder that takes no change where not removable.
std::string outcomeOf(const Row &row, const std::string &folder)
{
    const std::string home = folder + "/home";
    mkdir(home.c_str(), 0755);
    writeFile(home + "/evil", "EVIL");
    Quarantine quarantine(folder + "/vault");
    const auto place = talo::files::openFolderAsPlace(AT_FDCWD, home);
    const auto content = talo::files::openForReading(AT_FDCWD, home + "/evil");
    chmod(home.c_str(), row.removable ? 0755 : 0555);
    std::string text =
        actOn({place->fd.get(), "evil", content->fd.get(), home + "/evil", "Test.Virus"},
              {row.first, row.second}, quarantine, kNoDisinfection);
    chmod(home.c_str(), 0755); // to be removed
    const std::size_t id = text.find('(');
    if (id != text.npos)
        text.erase(id + 1, text.find(')') - id - 1);
    if (exists(home + "/evil") != row.remains)
        text += row.remains ? ", but it is gone" : ", but it is there";
    const bool copied = !quarantine.list().empty();
    if (copied == row.remains)
        text += copied ? ", and a copy is kept" : ", and no copy is kept";
    return text;
}

} // namespace

TEST(Actions, areDoneInTheirOrder)
{
    for (const Row &row : kRows) {
        const TempFolder folder;
        chmod(folder.path().c_str(), 0777);
        EXPECT_EQ(asNobody([&] { return outcomeOf(row, folder.path()); }), row.outcome)
            << static_cast<int>(row.first) << ", " << static_cast<int>(row.second);
    }
}

TEST(Actions, tellOfOtherNames)
{
    const TempFolder folder;
    Quarantine quarantine(folder / "vault");
    for (const int others : {1, 2}) {
        writeFile(folder / "evil", "EVIL");
        for (int i = 0; i < others; ++i) {
            const std::string other = folder / ("other" + std::to_string(others * 10 + i));
            ASSERT_EQ(link((folder / "evil").c_str(), other.c_str()), 0);
        }
        const auto place = talo::files::openFolderAsPlace(AT_FDCWD, folder.path());
        const auto content = talo::files::openForReading(AT_FDCWD, folder / "evil");
        const std::string text =
            actOn({place->fd.get(), "evil", content->fd.get(), folder / "evil", "Test.Virus"},
                  {Action::Delete, Action::Report}, quarantine, kNoDisinfection);
        EXPECT_NE(text.find(others == 1 ? "; one other name of this file is still there"
                                        : "; 2 other names of this file are still there"),
                  text.npos)
            << text;
    }
}
