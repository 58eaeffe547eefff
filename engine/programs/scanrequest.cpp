#include "programs/scanrequest.h"

#include "programs/words.h"

#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace talo::programs
{

namespace
{

std::optional<interface::ScanKind> kindOfCode(const QByteArray &code)
{
    if (code == "1")
        return interface::FullScan;
    if (code == "2")
        return interface::CustomScan;
    if (code == "3")
        return interface::QuickScan;
    return std::nullopt;
}

std::optional<interface::ScanKind> kindOfProgram(const QByteArray &program)
{
    const QByteArray name = program.mid(program.lastIndexOf('/') + 1);
    if (name == "FullScan")
        return interface::FullScan;
    if (name == "QuickScan")
        return interface::QuickScan;
    if (name == "CustomScan")
        return interface::CustomScan;
    return std::nullopt;
}

ParsedRequest problem(const QString &words)
{
    return {std::nullopt, words};
}

} // namespace

ParsedRequest parseScanArguments(const QList<QByteArray> &arguments)
{
    if (arguments.size() > 3)
        return problem(Programs::tr("Too many arguments."));
    const QByteArray code = arguments.value(2);
    const bool hasCode = arguments.size() > 2;
    const auto kind = hasCode ? kindOfCode(code) : kindOfProgram(arguments.value(0));
    if (!kind && hasCode)
        return problem(Programs::tr("The kind of scan is 1, 2 or 3."));
    if (!kind)
        return problem(Programs::tr("The kind of scan is missing."));

    const QByteArray path = arguments.value(1);
    if (*kind != interface::CustomScan) {
        if (arguments.size() > 1 && path != "/")
            return problem(Programs::tr("A full or quick scan chooses its places by itself: its "
                                        "path is \"/\". Use CustomScan to scan one place."));
        return {ScanRequest{*kind, "/"}, QString()};
    }
    if (path.isEmpty())
        return problem(Programs::tr("The path to scan is missing."));
    const auto absolute = absolutePath(path);
    if (!absolute)
        return problem(Programs::tr("The working directory is gone; name an absolute path."));
    return {ScanRequest{*kind, *absolute}, QString()};
}

std::optional<QByteArray> absolutePath(const QByteArray &path)
{
    if (path.startsWith('/'))
        return path;
    const std::unique_ptr<char, decltype(&std::free)> here(getcwd(nullptr, 0), &std::free);
    // The kernel names a directory that was removed or lies outside "(unreachable)".
    if (!here || *here != '/')
        return std::nullopt;
    QByteArray absolute(here.get());
    if (!absolute.endsWith('/'))
        absolute += '/';
    return absolute + path;
}

QString scanUsage()
{
    return Programs::tr("Usage: FullScan [/ [1]]\n"
                        "       QuickScan [/ [3]]\n"
                        "       CustomScan PATH [2]\n"
                        "\n"
                        "Scans for malware, in a window if there is a display, otherwise in the "
                        "terminal.\n"
                        "Exit status: 0 no threats, 1 threats found, 2 the scan failed or was "
                        "stopped.\n");
}

} // namespace talo::programs
