// Passwords as they are stored, and new ones.
#pragma once

#include "store/secret.h"

#include <string>

namespace talo::store
{

enum class Match { Yes, No, Failed };

// Argon2id with a salt of its own, as text. Takes about half a second and 256 MiB, or less of both
// where the machine does not give that much. Empty where it does not even give that.
std::string hashPassword(const Secret &password);

// Failed: the text is no such hash, or there was no memory to tell. Never a match then.
Match matchesHash(const Secret &password, const std::string &hash);

// Twelve characters that cannot be taken for each other when they are read or copied by hand.
Secret randomPassword();

} // namespace talo::store
