// Tells when somebody has changed a rule in the kernel, whoever it was.
#pragma once

#include "files/result.h"
#include "files/uniquefd.h"

namespace talo::guard
{

class TableWatch
{
public:
    static files::Result<TableWatch> open();

    // Readable when there is something to take.
    int fd() const { return socket_.get(); }

    // Takes all that has come. False: nothing had.
    bool take();

private:
    explicit TableWatch(files::UniqueFd socket) : socket_(std::move(socket)) {}
    files::UniqueFd socket_;
};

} // namespace talo::guard
