// Updates with a script in freshclam's place: what the real one cannot be made to bring here.
#include "update/signatureupdate.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::update
{

namespace
{

namespace fs = std::filesystem;

std::string official(unsigned version)
{
    return "ClamAV-VDB:21 Nov 2026 09-05 +0000:" + std::to_string(version) + ":1:90:X:X:me:1\n";
}

class Update : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = fs::temp_directory_path() / "talo-update-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        ASSERT_EQ(chmod(name.c_str(), 0777), 0);
        fs::create_directory(folder_ / "system");
        sets_ = std::make_unique<SignatureSets>(folder_ / "signatures");
        std::string notice;
        ASSERT_EQ(sets_->open(notice), "");
        task_.source.program = folder_ / "freshclam";
        task_.source.workFolder = folder_;
        task_.source.patience = std::chrono::seconds(5);
        task_.systemFolder = folder_ / "system";
        task_.tryOut = [this](const std::string &) {
            ++tried_;
            return verdict_;
        };
        task_.taken = [this] { ++taken_; };
    }
    void TearDown() override { fs::remove_all(folder_); }

    // What the script does in the folder that it downloads to.
    UpdateProgress update(const std::string &script)
    {
        std::ofstream(folder_ / "freshclam") << "#!/bin/sh\n" << script << "\n";
        EXPECT_EQ(chmod((folder_ / "freshclam").c_str(), 0755), 0);
        SignatureUpdate update(*sets_, task_);
        running_ = &update;
        UpdateProgress result = update.run();
        running_ = nullptr;
        coolDown_ = update.coolDownUntil();
        return result;
    }
    static std::string write(const std::string &file, const std::string &content)
    {
        return "printf '%s' '" + content + "' > " + file + "\n";
    }
    void begin(unsigned daily)
    {
        const auto done =
            update(write("main.cvd", official(62)) + write("daily.cvd", official(daily)));
        ASSERT_EQ(done.status, UpdateStatus::Done) << done.detail;
    }

    fs::path folder_;
    std::unique_ptr<SignatureSets> sets_;
    SignatureUpdate::Task task_;
    SignatureUpdate *running_ = nullptr;
    std::string verdict_;
    int tried_ = 0;
    int taken_ = 0;
    std::time_t coolDown_ = 0;
};

} // namespace

TEST_F(Update, TakesWhatIsNewer)
{
    begin(100);
    const std::string first = sets_->current();
    const auto result = update(write("daily.cld", official(101)) + "rm daily.cvd");
    EXPECT_EQ(result.status, UpdateStatus::Done) << result.detail;
    EXPECT_DOUBLE_EQ(result.percentage, 100);
    EXPECT_TRUE(fs::exists(sets_->current() + "/daily.cld"));
    EXPECT_FALSE(fs::exists(sets_->current() + "/daily.cvd"));
    EXPECT_EQ(sets_->previous(), first);
    EXPECT_EQ(taken_, 2);
}

TEST_F(Update, TakesNothingOlderGoneOrWithoutVersion)
{
    begin(100);
    const std::string set = sets_->current();
    const std::pair<std::string, const char *> downloads[] = {
        {write("daily.cvd", official(99)), "daily.cvd is older"},
        {"rm daily.cvd", "daily.cvd is gone"},
        {write("daily.cvd", "ClamAV-VDB:x"), "daily.cvd has no version"},
        {"> main.cvd", "main.cvd has no version"},
    };
    for (const auto &[script, says] : downloads) {
        const auto result = update(script);
        EXPECT_EQ(result.status, UpdateStatus::Failed);
        EXPECT_NE(result.detail.find(says), std::string::npos) << result.detail;
        EXPECT_EQ(sets_->current(), set);
    }
    EXPECT_EQ(tried_, 1);
    EXPECT_EQ(taken_, 1);
}

TEST_F(Update, TakesNothingThatFailsItsTrial)
{
    verdict_ = "they take a harmless text for a threat";
    const auto result = update(write("main.cvd", official(1)));
    EXPECT_EQ(result.status, UpdateStatus::Failed);
    EXPECT_NE(result.detail.find("harmless"), std::string::npos);
    EXPECT_EQ(sets_->current(), "");
    EXPECT_EQ(taken_, 0);
    EXPECT_TRUE(fs::is_empty(folder_ / "signatures" / "sets"));
}

