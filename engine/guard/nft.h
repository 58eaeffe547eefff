// Runs texts of the nft language in the kernel, without a program of its own for each.
#pragma once

#include "files/result.h"

#include <memory>
#include <string>

struct nft_ctx;

namespace talo::guard
{

// Works in the network namespace of the thread that first uses it. One thread at a time.
class Nft
{
public:
    Nft();
    ~Nft();
    Nft(const Nft &) = delete;
    Nft &operator=(const Nft &) = delete;

    // What the text's commands print. All its changes are made in one step or not at all.
    files::Result<std::string> run(const std::string &text);

private:
    struct Free {
        void operator()(nft_ctx *context) const;
    };
    std::unique_ptr<nft_ctx, Free> context_;
};

} // namespace talo::guard
