#include "store/passwordhash.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <sodium.h>
#include <sys/mman.h>

namespace talo::store
{

namespace
{

constexpr std::size_t kRandomLength = 12;
// Without 0 and O, 1, l and I.
constexpr std::string_view kReadable = "abcdefghijkmnopqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789";

struct Cost {
    unsigned long long operations;
    std::size_t memory;
};
constexpr std::array<Cost, 2> kCosts{{
    {crypto_pwhash_OPSLIMIT_MODERATE, crypto_pwhash_MEMLIMIT_MODERATE},
    {crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE},
}};

bool ready()
{
    static const bool initialised = sodium_init() >= 0;
    return initialised;
}

// The memory that a hash asks for, from its "…$m=262144,t=3,p=1$…"; 0 if it does not say.
std::size_t memoryOf(const std::string &hash)
{
    constexpr std::string_view kMark = "$m=";
    constexpr std::size_t kMost = 4UL << 20; // KiB
    const std::size_t at = hash.find(kMark);
    if (at == std::string::npos)
        return 0;
    const unsigned long kib = std::strtoul(hash.c_str() + at + kMark.size(), nullptr, 10);
    return kib > kMost ? 0 : kib * 1024;
}

bool memoryIsGiven(std::size_t size)
{
    void *const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_ANONYMOUS | MAP_PRIVATE, -1, 0);
    if (memory == MAP_FAILED)
        return false;
    munmap(memory, size);
    return true;
}

} // namespace

std::string hashPassword(const Secret &password)
{
    if (!ready())
        return std::string();
    const std::string_view text = password.view();
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    for (const Cost &cost : kCosts)
        if (crypto_pwhash_str(hash.data(), text.data(), text.size(), cost.operations,
                              cost.memory) == 0)
            return hash.data();
    return std::string();
}

Match matchesHash(const Secret &password, const std::string &hash)
{
    // The check reads all of a buffer of this size, whatever the text's length.
    std::array<char, crypto_pwhash_STRBYTES> buffer{};
    const std::size_t memory = memoryOf(hash);
    if (!ready() || memory == 0 || hash.size() >= buffer.size())
        return Match::Failed;
    hash.copy(buffer.data(), hash.size());
    if (crypto_pwhash_str_needs_rehash(buffer.data(), crypto_pwhash_OPSLIMIT_MODERATE,
                                       crypto_pwhash_MEMLIMIT_MODERATE) < 0)
        return Match::Failed;
    const std::string_view text = password.view();
    if (crypto_pwhash_str_verify(buffer.data(), text.data(), text.size()) == 0)
        return Match::Yes;
    // libsodium says the same of a wrong password and of refused memory. The user must not be
    // told the first, nor slowed down for it, where it is the second.
    return memoryIsGiven(memory) ? Match::No : Match::Failed;
}

Secret randomPassword()
{
    std::array<char, kRandomLength> text{};
    if (!ready())
        std::abort(); // without randomness there must be no password
    for (char &letter : text)
        letter = kReadable[randombytes_uniform(static_cast<uint32_t>(kReadable.size()))];
    Secret password({text.data(), text.size()});
    wipe(text.data(), text.size());
    return password;
}

} // namespace talo::store
