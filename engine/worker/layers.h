// Follows libclamav from a file into what it unpacks from it.
#pragma once

#include "outcome.h"

#include <clamav.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace talo::worker
{

enum class Packed { Unpack, LeaveAlone };
enum class Cache { Use, Bypass };

// Lives as long as one scan, whose context it is.
class Layers
{
public:
    Layers(cl_engine *engine, std::uint64_t maxFileSize, Packed packed, Cache cache);

    Unseen unseen() const { return unseen_; }

private:
    static cl_error_t enter(int fd, const char *type, const char **ancestors,
                            std::size_t parentSize, const char *name, std::size_t size,
                            const char *content, std::uint32_t level, std::uint32_t attributes,
                            void *context);
    cl_error_t enter(int fd, const char *type, const char *name, std::size_t size,
                     std::uint32_t level);
    void note(Unseen unseen);

    struct Layer {
        bool executable = false;
        int fd = -1;
    };

    cl_engine *engine_;
    std::uint64_t maxFileSize_;
    Packed packed_;
    std::array<Layer, 64> layers_{};
    Unseen unseen_ = Unseen::Nothing;
};

} // namespace talo::worker
