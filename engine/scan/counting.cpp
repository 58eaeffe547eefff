#include "scan/counting.h"

#include "scan/walk.h"

namespace talo::scan
{

std::optional<Tally> countAhead(std::vector<std::string> roots,
                                std::vector<files::Identity> leaveOut, JobControl &control)
{
    Walk walk(std::move(roots), std::move(leaveOut), Walk::Purpose::Count);
    Tally counted;
    while (control.waitWhilePaused()) {
        const Walk::Found found = walk.next();
        switch (found.kind) {
        case Walk::Kind::File:
            counted.bytes += static_cast<std::uint64_t>(found.status.st_size);
            ++counted.files;
            break;
        case Walk::Kind::Skipped:
        case Walk::Kind::Error:
            ++counted.files;
            break;
        case Walk::Kind::Step:
            break;
        case Walk::Kind::End:
            return counted;
        }
    }
    return std::nullopt;
}

} // namespace talo::scan
