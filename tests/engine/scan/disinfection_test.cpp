#include "scan/actions.h"
#include "scan/disinfection.h"

#include "engine/files/sandbox.h"
#include "files/safeopen.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;

namespace
{

// Never written in one piece, so that no scanner takes the test for what it tests.
std::string eicar()
{
    return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$") + "EICAR-STANDARD-ANTIVIRUS-" +
           "TEST-FILE!$H+H*";
}

// Finds the test file where it stands in plain sight.
Verdict judgePlain(int fd, std::uint64_t size)
{
    std::string text(size, '\0');
    if (pread(fd, text.data(), size, 0) != static_cast<ssize_t>(size))
        return {VerdictKind::Error, "cannot be read"};
    if (text.find(eicar()) != text.npos)
        return {VerdictKind::Threat, "Eicar"};
    return {VerdictKind::Clean, {}};
}

const ClassActions kDisinfectOrReport{Action::Disinfect, Action::Report};
const ClassActions kDisinfectOrDelete{Action::DisinfectOrDelete, Action::Report};

class DisinfectionTest : public testing::Test
{
protected:
    bool run(const std::string &command) const
    {
        const std::string line = "cd '" + folder_.path() + "' && (" + command + ") >/dev/null 2>&1";
        return std::system(line.c_str()) == 0;
    }
    std::string act(const std::string &name, const ClassActions &actions = kDisinfectOrReport)
    {
        const auto place = talo::files::openFolderAsPlace(AT_FDCWD, folder_.path());
        const auto content = talo::files::openForReading(AT_FDCWD, folder_ / name);
        const Disinfection disinfection(config_, judge_, [this] { return stopped_; });
        return actOn({place->fd.get(), name, content->fd.get(), folder_ / name, "Eicar"}, actions,
                     quarantine_, disinfection);
    }
    std::string program(const std::string &script) const
    {
        const std::string path = folder_ / "program";
        writeFile(path, "#!/bin/sh\n" + script + "\n");
        chmod(path.c_str(), 0755);
        return path;
    }

    const TempFolder folder_;
    Quarantine quarantine_{folder_ / "vault"};
    DisinfectionConfig config_{TALO_BUILD_DIR "/bin/talo-disinfect"};
    Disinfection::Judge judge_ = judgePlain;
    bool stopped_ = false;
};

bool has(const std::string &text, const std::string &what)
{
    return text.find(what) != text.npos;
}

} // namespace

struct Packer {
    const char *name;
    const char *pack;
    const char *unpack;
};

class Archives : public DisinfectionTest, public testing::WithParamInterface<Packer>
{
};

