#include "layers.h"

#include "zip64.h"

#include <cstring>

namespace talo::worker
{

namespace
{

void setCache(cl_engine *engine, Cache cache)
{
    cl_engine_set_num(engine, CL_ENGINE_DISABLE_CACHE, cache == Cache::Bypass ? 1 : 0);
}

// The zip unpacker writes in blocks and stops before the block that would pass the limit.
constexpr std::uint64_t kUnpackBlock = 64u << 10;

// An office document is a zip archive too.
bool isZip(const char *type)
{
    return type &&
           (std::strcmp(type, "CL_TYPE_ZIP") == 0 || std::strncmp(type, "CL_TYPE_OOXML", 13) == 0);
}

} // namespace

Layers::Layers(cl_engine *engine, std::uint64_t maxFileSize, Packed packed, Cache cache)
    : engine_(engine), maxFileSize_(maxFileSize), packed_(packed)
{
    setCache(engine, cache);
    cl_engine_set_clcb_file_inspection(engine, &Layers::enter);
}

cl_error_t Layers::enter(int fd, const char *type, const char **, std::size_t, const char *name,
                         std::size_t size, const char *, std::uint32_t level, std::uint32_t,
                         void *context)
{
    return static_cast<Layers *>(context)->enter(fd, type, name, size, level);
}

// The file will be called clean all the same; that is not to be remembered.
void Layers::note(Unseen unseen)
{
    unseen_ = unseen;
    setCache(engine_, Cache::Bypass);
}

cl_error_t Layers::enter(int fd, const char *type, const char *name, std::size_t size,
                         std::uint32_t level)
{
    // A member of a zip archive larger than the limit is cut off there in silence.
    if (level > 0 && size + kUnpackBlock > maxFileSize_)
        note(Unseen::TooLarge);
    if (isZip(type) && hasZip64Members(fd))
        note(Unseen::NotUnpacked);
    if (packed_ == Packed::Unpack || level >= layers_.size())
        return CL_CLEAN;

    // libclamav has no option for this. What it unpacks from a packed executable comes as a
    // nameless executable in a file of its own, directly below the executable that it came from;
    // a member of an archive has a name or another parent, and an executable that merely lies
    // inside another one comes at a deeper level.
    const bool executable = type && std::strcmp(type, "CL_TYPE_MSEXE") == 0;
    layers_[level] = {executable, fd};
    if (level > 0 && executable && !name && layers_[level - 1].executable &&
        layers_[level - 1].fd != fd)
        return CL_BREAK;
    for (std::size_t deeper = level + 1; deeper < layers_.size(); ++deeper)
        layers_[deeper] = {};
    return CL_CLEAN;
}

} // namespace talo::worker