TEST_F(Update, BeginsWithTheSystemsSet)
{
    std::ofstream(folder_ / "system" / "main.cvd") << official(62);
    EXPECT_EQ(update("exit 0").status, UpdateStatus::Latest);
    EXPECT_EQ(sets_->current(), "");
    EXPECT_EQ(update(write("daily.cvd", official(7))).status, UpdateStatus::Done);
    EXPECT_TRUE(fs::exists(sets_->current() + "/main.cvd"));
}

TEST_F(Update, LeavesAloneWhatDoesNotComeFromTheSource)
{
    begin(100);
    const auto result =
        update("ln -s /etc/passwd daily.cld; mkdir x.ndb; " + write("stray.ndb", "x\n"));
    EXPECT_EQ(result.status, UpdateStatus::Latest) << result.detail;
}

TEST_F(Update, IsNotMisledByACodeOfSuccess)
{
    const auto result = update("exit 0");
    EXPECT_EQ(result.status, UpdateStatus::Failed);
    EXPECT_EQ(result.detail, "the download brought no signatures");
}

TEST_F(Update, KnowsHowTheDownloadEnded)
{
    EXPECT_EQ(update("exit 5").status, UpdateStatus::Unreachable);
    EXPECT_EQ(update("exit 18").status, UpdateStatus::Unreachable);
    EXPECT_EQ(update("exit 8").status, UpdateStatus::Failed);
    EXPECT_EQ(update("kill -SEGV $$").status, UpdateStatus::Failed);
    task_.source.program = "/no/such/program";
    SignatureUpdate missing(*sets_, task_);
    EXPECT_NE(missing.run().detail.find("cannot be started"), std::string::npos);
}

TEST_F(Update, LeavesAServerAloneThatWantsIt)
{
    const std::string wish = "echo 'WARNING: You are on cool-down until after: ";
    EXPECT_EQ(update(wish + "2026-11-21 15:51:34'").status, UpdateStatus::Unreachable);
    EXPECT_GT(coolDown_, 0);
    task_.notBefore = std::time(nullptr) + 100;
    const auto result = update("touch " + (folder_ / "asked").string());
    EXPECT_EQ(result.status, UpdateStatus::Unreachable);
    EXPECT_FALSE(fs::exists(folder_ / "asked"));
    EXPECT_EQ(coolDown_, task_.notBefore);
}

TEST_F(Update, CanBeStoppedUntilItIsPutToUse)
{
    task_.tryOut = [this](const std::string &) {
        EXPECT_EQ(running_->progress().status, UpdateStatus::Checking);
        EXPECT_TRUE(running_->stop());
        return std::string();
    };
    EXPECT_EQ(update(write("main.cvd", official(1))).status, UpdateStatus::Stopped);
    EXPECT_EQ(sets_->current(), "");
    task_.tryOut = [](const std::string &) { return std::string(); };
    task_.taken = [this] { EXPECT_FALSE(running_->stop()); };
    EXPECT_EQ(update(write("main.cvd", official(1))).status, UpdateStatus::Done);
}

TEST_F(Update, KeepsWhoFreshclamIs)
{
    EXPECT_EQ(update(write("main.cvd", official(1)) + write("freshclam.dat", "me")).status,
              UpdateStatus::Done);
    EXPECT_EQ(update("grep -q me freshclam.dat && exit 0; exit 8").status, UpdateStatus::Latest);
}

TEST_F(Update, RunsAsSomebodyElseInAFolderOfItsOwn)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become somebody else";
    const std::string note = folder_ / "note";
    std::ofstream(note) << "";
    ASSERT_EQ(chmod(note.c_str(), 0666), 0);
    begin(100);
    update("(id -u; pwd; ls -ld . ; ls " + (folder_ / "signatures").string() + ") > " + note +
           " 2>&1");
    std::ifstream file(note);
    const std::string said{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(said.compare(0, 2, "0\n") == 0, false) << said;
    EXPECT_NE(said.find(folder_.string() + "/talo-update-"), std::string::npos) << said;
    EXPECT_NE(said.find("drwx------"), std::string::npos) << said;
    EXPECT_NE(said.find("Permission denied"), std::string::npos) << said;
}

} // namespace talo::update
