// talo duplicates: files with equal content below a folder.
#include "programs/talo/commands.h"

#include "engine/libduplicatefinder.h"
#include "programs/console.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/words.h"

namespace talo::programs
{

namespace
{

enum SearchCode { kFound = 810, kNone = 801 };

Console &console()
{
    static Console shared;
    return shared;
}

void showProgress(char *path)
{
    console().progress(printable(QString::fromUtf8(path)));
}

} // namespace

int duplicatesCommand(const Words &words)
{
    if (words.size() != 1)
        return usageError(Programs::tr("\"talo duplicates\" takes one folder."));
    std::map<std::string, std::list<std::string>> groups;
    long long copies = 0;
    long long bytes = 0;
    if (console().isTerminal())
        libDuplicateFinder::register_callback(showProgress);
    const int code =
        libDuplicateFinder::DuplicateFinder(words.at(0).toStdString(), groups, 1, &copies, &bytes);
    console().clearProgress();
    if (code != kFound && code != kNone) {
        console().problem(Programs::tr("%1 is no folder that can be read.")
                              .arg(printable(QString::fromUtf8(words.at(0)))));
        return ScanFailed;
    }
    for (const auto &[key, paths] : groups) {
        console().line(QString::fromStdString(key));
        for (const std::string &path : paths)
            console().line(QLatin1String("    ") + printable(QString::fromStdString(path)));
    }
    console().line(
        code == kNone
            ? Programs::tr("No duplicate files.")
            : formatCount(static_cast<quint64>(copies), "%1 duplicate file, %2 to be freed",
                          QT_TRANSLATE_N_NOOP("Programs", "%1 duplicate files, %2 to be freed"))
                  .arg(formatBytes(static_cast<quint64>(bytes))));
    return console().flush() ? 0 : ScanFailed;
}

} // namespace talo::programs
