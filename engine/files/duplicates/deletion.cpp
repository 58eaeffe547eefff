#include "files/duplicates/deletion.h"

#include "files/duplicates/beneath.h"
#include "files/duplicates/comparison.h"
#include "files/duplicates/lease.h"
#include "files/duplicates/tree.h"
#include "files/randomname.h"
#include "files/removal.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <unistd.h>

namespace talo::files
{

namespace
{

Error changedError()
{
    return {ESTALE, "it changed after the search"};
}

Error writtenError()
{
    return {EBUSY, "it is being written to"};
}

struct OpenMember {
    PlaceAndName place;
    OpenedFile file;
};

bool isStill(const SeenFile &seen, const struct stat &status)
{
    return identityOf(status) == seen.identity &&
           static_cast<std::uint64_t>(status.st_size) == seen.size &&
           timesStamp(status) == seen.stamp;
}

Result<OpenMember> openMember(const GroupMember &member)
{
    auto place = openPlaceOf(member.path);
    if (!place)
        return place.error();
    auto file = openForReading(place->folder.fd.get(), place->name);
    if (!file)
        return file.error();
    if (!S_ISREG(file->status.st_mode))
        return Error{EINVAL, "it is no longer a regular file"};
    if (member.seen && !isStill(*member.seen, file->status))
        return changedError();
    return OpenMember{std::move(*place), std::move(*file)};
}

// Whether the path still leads to the open file.
bool isAtPath(const GroupMember &member, const Identity &identity)
{
    const auto now = openMember(member);
    return now && identityOf(now->file.status) == identity;
}

bool sameContentTime(const struct stat &a, const struct stat &b)
{
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// Of a file that was compared: nobody wrote to it since. A capture changes the time of its status.
std::optional<Error> checkUnwritten(const OpenMember &member, const ReadLease &lease)
{
    struct stat now = {};
    if (fstat(member.file.fd.get(), &now) != 0)
        return systemError(errno);
    if (lease.state() == ReadLease::State::Writer)
        return writtenError();
    if (!sameContentTime(now, member.file.status))
        return changedError();
    return std::nullopt;
}

// A copy that is to go, and the attempts to find another one that stays for it.
class Leaving
{
public:
    static Result<OpenMember> open(const GroupMember &member, const ProtectedPlaces &places);

    explicit Leaving(const OpenMember &member) : member_(member), lease_(member.file.fd.get()) {}

    // Deletes it if `stays` is proved to be another file of the same content. Nothing: deleted.
    std::optional<Error> deleteFor(const GroupMember &stays);

private:
    std::optional<Error> remove(const GroupMember &stays, const OpenMember &open,
                                const ReadLease &lease);

    const OpenMember &member_;
    ReadLease lease_;
};

Result<OpenMember> Leaving::open(const GroupMember &member, const ProtectedPlaces &places)
{
    auto opened = openMember(member);
    if (!opened)
        return opened.error();
    if (opened->file.status.st_uid != geteuid())
        return Error{EACCES, "it belongs to another user"};
    if (places.cover(opened->place.folder.fd.get()))
        return Error{EACCES, "it belongs to this product"};
    return opened;
}

std::optional<Error> Leaving::deleteFor(const GroupMember &stays)
{
    if (lease_.state() == ReadLease::State::Writer)
        return writtenError();
    const auto open = openMember(stays);
    if (!open)
        return Error{open.error().code, "of the copy that would stay: " + open.error().text};
    if (identityOf(open->file.status) == identityOf(member_.file.status))
        return Error{EEXIST, "it is the same file as the copy that would stay"};
    const ReadLease lease(open->file.fd.get());
    if (lease.state() == ReadLease::State::Writer)
        return Error{EBUSY, "the copy that would stay is being written to"};
    if (auto error = compareContents(member_.file, open->file))
        return error;
    return remove(stays, *open, lease);
}

std::optional<Error> Leaving::remove(const GroupMember &stays, const OpenMember &open,
                                     const ReadLease &lease)
{
    const std::string token = randomName(32); // names the capture folder
    const LastWord lastWord = [&]() -> std::optional<Error> {
        try {
            if (auto error = checkUnwritten(member_, lease_))
                return error;
            if (auto error = checkUnwritten(open, lease))
                return error;
            if (!isAtPath(stays, identityOf(open.file.status)))
                return Error{ESTALE, "the copy that would stay is no longer in its place"};
            return std::nullopt;
        } catch (const std::bad_alloc &) { // what was captured must go back
            return systemError(ENOMEM);
        }
    };
    return removeExactlyIf(member_.place.folder.fd.get(), member_.place.name,
                           identityOf(member_.file.status), token, lastWord);
}

// Which members stay: those that nobody wishes to delete, or else the first that can.
std::vector<std::size_t> staying(const std::vector<GroupMember> &group)
{
    std::vector<std::size_t> stay;
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (group[i].wish == Wish::Keep)
            stay.push_back(i);
    }
    for (std::size_t i = 0; i < group.size() && stay.empty(); ++i) {
        if (openMember(group[i]))
            stay.push_back(i);
    }
    return stay;
}

MemberFate leave(const std::vector<GroupMember> &group, std::size_t index,
                 std::vector<std::size_t> &stay, const ProtectedPlaces &places)
{
    const auto opened = Leaving::open(group[index], places);
    if (!opened)
        return {Fate::Refused, opened.error()};
    Leaving leaving(*opened);
    MemberFate fate{Fate::Refused, {ENOENT, "no copy would stay"}};
    for (std::size_t i = 0; i < stay.size(); ++i) {
        const auto error = leaving.deleteFor(group[stay[i]]);
        if (!error) {
            // It will do for the next one, too.
            std::swap(stay[0], stay[i]);
            return {Fate::Deleted, {}};
        }
        fate.reason = *error;
    }
    return fate;
}

} // namespace

std::vector<MemberFate> thinGroup(const std::vector<GroupMember> &group,
                                  const ProtectedPlaces &protectedPlaces)
{
    std::vector<std::size_t> stay = staying(group);
    std::vector<MemberFate> fates(group.size());
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (std::find(stay.begin(), stay.end(), i) == stay.end())
            fates[i] = leave(group, i, stay, protectedPlaces);
    }
    return fates;
}

} // namespace talo::files
