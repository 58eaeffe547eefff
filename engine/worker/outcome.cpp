#include "outcome.h"

#include <string_view>

namespace talo::worker
{

namespace
{

using scan::protocol::Outcome;

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

constexpr std::string_view kLimits = "Heuristics.Limits.Exceeded";
constexpr std::string_view kEncrypted = "Heuristics.Encrypted.";

std::string exceeded(std::string_view limit)
{
    static constexpr struct {
        std::string_view limit;
        const char *reason;
    } kReasons[] = {
        {"MaxFileSize", "a part of it is too large"},
        {"MaxScanSize", "there is too much to unpack"},
        {"MaxFiles", "it has too many parts"},
        {"MaxRecursion", "it is nested too deep"},
        {"MaxScanTime", "it takes too long"},
    };
    std::string text = "its contents exceed the limits";
    for (const auto &known : kReasons)
        if (startsWith(limit, known.limit))
            return text + ": " + known.reason;
    return limit.empty() ? text : text + ": " + std::string(limit);
}

Judgement match(const char *name)
{
    // An oversized file comes back as a match without a name.
    const std::string_view threat = name ? name : "";
    if (threat.empty())
        return {Outcome::Skipped, exceeded("")};
    if (startsWith(threat, kLimits)) {
        const std::string_view limit = threat.substr(kLimits.size());
        return {Outcome::Skipped, exceeded(limit.empty() ? limit : limit.substr(1))};
    }
    if (startsWith(threat, kEncrypted))
        return {Outcome::Skipped, "encrypted; its content cannot be looked at"};
    return {Outcome::Threat, std::string(threat)};
}

} // namespace

Judgement outcome(cl_error_t code, const char *name, Unseen unseen)
{
    switch (code) {
    case CL_VIRUS:
        return match(name);
    case CL_CLEAN:
    case CL_VERIFIED:
        if (unseen == Unseen::TooLarge)
            return {Outcome::Skipped, exceeded("MaxFileSize")};
        if (unseen == Unseen::NotUnpacked)
            return {Outcome::Skipped, "a part of it is packed in a form that cannot be unpacked"};
        return {Outcome::Clean, {}};
    case CL_EMAXSIZE:
        return {Outcome::Skipped, exceeded("MaxScanSize")};
    case CL_EMAXFILES:
        return {Outcome::Skipped, exceeded("MaxFiles")};
    case CL_EMAXREC:
        return {Outcome::Skipped, exceeded("MaxRecursion")};
    case CL_ETIMEOUT:
        return {Outcome::Skipped, exceeded("MaxScanTime")};
    case CL_EWRITE:
    case CL_ECREAT:
    case CL_ETMPFILE:
    case CL_ETMPDIR:
        return {Outcome::Skipped, "its contents do not fit into the temporary folder"};
    case CL_EMEM:
    case CL_EMAP:
        return {Outcome::Error, "not enough memory to scan it", true};
    case CL_EREAD:
    case CL_ESEEK:
    case CL_ESTAT:
        return {Outcome::Error, "it cannot be read"};
    default:
        return {Outcome::Error, cl_strerror(code)};
    }
}

} // namespace talo::worker
