// talo update program: looks for a newer release of the program, and installs it.
#include "programs/talo/commands.h"

#include "programs/terminalproductupdate.h"
#include "programs/words.h"

namespace talo::programs
{

int updateProgram(const Words &words)
{
    using Want = client::ProductUpdateJob::Want;
    if (words.isEmpty())
        return runTerminalProductUpdate(Want::Install);
    if (words == Words{"--check"})
        return runTerminalProductUpdate(Want::Check);
    return usageError(Programs::tr("\"talo update program\" takes nothing but \"--check\"."));
}

} // namespace talo::programs
