#include "engine/worker/faults.h"

#include "scan/workerprotocol.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::worker
{

namespace
{

namespace protocol = scan::protocol;

// Ends the worker, so that the file gets an error instead of a verdict.
void mustFail(bool succeeded)
{
    if (succeeded)
        _exit(66);
}

[[noreturn]] void hang()
{
    for (;;)
        sched_yield();
}

void exhaustMemory()
{
    constexpr std::size_t kPiece = 16u << 20;
    for (int pieces = 0; pieces < 4096; ++pieces) {
        void *piece = std::malloc(kPiece);
        if (!piece)
            std::abort();
        std::memset(piece, 1, kPiece);
    }
    _exit(66);
}

void fillTemporaryFolder()
{
    static std::array<char, 1u << 20> megabyte;
    for (int number = 0; number < 4096; ++number) {
        const std::string name = "fill" + std::to_string(number);
        mkdir("deep", 0700);
        const int fd =
            open(number % 2 ? name.c_str() : ("deep/" + name).c_str(), O_CREAT | O_WRONLY, 0600);
        if (fd < 0 ||
            write(fd, megabyte.data(), megabyte.size()) != static_cast<ssize_t>(megabyte.size()))
            std::abort();
        close(fd);
    }
    _exit(66);
}

// With the one call the filter leaves for it.
void sendBytes(int socket, const void *bytes, std::size_t size)
{
    iovec part{const_cast<void *>(bytes), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (sendmsg(socket, &message, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
        _exit(66);
}

// Answers that no sound worker gives. `id` is the first file's, which the pool counts from 1.
void lie(std::string_view how, int socket)
{
    protocol::Verdict verdict;
    verdict.id = 1;
    verdict.outcome = protocol::Outcome::Threat;
    verdict.detail.set("Lie");
    int descriptor = -1;
    if (how == "magic")
        verdict.header.magic = 0xdeadbeef;
    else if (how == "version")
        verdict.header.version = 99;
    else if (how == "id")
        verdict.id = 77777;
    else if (how == "outcome")
        verdict.outcome = static_cast<protocol::Outcome>(250);
    else if (how == "length")
        verdict.detail.length = 0xffffffff;
    else if (how == "reasonless")
        verdict.detail.set("");
    else if (how == "leaving")
        verdict.leaving = 1;
    else if (how == "descriptor")
        descriptor = socket;
    else if (how == "binary")
        verdict.detail.set(std::string_view("\x1b[31m\0\xff\n", 8));

    if (how == "oversized") {
        const std::array<char, 60000> packet{};
        sendBytes(socket, packet.data(), packet.size());
    } else if (how == "short") {
        sendBytes(socket, &verdict, 3);
    } else if (how == "closed") {
        close(socket);
    } else {
        protocol::send(socket, verdict, 0, descriptor);
    }
    hang();
}

} // namespace

void provokeFault(int file, int socket)
{
    std::array<char, 64> text{};
    const ssize_t length = pread(file, text.data(), text.size(), 0);
    if (length <= 0)
        return;
    std::string_view order(text.data(), static_cast<std::size_t>(length));
    constexpr std::string_view kStart = "TALO-FAULT ";
    if (order.substr(0, kStart.size()) != kStart)
        return;
    order.remove_prefix(kStart.size());
    order = order.substr(0, order.find('\n'));

    if (order == "crash") {
        std::raise(SIGSEGV);
        std::abort();
    } else if (order == "hang") {
        hang();
    } else if (order == "exhaust") {
        exhaustMemory();
    } else if (order == "filltmp") {
        fillTemporaryFolder();
    } else if (order == "exec") {
        char path[] = "/bin/true";
        char *arguments[] = {path, nullptr};
        execv(path, arguments);
        _exit(66);
    } else if (order == "socket") {
        mustFail(::socket(AF_INET, SOCK_STREAM, 0) >= 0 || ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0);
    } else if (order == "openpasswd") {
        mustFail(open("/etc/passwd", O_RDONLY) >= 0 || open("../etc/passwd", O_RDONLY) >= 0);
    } else if (order == "fork") {
        mustFail(fork() >= 0);
    } else if (order == "signal") {
        mustFail(kill(getppid(), 0) == 0);
    } else if (order == "code") {
        mustFail(mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED);
    } else if (order == "identity") {
        mustFail(geteuid() == 0 || getuid() == 0 || setuid(0) == 0);
    } else if (order == "descriptors") {
        for (int fd = 3; fd < 256; ++fd)
            mustFail(fd != file && fd != socket && fcntl(fd, F_GETFD) >= 0);
    } else if (order.substr(0, 4) == "lie ") {
        lie(order.substr(4), socket);
    }
}

} // namespace talo::worker
