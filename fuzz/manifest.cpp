// The description of a release, signed: only then it is looked into.
#include "target.h"

#include "update/productaddress.h"
#include "update/productmanifest.h"
#include "update/productversion.h"

#include <array>
#include <sodium.h>

namespace
{

struct Signer {
    talo::update::ReleaseKey open{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secret{};

    Signer()
    {
        const std::array<unsigned char, crypto_sign_SEEDBYTES> seed{};
        talo::fuzz::require(sodium_init() >= 0);
        crypto_sign_seed_keypair(open.data(), secret.data(), seed.data());
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    static const Signer signer;
    std::array<char, update::kSignatureSize> signature{};
    crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr, data, size,
                         signer.secret.data());
    const auto release = update::readManifest(fuzz::textOf(data, size),
                                              {signature.data(), signature.size()}, signer.open);
    if (!release)
        return 0;
    fuzz::require(release->size > 0 && release->size <= update::kLargestPackage);
    fuzz::require(update::compareVersions(release->version, release->version) == 0);
    const auto address = update::releaseAddress("https://example.org/talo/", release->package);
    fuzz::require(!address || update::isReleaseAddress(*address));
    return 0;
}
