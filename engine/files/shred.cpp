#include "files/shred.h"

#include "files/shredmedium.h"
#include "files/shredname.h"
#include "files/shredtarget.h"
#include "files/shredwriter.h"

#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <unistd.h>

namespace talo::files
{

namespace
{

ShredResult failed(std::string text)
{
    return {ShredFault::WriteFailed, std::move(text), {}};
}

// Whoever writes to the file after it was overwritten is not known to have had his content
// destroyed. Its size is what gives him away.
bool grewMeanwhile(const ShredTarget &target, const FileLayout &layout)
{
    struct stat now = {};
    const std::uint64_t known =
        layout.ranges.empty() ? 0 : layout.ranges.back().start + layout.ranges.back().length;
    return fstat(target.file.get(), &now) != 0 ||
           static_cast<std::uint64_t>(now.st_size) >
               std::max(known, static_cast<std::uint64_t>(target.status.st_size));
}

// The folder's new state reaches the device, and with it that the file is gone.
bool flushFolder(const ShredTarget &target)
{
    if (fsync(target.place.get()) == 0)
        return true;
    // A folder that may be searched but not read cannot be flushed by itself; nor can some file
    // systems do that.
    return syncfs(target.file.get()) == 0;
}

ShredResult destroy(const ShredTarget &target, const FileLayout &layout, int passes,
                    const ShredProgress &progress)
{
    const Overwritten content = overwrite(target.file.get(), layout.ranges, passes, progress);
    if (content.error && content.written == 0)
        return refusal(content.error->code);
    if (content.error)
        return failed("it is overwritten in part and stays: " + content.error->text);
    if (grewMeanwhile(target, layout))
        return failed("somebody wrote to it meanwhile; it is overwritten in part and stays");
    if (ftruncate(target.file.get(), 0) != 0)
        return failed("its content is destroyed, but it stays: " + systemError(errno).text);
    if (const auto error = destroyName(target.place.get(), target.name, identityOf(target.status)))
        return failed(error->text);
    if (!flushFolder(target))
        return failed("its content is destroyed, but whether its entry is gone from the drive is "
                      "not known: " +
                      systemError(errno).text);
    return {};
}

} // namespace

ShredResult FileShredder::shred(const std::string &path, const ShredProgress &progress)
{
    ShredTarget target;
    if (auto fault = openTarget(path, settings_.ownFolders, target))
        return *fault;
    const FileLayout layout = layoutOf(target.file.get(), target.status);
    std::vector<std::string> doubts = doubtsAbout(target.file.get(), target.status, layout);
    ShredResult result = destroy(target, layout, settings_.passes, progress);
    result.doubts = std::move(doubts);
    if (result.fault == ShredFault::None) {
        Touched &touched = touched_[target.status.st_dev];
        touched.freed.insert(touched.freed.end(), layout.places.begin(), layout.places.end());
        touched.place = std::move(target.place);
    }
    return result;
}

std::vector<std::string> FileShredder::finish()
{
    std::vector<std::string> doubts;
    for (const auto &[device, touched] : touched_) {
        discardFreed(touched.place.get(), touched.freed);
        if (clearJournal(touched.place.get()) == JournalState::Remains)
            doubts.emplace_back("The file system's journal may keep the name, not the content, "
                                "until it is written over.");
    }
    touched_.clear();
    return doubts;
}

} // namespace talo::files
