#include "files/shrednoise.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <openssl/evp.h>
#include <string_view>
#include <sys/random.h>

namespace talo::files
{

namespace
{

bool fromKernel(void *buffer, std::size_t size)
{
    auto *at = static_cast<unsigned char *>(buffer);
    while (size > 0) {
        const ssize_t got = getrandom(at, size, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        at += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace

void NoiseStream::Free::operator()(evp_cipher_ctx_st *context) const
{
    EVP_CIPHER_CTX_free(context); // overwrites the key as well
}

NoiseStream::NoiseStream()
{
    std::unique_ptr<evp_cipher_ctx_st, Free> context(EVP_CIPHER_CTX_new());
    std::array<unsigned char, 32> key{};
    const std::array<unsigned char, 16> counter{};
    if (context && fromKernel(key.data(), key.size()) &&
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_ctr(), nullptr, key.data(), counter.data()))
        context_ = std::move(context);
    explicit_bzero(key.data(), key.size());
}

bool NoiseStream::fill(void *buffer, std::size_t size)
{
    auto *at = static_cast<unsigned char *>(buffer);
    int written = 0;
    return context_ && size <= INT_MAX &&
           EVP_EncryptUpdate(context_.get(), at, &written, at, static_cast<int>(size)) == 1;
}

std::string noiseName(std::size_t length)
{
    // Both cases, so that FAT needs as much room for it as for a long name. 64 of them, so that a
    // byte chooses without preference.
    constexpr std::string_view kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
    std::string name(length, '\0');
    if (!fromKernel(name.data(), name.size()))
        return std::string();
    for (char &letter : name)
        letter = kLetters[static_cast<unsigned char>(letter) % kLetters.size()];
    return name;
}

} // namespace talo::files
