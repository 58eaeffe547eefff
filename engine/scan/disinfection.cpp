#include "scan/disinfection.h"

#include "scan/disinfectorprocess.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace talo::scan
{

using disinfection::Fate;
using files::Error;
using files::Result;
using files::UniqueFd;

namespace
{

// The workers must not be able to change what they are given.
UniqueFd readOnly(int fd)
{
    const std::string self = "/proc/self/fd/" + std::to_string(fd);
    return UniqueFd(open(self.c_str(), O_RDONLY | O_CLOEXEC));
}

Result<std::uint64_t> sizeOf(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0)
        return files::systemError(errno);
    return static_cast<std::uint64_t>(status.st_size);
}

Error notJudged(const char *what, const Verdict &verdict)
{
    return {0, std::string(what) + " could not be judged: " + verdict.detail};
}

} // namespace

Disinfection::Disinfection(DisinfectionConfig config, Judge judge, IsStopped isStopped)
    : config_(std::move(config)), judge_(std::move(judge)), isStopped_(std::move(isStopped))
{
}

Result<Disinfection::Done> Disinfection::run(const Quarantine::Catch &file,
                                             Quarantine &quarantine) const
{
    struct stat asRead = {};
    if (fstat(file.content, &asRead) != 0)
        return files::systemError(errno);
    // Without a name, so that nobody meets it before it is complete and a kill leaves nothing.
    const UniqueFd result(openat(file.folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    if (!result)
        return Error{errno, "no new file can be made beside it: " + files::systemError(errno).text};
    const auto removed =
        clean(file.content, static_cast<std::uint64_t>(asRead.st_size), result.get());
    if (!removed)
        return removed.error();

    const UniqueFd reading = readOnly(result.get());
    const auto size = sizeOf(result.get());
    if (!reading || !size)
        return files::systemError(errno);
    const Verdict verdict = judge_(reading.get(), *size);
    if (verdict.kind == VerdictKind::Threat)
        return Error{0, "without its infected parts it is still infected"};
    if (verdict.kind != VerdictKind::Clean)
        return notJudged("what is left", verdict);
    const auto kept = quarantine.replace(file, asRead, result.get());
    if (!kept)
        return kept.error();
    return Done{*kept, *removed};
}

Result<std::uint32_t> Disinfection::clean(int original, std::uint64_t size, int result) const
{
    const UniqueFd part(memfd_create("part", MFD_CLOEXEC));
    if (!part)
        return files::systemError(errno);
    const UniqueFd reading = readOnly(part.get());
    if (!reading)
        return files::systemError(errno);
    auto process = DisinfectorProcess::start(config_.program, {original, result, part.get()});
    if (!process)
        return process.error();
    const auto decide = [&]() -> Result<Fate> {
        const auto held = sizeOf(part.get());
        if (!held)
            return held.error();
        const Verdict verdict = judge_(reading.get(), *held);
        if (verdict.kind == VerdictKind::Threat)
            return Fate::Drop;
        if (verdict.kind == VerdictKind::Clean)
            return Fate::Keep;
        return notJudged("a part of it", verdict);
    };
    const auto until =
        std::chrono::steady_clock::now() + config_.time + std::chrono::seconds(size / (4u << 20u));
    auto removed = process->serve(decide, until, isStopped_);
    if (removed && *removed == 0)
        return Error{0, "no part of it alone is infected"};
    return removed;
}

} // namespace talo::scan
