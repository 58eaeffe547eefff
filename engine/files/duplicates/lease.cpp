#include "files/duplicates/lease.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>

namespace talo::files
{

ReadLease::ReadLease(int fd) : fd_(fd), begun_(State::NotOffered)
{
    // The news of a waiting writer comes as SIGIO, which would end a program that does not expect
    // it. SIGURG is passed over by default; the lease itself is asked instead.
    if (fcntl(fd_, F_SETSIG, SIGURG) != 0)
        return;
    if (fcntl(fd_, F_SETLEASE, F_RDLCK) == 0)
        begun_ = State::Held;
    else if (errno == EAGAIN)
        begun_ = State::Writer;
}

ReadLease::~ReadLease()
{
    if (begun_ == State::Held)
        fcntl(fd_, F_SETLEASE, F_UNLCK);
}

ReadLease::State ReadLease::state() const
{
    if (begun_ != State::Held)
        return begun_;
    return fcntl(fd_, F_GETLEASE) == F_RDLCK ? State::Held : State::Writer;
}

} // namespace talo::files
