// One run of talo-disinfect.
#pragma once

#include "files/result.h"
#include "files/uniquefd.h"
#include "scan/disinfectprotocol.h"

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>

namespace talo::scan
{

class DisinfectorProcess
{
public:
    struct Descriptors {
        int original = -1;
        int result = -1;
        int part = -1;
    };

    static files::Result<DisinfectorProcess> start(const std::string &program,
                                                   const Descriptors &descriptors);
    ~DisinfectorProcess(); // ends it, whatever it is at
    DisinfectorProcess(DisinfectorProcess &&other) noexcept;
    DisinfectorProcess &operator=(DisinfectorProcess &&) = delete;
    DisinfectorProcess(const DisinfectorProcess &) = delete;
    DisinfectorProcess &operator=(const DisinfectorProcess &) = delete;

    // What becomes of the part that is held; an error ends the run.
    using Decide = std::function<files::Result<disinfection::Fate>()>;

    // Answers its questions until it has finished. The number of removed parts.
    files::Result<std::uint32_t> serve(const Decide &decide,
                                       std::chrono::steady_clock::time_point until,
                                       const std::function<bool()> &isStopped);

private:
    DisinfectorProcess() = default;

    files::UniqueFd socket_;
    pid_t pid_ = -1;
};

} // namespace talo::scan
