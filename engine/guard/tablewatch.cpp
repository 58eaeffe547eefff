#include "guard/tablewatch.h"

#include <array>
#include <cerrno>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>
#include <sys/socket.h>

namespace talo::guard
{

files::Result<TableWatch> TableWatch::open()
{
    files::UniqueFd socket(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_NETFILTER));
    if (!socket)
        return files::systemError(errno);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = 1U << (NFNLGRP_NFTABLES - 1);
    if (bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return files::systemError(errno);
    return TableWatch(std::move(socket));
}

// What the messages say does not matter: the state is read from the kernel afterwards, so one that
// was lost or forged does no harm.
bool TableWatch::take()
{
    std::array<char, 8192> buffer{};
    bool any = false;
    for (;;) {
        const ssize_t length = recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0 && errno != ENOBUFS)
            return any;
        any = true;
    }
}

} // namespace talo::guard
