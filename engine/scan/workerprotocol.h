// What the scan pool and talo-scan-worker say to each other.
//
// The pool starts one server process and talks to it over a control socket. The server forks the
// workers; each talks to the pool over a socket of its own, made by the pool and handed to the
// server with Fork. All sockets are SOCK_SEQPACKET, so a message is one packet of a fixed size, and
// both ends are the same build on the same machine, so a message is a plain structure.
//
// The two ends do not trust each other alike: a worker parses hostile files, so whatever it says is
// checked field by field, and the pool accepts no descriptor from it.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <type_traits>
#include <unistd.h>

namespace talo::scan::protocol
{

// Descriptors the server is started with.
constexpr int kControlFd = 3;    // the control socket
constexpr int kSignaturesFd = 4; // the folder with the signatures
constexpr int kScratchFd = 5;    // a private folder, used only where no tmpfs can be had

constexpr std::uint32_t kMagic = 0x4f4c4154;
constexpr std::uint16_t kVersion = 1;
constexpr std::size_t kMaxText = 480;
constexpr std::uint32_t kMaxSlots = 256;

enum class Kind : std::uint16_t {
    Configure = 1, // pool to server, first
    Fork,          // pool to server, with the worker's socket
    Kill,          // pool to server
    Loaded,        // server to pool
    LoadFailed,    // server to pool, and the server ends
    Ended,         // server to pool
    Ready,         // worker to pool, first
    StartFailed,   // worker to pool instead of Ready, and the worker ends
    Scan,          // pool to worker, with the file
    Verdict,       // worker to pool, in the order of the Scans
    Isolated,      // server to pool, before it loads
};

struct Header {
    std::uint32_t magic = kMagic;
    std::uint16_t version = kVersion;
    Kind kind = Kind::Configure;
};

struct Text {
    std::uint32_t length = 0;
    char bytes[kMaxText] = {};

    void set(std::string_view text)
    {
        length = static_cast<std::uint32_t>(std::min(text.size(), kMaxText));
        std::memcpy(bytes, text.data(), length);
    }
    bool sane() const { return length <= kMaxText; }
    // Fit to be shown: whatever is not printable ASCII becomes a question mark.
    std::string shown() const
    {
        std::string text(bytes, std::min<std::size_t>(length, kMaxText));
        for (char &c : text)
            if (c < ' ' || c > '~')
                c = '?';
        return text;
    }
};

struct Configure {
    static constexpr Kind kKind = Kind::Configure;
    Header header{kMagic, kVersion, kKind};
    std::uint32_t slots = 0;
    std::uint32_t background = 0; // 1: load with the lowest priority
    std::uint64_t maxFileSize = 0;
    std::uint64_t maxMemory = 0;
    std::uint64_t maxTemporary = 0;
};

// A slot holds one worker at a time and owns one temporary folder; the generation tells the workers
// that follow each other in a slot apart.
struct Fork {
    static constexpr Kind kKind = Kind::Fork;
    Header header{kMagic, kVersion, kKind};
    std::uint32_t slot = 0;
    std::uint32_t generation = 0;
    std::uint32_t background = 0; // 1: with the lowest priority
    std::uint32_t reserved = 0;
};

struct Kill {
    static constexpr Kind kKind = Kind::Kill;
    Header header{kMagic, kVersion, kKind};
    std::uint32_t slot = 0;
    std::uint32_t generation = 0;
};

// The private folder is needed no longer, unless something is in it.
struct Isolated {
    static constexpr Kind kKind = Kind::Isolated;
    Header header{kMagic, kVersion, kKind};
};

struct Loaded {
    static constexpr Kind kKind = Kind::Loaded;
    Header header{kMagic, kVersion, kKind};
    std::uint32_t signatures = 0;
    std::uint32_t reserved = 0;
};

struct LoadFailed {
    static constexpr Kind kKind = Kind::LoadFailed;
    Header header{kMagic, kVersion, kKind};
    Text reason;
};

enum class EndedBy : std::uint32_t { Exit, Signal, ForkRefused };

struct Ended {
    static constexpr Kind kKind = Kind::Ended;
    Header header{kMagic, kVersion, kKind};
    std::uint32_t slot = 0;
    std::uint32_t generation = 0;
    EndedBy by = EndedBy::Exit;
    std::int32_t number = 0; // exit status, signal, or errno of the refused fork
};

struct Ready {
    static constexpr Kind kKind = Kind::Ready;
    Header header{kMagic, kVersion, kKind};
};

struct StartFailed {
    static constexpr Kind kKind = Kind::StartFailed;
    Header header{kMagic, kVersion, kKind};
    Text reason;
};

constexpr std::uint32_t kLookIntoArchives = 1;
constexpr std::uint32_t kUnpackExecutables = 2;
constexpr std::uint32_t kAllOptions = kLookIntoArchives | kUnpackExecutables;

struct Scan {
    static constexpr Kind kKind = Kind::Scan;
    Header header{kMagic, kVersion, kKind};
    std::uint64_t id = 0;
    std::uint64_t size = 0; // by the pool's fstat
    std::uint32_t options = kAllOptions;
    std::uint32_t reserved = 0;
};

enum class Outcome : std::uint32_t { Clean, Threat, Skipped, Error };

struct Verdict {
    static constexpr Kind kKind = Kind::Verdict;
    Header header{kMagic, kVersion, kKind};
    std::uint64_t id = 0;
    Outcome outcome = Outcome::Error;
    std::uint32_t leaving = 0; // 1: the worker ends of its own accord after this
    Text detail;               // a threat's name, or the reason of Skipped and Error
};

enum class Receive { Message, Nothing, Closed, Broken };

// One received packet, larger than any message so that an oversized one is seen as such.
struct Packet {
    alignas(8) char bytes[1024];
    std::size_t size = 0;

