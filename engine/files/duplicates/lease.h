// A time in which nobody writes to a file.
#pragma once

namespace talo::files
{

// A read lease on an open file. Who wants to open the file for writing, or to truncate it, waits
// until the lease is gone, which is as long as this object lives; and the lease knows that somebody
// does.
class ReadLease
{
public:
    enum class State {
        Held,       // nobody has the file open for writing
        Writer,     // somebody has, or waits to
        NotOffered, // the file is somebody else's, or the file system knows no leases
    };

    // `fd` is open for reading and stays open for longer than the lease.
    explicit ReadLease(int fd);
    ~ReadLease();
    ReadLease(const ReadLease &) = delete;
    ReadLease &operator=(const ReadLease &) = delete;

    State state() const;

private:
    int fd_;
    State begun_;
};

} // namespace talo::files
