#include "programs/productupdatewords.h"

#include "programs/printable.h"
#include "programs/words.h"

#include <algorithm>

namespace talo::programs
{

QString updateStep(const client::ProgramUpdate &update)
{
    const QString version = printable(update.version);
    switch (update.state) {
    case interface::ProgramDownloading:
        return Programs::tr("Downloading release %1 ...").arg(version);
    case interface::ProgramVerifying:
        return Programs::tr("Checking release %1 ...").arg(version);
    case interface::ProgramInstalling:
        return Programs::tr("Installing release %1 ...").arg(version);
    default:
        return Programs::tr("Looking for a newer release ...");
    }
}

QString updateOutcome(const client::ProgramUpdate &update)
{
    const QString version = printable(update.version);
    switch (update.state) {
    case interface::ProgramAvailable:
        return Programs::tr("Release %1 of %2 is available.").arg(version, printable(update.date));
    case interface::ProgramLatest:
        return Programs::tr("You already have the latest release.");
    case interface::ProgramInstalled:
        return Programs::tr("Release %1 is installed.").arg(version);
    case interface::ProgramStopped:
        return Programs::tr("The program update was stopped.");
    case interface::ProgramUnreachable:
        return Programs::tr("The update server is not reached. Try again later.");
    case interface::ProgramNoSource:
        return Programs::tr("No update source is configured.");
    default:
        return Programs::tr("The program was not updated.");
    }
}

QString updateReason(const client::ProgramUpdate &update)
{
    if (update.state == interface::ProgramNoSource)
        return Programs::tr("The administrator names one in "
                            "/etc/taloantivirus/taloantivirus.conf.");
    return printableLines(update.problem.trimmed());
}

int percentDownloaded(const client::ProgramUpdate &update)
{
    if (update.total == 0 || update.state == interface::ProgramChecking)
        return -1;
    return static_cast<int>(
        std::min<double>(100, 100.0 * double(update.received) / double(update.total)));
}

int updateExitCode(const client::ProgramUpdate &update)
{
    const bool good = update.state == interface::ProgramAvailable ||
                      update.state == interface::ProgramLatest ||
                      update.state == interface::ProgramInstalled;
    return good ? 0 : 2;
}

} // namespace talo::programs
