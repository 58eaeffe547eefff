// Noise that nobody can tell from chance or make again.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct gcry_cipher_handle;

namespace talo::files
{

// AES-256 in counter mode under a key from the kernel that is kept nowhere else and dies with this
// object. Faster than any drive here, which libsodium's streams are not.
class NoiseStream
{
public:
    NoiseStream();

    // Whether there is noise to be had. Without it nothing may be overwritten.
    explicit operator bool() const { return static_cast<bool>(cipher_); }
    // Mixes noise into the buffer; whatever is there may stay there.
    bool fill(void *buffer, std::size_t size);

private:
    struct Free {
        void operator()(gcry_cipher_handle *cipher) const;
    };
    std::unique_ptr<gcry_cipher_handle, Free> cipher_;
};

// A file name of so many letters and digits; empty where the kernel has no chance to give.
std::string noiseName(std::size_t length);

} // namespace talo::files
