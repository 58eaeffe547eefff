#include "engine/update/releasemaker.h"

#include "update/productmanifest.h"

#include <array>
#include <sodium.h>

namespace talo::test
{

namespace
{

struct Pair {
    update::ReleaseKey open{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secret{};
};

// Made anew each time from a seed that everybody may know: it opens nothing but tests.
const Pair &pair()
{
    static const Pair made = [] {
        Pair fresh;
        std::array<unsigned char, crypto_sign_SEEDBYTES> seed{};
        seed.fill(0x54);
        if (sodium_init() < 0 ||
            crypto_sign_seed_keypair(fresh.open.data(), fresh.secret.data(), seed.data()) != 0)
            std::abort();
        return fresh;
    }();
    return made;
}

const unsigned char *bytes(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

} // namespace

update::ReleaseKey testReleaseKey()
{
    return pair().open;
}

std::string signRelease(const std::string &manifest)
{
    std::string signature(crypto_sign_BYTES, '\0');
    crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                         bytes(manifest), manifest.size(), pair().secret.data());
    return signature;
}

std::string sha256Of(const std::string &content)
{
    std::array<unsigned char, crypto_hash_sha256_BYTES> hash{};
    crypto_hash_sha256(hash.data(), bytes(content), content.size());
    std::string digits(2 * hash.size() + 1, '\0');
    sodium_bin2hex(digits.data(), digits.size(), hash.data(), hash.size());
    digits.pop_back();
    return digits;
}

std::string ReleaseText::text() const
{
    return "{\n  \"format\": 1,\n  \"product\": \"taloantivirus\",\n  \"version\": \"" + version +
           "\",\n  \"date\": \"" + date + "\",\n  \"notes\": \"" + notes +
           "\",\n  \"architecture\": \"" +
           (architecture.empty() ? update::thisArchitecture() : architecture) +
           "\",\n  \"package\": \"" + package + "\",\n  \"size\": " + std::to_string(size) +
           ",\n  \"sha256\": \"" + (sha256.empty() ? std::string(64, '0') : sha256) + "\"\n}\n";
}

} // namespace talo::test
