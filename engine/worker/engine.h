// libclamav: the signatures, and the judging of one file.
#pragma once

#include "scan/workerprotocol.h"

#include <cstdint>
#include <string>

struct cl_engine;

namespace talo::worker
{

struct Judgement {
    scan::protocol::Outcome outcome = scan::protocol::Outcome::Error;
    std::string detail;
    bool unsound = false; // the library ran out of memory: its state is not to be relied on
};

// One for a process, for libclamav keeps state of its own; never destroyed before the process ends,
// for taking the signatures apart would only copy the pages that the workers share.
class Engine
{
public:
    // Each an empty text, or why it failed. The first has the library open what it needs of the
    // system; the second loads what is in the current folder and opens nothing else.
    std::string prepare();
    std::string load(std::uint64_t maxFileSize, std::uint64_t maxScanSize);
    unsigned signatures() const { return signatures_; }

    // Judges an open regular file whose size was `size`. Unpacks into the current folder.
    Judgement judge(int fd, std::uint64_t size, std::uint32_t options);

private:
    Judgement scanContent(int fd, std::uint32_t options);

    cl_engine *engine_ = nullptr;
    unsigned signatures_ = 0;
    std::uint64_t maxFileSize_ = 0;
};

} // namespace talo::worker
