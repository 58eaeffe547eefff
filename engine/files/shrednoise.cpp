#include "files/shrednoise.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <gcrypt.h>
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

// Once a process, unless another part of it was first.
bool libraryIsReady()
{
    static const bool ready = [] {
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P) != 0)
            return true;
        if (gcry_check_version(GCRYPT_VERSION) == nullptr)
            return false;
        // Locked memory would be for keys that are kept.
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        return gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
    }();
    return ready;
}

} // namespace

void NoiseStream::Free::operator()(gcry_cipher_handle *cipher) const
{
    gcry_cipher_close(cipher); // overwrites the key as well
}

NoiseStream::NoiseStream()
{
    gcry_cipher_hd_t opened = nullptr;
    if (!libraryIsReady() ||
        gcry_cipher_open(&opened, GCRY_CIPHER_AES256, GCRY_CIPHER_MODE_CTR, 0) != 0)
        return;
    std::unique_ptr<gcry_cipher_handle, Free> cipher(opened);
    std::array<unsigned char, 32> key{};
    if (fromKernel(key.data(), key.size()) &&
        gcry_cipher_setkey(cipher.get(), key.data(), key.size()) == 0 &&
        gcry_cipher_setctr(cipher.get(), nullptr, 0) == 0) // from zero
        cipher_ = std::move(cipher);
    explicit_bzero(key.data(), key.size());
}

bool NoiseStream::fill(void *buffer, std::size_t size)
{
    return cipher_ && gcry_cipher_encrypt(cipher_.get(), buffer, size, nullptr, 0) == 0;
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
