#include "guard/nft.h"

#include "files/uniquefd.h"

#include <cerrno>
#include <linux/netlink.h>
#include <nftables/libnftables.h>
#include <sys/socket.h>

namespace talo::guard
{

namespace
{

// The first line; what follows points at the place in a text that nobody but us wrote.
std::string firstLine(const char *text)
{
    const std::string all = text == nullptr ? "" : text;
    return all.substr(0, all.find('\n'));
}

} // namespace

void Nft::Free::operator()(nft_ctx *context) const
{
    nft_ctx_free(context);
}

Nft::Nft() : context_(nft_ctx_new(NFT_CTX_DEFAULT))
{
    if (!context_)
        return;
    nft_ctx_buffer_output(context_.get());
    nft_ctx_buffer_error(context_.get());
    // Counters would make each listing differ from the one before.
    nft_ctx_output_set_flags(context_.get(), NFT_CTX_OUTPUT_STATELESS);
}

Nft::~Nft() = default;

files::Result<std::string> Nft::run(const std::string &text)
{
    if (!context_)
        return files::systemError(ENOMEM);
    // The library ends the whole process where it can have no such socket.
    const files::UniqueFd socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_NETFILTER));
    if (!socket)
        return files::systemError(errno);
    errno = 0;
    const int failed = nft_run_cmd_from_buffer(context_.get(), text.c_str());
    const int code = errno;
    std::string output = nft_ctx_get_output_buffer(context_.get());
    const std::string error = firstLine(nft_ctx_get_error_buffer(context_.get()));
    if (failed == 0)
        return output;
    return files::Error{code, error.empty() ? files::systemError(code).text : error};
}

} // namespace talo::guard
