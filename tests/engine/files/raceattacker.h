// Somebody who owns a folder exchanges what lies in it, and the folder itself, while a mightier
// process works there.
#pragma once

#include "engine/files/sandbox.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>

namespace talo::test
{

// Exchanges two names in one step.
void exchange(const char *a, const char *b);

// In the attacker's home: "d", and "link", which leads to the victim's folder.
class AttackedFolder : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the attacker at home: it prepares once, and then goes on with its trick until the
    // test's end.
    void attack(const std::function<bool()> &prepare, const std::function<void()> &trick);

    TempFolder folder_;
    const std::string home_ = folder_ / "home";
    const std::string victim_ = folder_ / "victim/f"; // only its owner may reach it

private:
    pid_t attacker_ = 0;
};

} // namespace talo::test