TEST_P(Archives, keepTheirCleanMembers)
{
    const std::string archive = GetParam().name;
    const std::string clean = std::string(200000, 'c') + "\nclean\n";
    writeFile(folder_ / "clean", clean);
    writeFile(folder_ / "evil", eicar());
    ASSERT_TRUE(run(GetParam().pack + (" " + archive + " clean evil")));
    chmod(folder_.path().c_str(), 0777); // it is restored with its owner's rights
    ASSERT_TRUE(run("rm clean evil && chmod 640 " + archive));
    if (isRoot()) {
        ASSERT_EQ(chown((folder_ / archive).c_str(), 1234, 4321), 0);
    }
    struct stat before = {};
    ASSERT_EQ(stat((folder_ / archive).c_str(), &before), 0);
    const std::string original = readFile(folder_ / archive);

    const std::string outcome = act(archive);
    const auto kept = quarantine_.list();
    ASSERT_EQ(kept.size(), 1u) << outcome;
    EXPECT_EQ(outcome,
              "disinfected: 1 part removed, the original is in quarantine (" + kept[0].id + ")");
    struct stat after = {};
    ASSERT_EQ(stat((folder_ / archive).c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    ASSERT_TRUE(run(GetParam().unpack));
    EXPECT_EQ(readFile(folder_ / "clean"), clean);
    EXPECT_FALSE(exists(folder_ / "evil"));

    ASSERT_TRUE(run("rm " + archive));
    ASSERT_EQ(quarantine_.restore(kept[0].id).result, Quarantine::Result::Done);
    EXPECT_EQ(readFile(folder_ / archive), original);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, Archives,
                         testing::Values(Packer{"a.zip", "zip -q", "python3 -m zipfile -e a.zip ."},
                                         Packer{"a.tar", "tar cf", "tar xf a.tar"},
                                         Packer{"a.tar.gz", "tar czf", "tar xzf a.tar.gz"},
                                         Packer{"a.tar.bz2", "tar cjf", "tar xjf a.tar.bz2"},
                                         Packer{"a.tar.xz", "tar cJf", "tar xJf a.tar.xz"}),
                         [](const auto &packer) {
                             std::string name = packer.param.name + 2;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

TEST_F(DisinfectionTest, leavesToTheSecondActionWhatCannotDoWithoutItsParts)
{
    writeFile(folder_ / "plain", eicar());
    writeFile(folder_ / "clean", "clean");
    ASSERT_TRUE(run("cp plain evil; zip -q all.zip plain evil; zip -q -P x locked.zip plain clean;"
                    "zip -q whole.zip plain clean; head -c 150 whole.zip > cut.zip;"
                    "tar czf whole.tgz plain clean; head -c 60 whole.tgz > cut.tgz"));
    const std::pair<const char *, const char *> kRows[] = {
        {"plain", "parts can be removed from zip and tar archives and from office documents only"},
        {"all.zip", "all of it is infected"},
        {"locked.zip", "it is encrypted"},
        {"cut.zip", ""},
        {"cut.tgz", ""},
    };
    for (const auto &[name, reason] : kRows) {
        const std::string before = readFile(folder_ / name);
        const std::string outcome = act(name);
        EXPECT_TRUE(has(outcome, "could not be disinfected: ")) << name << ": " << outcome;
        EXPECT_TRUE(has(outcome, reason)) << name << ": " << outcome;
        EXPECT_EQ(readFile(folder_ / name), before) << name;
        EXPECT_TRUE(quarantine_.list().empty()) << name;
        const std::string second = act(name, kDisinfectOrDelete);
        EXPECT_TRUE(has(second, "moved to quarantine")) << name << ": " << second;
        EXPECT_FALSE(exists(folder_ / name)) << name;
        ASSERT_EQ(quarantine_.list().size(), 1u);
        quarantine_.purge(quarantine_.list()[0].id);
    }
}

TEST_F(DisinfectionTest, takesMacrosOutOfADocument)
{
    ASSERT_TRUE(run("mkdir -p word/_rels _rels"));
    writeFile(folder_ / "word/vbaProject.bin", eicar());
    writeFile(folder_ / "word/other.bin", "more macros under another name");
    writeFile(folder_ / "word/document.xml", "<document>text</document>");
    writeFile(folder_ / "[Content_Types].xml",
              "<?xml version=\"1.0\"?><Types><Default Extension=\"bin\" "
              "ContentType=\"application/vnd.ms-office.vbaProject\"/><Override "
              "PartName=\"/word/document.xml\" ContentType=\"main\"/><Override "
              "PartName=\"/word/vbaProject.bin\" ContentType=\"vbaProject\"></Override></Types>");
    writeFile(folder_ / "word/_rels/document.xml.rels",
              "<Relationships><Relationship Id=\"a\" Type=\"x/vbaProject\" "
              "Target=\"vbaProject.bin\"/><Relationship Id=\"b\" Type=\"x/vbaProject\" "
              "Target=\"../word/other.bin\"/><Relationship Id=\"c\" Type=\"x/image\" "
              "Target=\"image.png\"/></Relationships>");
    ASSERT_TRUE(run("zip -q -r d.docm '[Content_Types].xml' word && rm -r word"));
    const std::string outcome = act("d.docm");
    EXPECT_TRUE(has(outcome, "disinfected: 2 parts removed")) << outcome;
    ASSERT_TRUE(run("rm '[Content_Types].xml'; python3 -m zipfile -t d.docm &&"
                    "python3 -m zipfile -e d.docm ."));
    EXPECT_FALSE(exists(folder_ / "word/vbaProject.bin"));
    EXPECT_FALSE(exists(folder_ / "word/other.bin"));
    EXPECT_EQ(readFile(folder_ / "word/document.xml"), "<document>text</document>");
    EXPECT_EQ(readFile(folder_ / "[Content_Types].xml"),
              "<?xml version=\"1.0\"?><Types><Default Extension=\"bin\" "
              "ContentType=\"application/octet-stream\"/><Override "
              "PartName=\"/word/document.xml\" ContentType=\"main\"/></Types>");
    EXPECT_EQ(readFile(folder_ / "word/_rels/document.xml.rels"),
              "<Relationships><Relationship Id=\"c\" Type=\"x/image\" "
              "Target=\"image.png\"/></Relationships>");
}

TEST_F(DisinfectionTest, losesNothingWhenTheFileIsExchangedMeanwhile)
{
    writeFile(folder_ / "clean", "clean");
    writeFile(folder_ / "evil", eicar());
    ASSERT_TRUE(run("zip -q a.zip clean evil"));
    judge_ = [this](int fd, std::uint64_t size) {
        writeFile(folder_ / "another", "another");
        rename((folder_ / "another").c_str(), (folder_ / "a.zip").c_str());
        return judgePlain(fd, size);
    };
    const std::string outcome = act("a.zip");
    EXPECT_TRUE(has(outcome, "another file has its name now")) << outcome;
    EXPECT_EQ(readFile(folder_ / "a.zip"), "another");
    EXPECT_TRUE(quarantine_.list().empty());
}

TEST_F(DisinfectionTest, believesOnlyWhatIsFoundClean)
{
    writeFile(folder_ / "clean", "clean");
    writeFile(folder_ / "evil", eicar());
    ASSERT_TRUE(run("zip -q a.zip clean evil"));
    judge_ = [](int fd, std::uint64_t size) {
        char start[2] = {};
        const bool whole = pread(fd, start, 2, 0) == 2 && start[0] == 'P' && start[1] == 'K';
        return whole ? Verdict{VerdictKind::Skipped, "too deep"} : judgePlain(fd, size);
    };
    const std::string before = readFile(folder_ / "a.zip");
    EXPECT_TRUE(has(act("a.zip"), "what is left could not be judged: too deep"));
    EXPECT_EQ(readFile(folder_ / "a.zip"), before);
}

TEST_F(DisinfectionTest, outlivesAProgramThatFailsHangsOrIsMissing)
{
    writeFile(folder_ / "a.zip", "any");
    config_.program = program("kill -SEGV $$");
    EXPECT_TRUE(has(act("a.zip"), "the disinfecting program failed"));
    config_.program = program("exec sleep 1000");
    config_.time = std::chrono::milliseconds(200);
    EXPECT_TRUE(has(act("a.zip"), "it takes too long"));
    stopped_ = true;
    EXPECT_TRUE(has(act("a.zip", kDisinfectOrDelete), "the scan was stopped; still there"));
    EXPECT_TRUE(exists(folder_ / "a.zip"));
    stopped_ = false;
    config_.program = folder_ / "none";
    EXPECT_TRUE(has(act("a.zip"), "cannot be started"));
    // No child is left behind.
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}
