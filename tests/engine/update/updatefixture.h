// A release on a server, and an update of the program that looks there.
#pragma once

#include "engine/store/temporaryfolder.h"
#include "engine/update/releasemaker.h"
#include "engine/update/releaseserver.h"
#include "update/productupdate.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace talo::update
{

class UpdateFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        package_.resize(200000);
        for (std::size_t at = 0; at < package_.size(); ++at)
            package_[at] = static_cast<char>(at * 7 + at / 251);
        config_.folder = folder_.file("program-update");
        config_.installedVersion = "0.1.0";
        config_.key = test::testReleaseKey();
        config_.source = [this](std::string &) { return server_.address(); };
        config_.installer = {TALO_INSTALL_UPDATE, {"/bin/true"}};
        config_.limits.connect = std::chrono::seconds(2);
        config_.limits.stall = std::chrono::seconds(2);
        config_.limits.pause = std::chrono::milliseconds(10);
        publish();
    }

    // With right values for what a test has not changed.
    void publish() { publish(test::ReleaseText()); }
    void publish(test::ReleaseText release)
    {
        if (release.size == 0)
            release.size = package_.size();
        if (release.sha256.empty())
            release.sha256 = test::sha256Of(package_);
        manifest_ = release.text();
        serveManifest(manifest_, test::signRelease(manifest_));
        serve(package_);
    }
    void serveManifest(const std::string &manifest, const std::string &signature)
    {
        test::ReleaseServer::File file;
        file.content = manifest;
        server_.serve(name(), file);
        file.content = signature;
        server_.serve(name() + ".sig", file);
    }
    void serve(const std::string &content)
    {
        test::ReleaseServer::File file;
        file.content = content;
        server_.serve("package.deb", file);
    }
    static std::string name() { return std::string("release-") + thisArchitecture() + ".json"; }

    ProductProgress run(ProductUpdate::Want want = ProductUpdate::Want::Install)
    {
        if (!update_)
            update_ = std::make_unique<ProductUpdate>(config_);
        EXPECT_TRUE(update_->begin(want));
        return await();
    }
    ProductProgress await()
    {
        while (!isOver(update_->progress().state))
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return update_->progress();
    }
    bool awaitState(ProductState state)
    {
        while (update_->progress().state != state) {
            if (isOver(update_->progress().state))
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }
    // Whether anything was handed to the package tool.
    bool installed() const { return lastInstallation(config_.folder).has_value(); }
    static bool isRoot() { return geteuid() == 0; }

    TemporaryFolder folder_;
    test::ReleaseServer server_;
    std::string package_;
    std::string manifest_;
    ProductConfig config_;
    std::unique_ptr<ProductUpdate> update_;
};

// For SetUp(): only root's service installs.
#define NEEDS_ROOT()                                                                               \
    if (!isRoot())                                                                                 \
    GTEST_SKIP() << "needs root: only root's service installs packages"

} // namespace talo::update
