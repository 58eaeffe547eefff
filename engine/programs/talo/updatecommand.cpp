// talo update: brings signatures and program up to date.
#include "programs/talo/commands.h"

#include "programs/words.h"

namespace talo::programs
{

int updateCommand(const Words &words)
{
    const Words rest = words.mid(1);
    if (words.value(0) == "signatures")
        return updateSignatures(rest);
    if (words.value(0) == "program")
        return updateProgram(rest);
    return usageError(Programs::tr("\"talo update\" takes signatures or program."));
}

} // namespace talo::programs