    Kind kind() const
    {
        Header header;
        std::memcpy(&header, bytes, sizeof header);
        return header.kind;
    }
    // Whether this is a T in every outward respect; its fields are still to be judged.
    template <typename T> bool read(T &message) const
    {
        static_assert(std::is_trivially_copyable_v<T> && sizeof(T) < sizeof bytes);
        if (size != sizeof(T) || kind() != T::kKind)
            return false;
        std::memcpy(&message, bytes, sizeof(T));
        return true;
    }
};

enum class Descriptors { Refuse, Accept };

// Receives a packet, and the one descriptor that may come with it where that is accepted; `fd` is
// then the caller's, and -1 where none came.
inline Receive receive(int socket, Packet &packet, int flags, Descriptors descriptors, int *fd)
{
    iovec part{packet.bytes, sizeof packet.bytes};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (descriptors == Descriptors::Accept) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        *fd = -1;
    }
    ssize_t size = 0;
    do
        size = recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
    // An end that was closed with something unread is reported once, and before what it had sent.
    while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    if (size < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK ? Receive::Nothing : Receive::Closed;
    if (descriptors == Descriptors::Accept) {
        const cmsghdr *head = CMSG_FIRSTHDR(&message);
        if (head && head->cmsg_level == SOL_SOCKET && head->cmsg_type == SCM_RIGHTS &&
            head->cmsg_len == CMSG_LEN(sizeof(int)))
            std::memcpy(fd, CMSG_DATA(head), sizeof(int));
    }
    if (size == 0)
        return Receive::Closed;
    packet.size = static_cast<std::size_t>(size);
    Header header;
    bool sound = packet.size >= sizeof header && !(message.msg_flags & (MSG_TRUNC | MSG_CTRUNC));
    if (sound) {
        std::memcpy(&header, packet.bytes, sizeof header);
        sound = header.magic == kMagic && header.version == kVersion;
    }
    if (!sound && descriptors == Descriptors::Accept && *fd >= 0) {
        close(*fd);
        *fd = -1;
    }
    return sound ? Receive::Message : Receive::Broken;
}

// Sends a message, and a copy of a descriptor with it if `fd` is one. False: not sent, see errno.
template <typename T> bool send(int socket, const T &message, int flags, int fd = -1)
{
    iovec part{const_cast<T *>(&message), sizeof message};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr packet{};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    if (fd >= 0) {
        packet.msg_control = control;
        packet.msg_controllen = sizeof control;
        cmsghdr *head = CMSG_FIRSTHDR(&packet);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(head), &fd, sizeof(int));
    }
    ssize_t sent = 0;
    do
        sent = sendmsg(socket, &packet, flags | MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(sizeof message);
}

} // namespace talo::scan::protocol
