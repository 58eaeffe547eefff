// The settings password, the flag that says whether it guards the settings, and wrong attempts.
#pragma once

#include "store/passwordhash.h"

#include <cstdint>
#include <functional>

namespace talo::store
{

class Database;

// May be used from any thread. What takes a password is slow by design.
class PasswordStore
{
public:
    static constexpr std::size_t kShortest = 6; // characters
    static constexpr std::size_t kLongest = 15;

    explicit PasswordStore(Database &database) : database_(database) {}

    // Texts about what could not be stored or computed go there; set it before the first use.
    void onFailure(std::function<void(const std::string &)> tell) { tell_ = std::move(tell); }

    enum class Answer { Yes, No, Failed };
    Answer exists();
    Answer isProtected();
    bool setProtected(bool on);

    // No: it is wrong, or there is none.
    Answer matches(const Secret &password);

    // The first ones as the interface numbers them.
    enum class Change { Done = 0, Differ = 1, Length = 2, Refused = 3, Failed = 4 };
    // Stores the first password. Refused: there is one.
    Change create(const Secret &password, const Secret &confirmation);
    // Refused: the current password is wrong, which is looked at first.
    Change change(const Secret &current, const Secret &password, const Secret &confirmation);
    // Puts another in the place of whatever password there is. False: there is none, or it cannot
    // be stored.
    bool replace(const std::string &hash);

    // How often in succession this user gave a wrong password; -1 when that cannot be read.
    std::int64_t wrongAttempts(std::uint32_t user);
    bool setWrongAttempts(std::uint32_t user, std::int64_t count);

private:
    bool read(std::string &hash, bool &on);
    Match match(const Secret &password, std::string &hash);
    void tell(const std::string &what);

    Database &database_;
    std::function<void(const std::string &)> tell_;
};

} // namespace talo::store
