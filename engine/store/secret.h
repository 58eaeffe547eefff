// Bytes that nobody may find in memory after their use.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace talo::store
{

// Overwrites memory in a way that no compiler leaves out.
void wipe(void *memory, std::size_t size);

// Wiped when it goes. It lies on the heap, so that moving it leaves no copy behind, as moving a
// short std::string does.
class Secret
{
public:
    explicit Secret(std::string_view bytes) : bytes_(bytes.begin(), bytes.end()) {}
    ~Secret() { wipe(bytes_.data(), bytes_.size()); }
    Secret(Secret &&) noexcept = default;
    Secret &operator=(Secret &&) = delete;

    // Never of null, which libsodium does not take even where there is nothing to read.
    std::string_view view() const
    {
        return bytes_.empty() ? std::string_view("")
                              : std::string_view(bytes_.data(), bytes_.size());
    }

private:
    std::vector<char> bytes_;
};

} // namespace talo::store
