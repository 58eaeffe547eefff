// talo scan: scans in the terminal.
#include "programs/talo/commands.h"

#include "programs/scanrequest.h"
#include "programs/terminalrun.h"
#include "programs/words.h"

#include <optional>

namespace talo::programs
{

namespace
{

std::optional<interface::ScanKind> kindOfOption(const QByteArray &word)
{
    if (word == "--full")
        return interface::FullScan;
    if (word == "--quick")
        return interface::QuickScan;
    return std::nullopt;
}

} // namespace

int scanCommand(const Words &words)
{
    if (words.isEmpty())
        return usageError(Programs::tr("Name what to scan: paths, --full or --quick."));
    if (const auto kind = kindOfOption(words.at(0))) {
        if (words.size() > 1)
            return usageError(Programs::tr("--full and --quick take nothing else."));
        return runTerminalScans({ScanRequest{*kind, "/"}});
    }
    QList<ScanRequest> requests;
    bool options = true;
    for (const QByteArray &word : words) {
        if (options && word == "--") {
            options = false;
            continue;
        }
        if (options && word.startsWith('-'))
            return usageError(
                Programs::tr("\"talo scan\" knows --full and --quick alone. Put -- before a path "
                             "that begins with a dash."));
        const auto path = word.isEmpty() ? std::nullopt : absolutePath(word);
        if (!path)
            return usageError(
                Programs::tr("One of the paths is empty, or the working directory is gone."));
        requests << ScanRequest{interface::CustomScan, *path};
    }
    if (requests.isEmpty())
        return usageError(Programs::tr("Name what to scan: paths, --full or --quick."));
    return runTerminalScans(requests);
}

} // namespace talo::programs
