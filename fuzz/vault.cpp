// The record of a quarantined file. The input lacks the hash at its end, which is right here, or
// everything would be refused for it.
#include "target.h"

#include "scan/vaultobject.h"

#include <array>
#include <sodium.h>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    fuzz::require(sodium_init() >= 0);
    std::array<unsigned char, 32> hash{};
    crypto_generichash(hash.data(), hash.size(), data, size, nullptr, 0);
    std::string content(fuzz::textOf(data, size));
    content.append(reinterpret_cast<const char *>(hash.data()), hash.size());
    const fuzz::MemoryFile file(content);
    const auto record = scan::readRecord(file.fd());
    if (!record)
        return 0;
    fuzz::require(!record->path.empty() && record->threat.size() <= scan::kMaxThreatLength);
    fuzz::require(scan::encodeRecord(*record) ==
                  content.substr(0, scan::encodedSize(record->path.size(), record->threat.size())));
    return 0;
}
