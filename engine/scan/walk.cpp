#include "scan/walk.h"

#include "files/printable.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>

namespace talo::scan
{

using files::Error;
using files::Identity;
using files::OpenedFile;
using files::Result;
using files::UniqueFd;

namespace
{

// So many folders stay open from the root down and from the deepest up; those between are opened
// again from below when the walk comes back to them.
constexpr std::size_t kOpenAtEachEnd = 32;

// Bounds the memory that a tree of absurd depth can take. The system's own calls end at 4,096.
constexpr std::size_t kMaxPath = 65536;

Walk::Found found(Walk::Kind kind, std::string path = {}, std::string reason = {})
{
    Walk::Found result;
    result.kind = kind;
    result.path = std::move(path);
    result.reason = std::move(reason);
    return result;
}

Walk::Found step()
{
    return found(Walk::Kind::Step);
}

std::string kindInWords(unsigned char type)
{
    switch (type) {
    case DT_LNK:
        return "a symbolic link; its target is scanned where it lies";
    case DT_FIFO:
        return "a named pipe";
    case DT_SOCK:
        return "a socket";
    case DT_CHR:
    case DT_BLK:
        return "a device";
    default:
        return "not a regular file";
    }
}

// Why a mounted file system is not entered; empty if it is.
std::string reasonNotToEnter(const std::string &type)
{
    switch (kindOfFileSystem(type)) {
    case FileSystemKind::Pseudo:
        return "a pseudo file system (" + type + ")";
    case FileSystemKind::Network:
        return "a network file system (" + type + ")";
    case FileSystemKind::Local:
        break;
    }
    return {};
}

} // namespace

Walk::Walk(std::vector<std::string> roots, std::vector<Identity> leaveOut, Purpose purpose)
    : roots_(std::move(roots)), leaveOut_(std::move(leaveOut)), purpose_(purpose)
{
}

Walk::Found Walk::next()
{
    if (!frames_.empty())
        return continueFolder();
    if (nextRoot_ < roots_.size())
        return beginRoot(roots_[nextRoot_++]);
    return found(Kind::End);
}

Walk::Found Walk::beginRoot(const std::string &root)
{
    if (root.empty() || root.front() != '/')
        return failRoot(root, "it is not an absolute path");
    const auto real = files::canonicalPath(root);
    if (!real)
        return failRoot(root, real.error().text);
    auto result = visitRoot(*real);
    if (!result)
        return failRoot(*real, result.error().text);
    ++rootsOpened_;
    return std::move(*result);
}

Result<Walk::Found> Walk::visitRoot(const std::string &real)
{
    if (real == "/") {
        auto opened = files::openFolder(AT_FDCWD, real);
        if (!opened)
            return opened.error();
        return enter(std::move(*opened), real);
    }
    const std::size_t slash = real.rfind('/');
    path_ = real.substr(0, std::max<std::size_t>(slash, 1));
    auto parent = files::openFolderAsPlace(AT_FDCWD, path_);
    if (!parent)
        return parent.error();
    const auto folder = std::make_shared<UniqueFd>(std::move(parent->fd));
    return visit(folder, real.substr(slash + 1), DT_UNKNOWN, Place::Root);
}

Walk::Found Walk::failRoot(const std::string &root, const std::string &reason)
{
    if (rootFailure_.empty())
        rootFailure_ = files::printable(root) + ": " + reason;
    return found(Kind::Error, root, reason);
}

Walk::Found Walk::continueFolder()
{
    Frame &top = frames_.back();
    if (!top.fd || top.finished)
        return leaveFolder();

    FolderReader::Entry entry;
    switch (top.reader.next(top.fd->get(), entry)) {
    case FolderReader::Answer::End:
        return leaveFolder();
    case FolderReader::Answer::Error: {
        const int code = errno;
        top.finished = true;
        if (code == ENOENT) // it was removed
            return step();
        return found(Kind::Error, path_,
                     "the folder could not be read to its end: " + files::systemError(code).text);
    }
    case FolderReader::Answer::Entry:
        break;
    }
    const auto folder = top.fd; // entering a subfolder moves the frames
    auto result = visit(folder, entry.name, entry.type, Place::Inside);
    if (result)
        return std::move(*result);
    if (result.error().code == ENOENT) // removed since it was listed
        return step();
    return found(Kind::Error, pathOf(entry.name), result.error().text);
}

Walk::Found Walk::leaveFolder()
{
    const Frame child = std::move(frames_.back());
    frames_.pop_back();
    if (frames_.empty())
        return step();
    Frame &parent = frames_.back();
    path_.resize(parent.pathLength);
    if (parent.fd)
        return step();
    if (child.fd) {
        auto opened = files::openFolder(child.fd->get(), "..");
        if (opened && files::identityOf(opened->status) == parent.identity &&
            parent.reader.resume(opened->fd.get())) {
            parent.fd = std::make_shared<UniqueFd>(std::move(opened->fd));
            return step();
        }
    }
    return found(Kind::Error, path_,
                 "folders were moved during the scan; what else lies in this one was not scanned");
}

Result<Walk::Found> Walk::visit(const std::shared_ptr<UniqueFd> &folder, const std::string &name,
                                unsigned char type, Place place)
{
    if (type == DT_UNKNOWN) {
        struct stat status = {};
        if (fstatat(folder->get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT))
            return files::systemError(errno);
        type = IFTODT(status.st_mode);
    }
    if (type == DT_REG)
        return visitFile(folder, name);
    if (type == DT_DIR)
        return visitFolder(folder->get(), name, place);
    return found(Kind::Skipped, pathOf(name), kindInWords(type));
}

Result<Walk::Found> Walk::visitFile(const std::shared_ptr<UniqueFd> &folder,
                                    const std::string &name)
{
    Found file = found(Kind::File, pathOf(name));
    if (purpose_ == Purpose::Count) {
        if (fstatat(folder->get(), name.c_str(), &file.status, AT_SYMLINK_NOFOLLOW))
            return files::systemError(errno);
    } else {
        auto opened = files::openForReading(folder->get(), name);
        if (!opened)
            return opened.error();
        file.fd = std::move(opened->fd);
        file.status = opened->status;
    }
    // It was a regular file when it was listed.
    if (!S_ISREG(file.status.st_mode))
        return found(Kind::Skipped, file.path, kindInWords(IFTODT(file.status.st_mode)));
    if (!seen_.insert(files::identityOf(file.status)))
        return step();
    file.folder = folder;
    file.name = name;
    return file;
}

Result<Walk::Found> Walk::visitFolder(int parent, const std::string &name, Place place)
{
    std::string path = pathOf(name);
    if (path.size() > kMaxPath)
        return Error{ENAMETOOLONG, "it is nested too deeply to be scanned"};

    // By its path, before it is touched: a server that does not answer would hold the walk here.
    if (place == Place::Inside) {
        std::string reason = reasonNotToEnter(mounts_.typeAt(path));
        if (!reason.empty())
            return found(Kind::Skipped, std::move(path), std::move(reason));
    }
    auto opened = files::openFolder(parent, name);
    if (!opened)
        return opened.error();
    if (place == Place::Inside && opened->status.st_dev != frames_.back().identity.device &&
        mounts_.typeAt(path).empty()) {
        mounts_.reload(); // it may have been mounted since
        std::string reason = reasonNotToEnter(mounts_.typeAt(path));
        if (!reason.empty())
            return found(Kind::Skipped, std::move(path), std::move(reason));
    }
    return enter(std::move(*opened), std::move(path));
}

Result<Walk::Found> Walk::enter(OpenedFile opened, std::string path)
{
    const Identity identity = files::identityOf(opened.status);
    if (isLeftOut(identity))
        return found(Kind::Skipped, std::move(path), "a folder of this product");
    if (!seen_.insert(identity))
        return step();
    path_ = std::move(path);
    Frame frame;
    frame.fd = std::make_shared<UniqueFd>(std::move(opened.fd));
    frame.identity = identity;
    frame.pathLength = path_.size();
    frames_.push_back(std::move(frame));
    closeMiddleFrame();
    return step();
}

std::string Walk::pathOf(const std::string &name) const
{
    std::string path;
    path.reserve(path_.size() + 1 + name.size());
    path += path_;
    if (path_ != "/")
        path += '/';
    path += name;
    return path;
}

bool Walk::isLeftOut(const Identity &identity) const
{
    return std::find(leaveOut_.begin(), leaveOut_.end(), identity) != leaveOut_.end();
}

void Walk::closeMiddleFrame()
{
    if (frames_.size() <= 2 * kOpenAtEachEnd)
        return;
    Frame &frame = frames_[frames_.size() - 1 - kOpenAtEachEnd];
    frame.fd.reset();
    frame.reader.suspend();
}

} // namespace talo::scan
