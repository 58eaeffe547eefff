// talo: the command line of the product.
#include "language/language.h"
#include "programs/console.h"
#include "programs/scanwords.h"
#include "programs/talo/commands.h"
#include "programs/terminalrun.h"
#include "programs/usage.h"
#include "programs/words.h"
#include "taloversion.h"

#include <QCoreApplication>

#include <array>

namespace talo::programs
{

namespace
{

constexpr std::array<UsageLine, 16> kUsage{{
    {"status", QT_TRANSLATE_NOOP("Programs", "the service, its scans and its signatures")},
    {"scan PATH...", QT_TRANSLATE_NOOP("Programs", "scan files and folders")},
    {"scan --full | --quick",
     QT_TRANSLATE_NOOP("Programs", "scan everything, or the places where threats live and start")},
    {"report list [--from DAY] [--to DAY]",
     QT_TRANSLATE_NOOP("Programs", "reports of past scans; a day is written as 2026-11-21")},
    {"report show KEY", QT_TRANSLATE_NOOP("Programs", "one report")},
    {"report delete KEY", QT_TRANSLATE_NOOP("Programs", "delete one report for good")},
    {"quarantine list", QT_TRANSLATE_NOOP("Programs", "what was taken away")},
    {"quarantine restore ID", QT_TRANSLATE_NOOP("Programs", "put it back where it was")},
    {"quarantine purge ID", QT_TRANSLATE_NOOP("Programs", "destroy it for good")},
    {"schedule list | add NAME ... | remove NAME | next",
     QT_TRANSLATE_NOOP("Programs", "scans at set times; \"talo schedule --help\" tells more")},
    {"update signatures [--check]",
     QT_TRANSLATE_NOOP("Programs", "fetch new signatures, or tell how the last updates went")},
    {"shred [--yes] [--passes=N] FILE...",
     QT_TRANSLATE_NOOP("Programs", "destroy files beyond recovery; --yes asks no questions")},
    {"duplicates FOLDER",
     QT_TRANSLATE_NOOP("Programs", "files with equal content, the largest gain first")},
    {"update program [--check]",
     QT_TRANSLATE_NOOP("Programs", "install a newer release of the program, or tell of one")},
    {"help", QT_TRANSLATE_NOOP("Programs", "this text")},
    {"--version", QT_TRANSLATE_NOOP("Programs", "the version of talo")},
}};

QString usage()
{
    return Programs::tr("Usage: %1").arg(QLatin1String("talo COMMAND\n\n")) + usageLines(kUsage) +
           QLatin1Char('\n') +
           Programs::tr("Exit status of a scan: 0 no threats, 1 threats found, 2 it failed or was "
                        "stopped.\n"
                        "Exit status of all else: 0 done, 2 not done.\n"
                        "TALO_BUS names another bus than the usual: system, session or a D-Bus "
                        "address.");
}

struct Command {
    const char *name;
    int (*run)(const Words &words);
};

constexpr Command kCommands[] = {
    {"status", statusCommand},         {"scan", scanCommand},         {"report", reportCommand},
    {"quarantine", quarantineCommand}, {"schedule", scheduleCommand}, {"shred", shredCommand},
    {"duplicates", duplicatesCommand}, {"update", updateCommand},
};

int print(const QString &text)
{
    Console console;
    console.line(text);
    return console.flush() ? 0 : ScanFailed;
}

int run(const Words &words)
{
    const QByteArray name = words.value(0);
    if (name == "help" || name == "--help" || name == "-h")
        return print(usage());
    if (name == "--version")
        return print(QStringLiteral("talo " TALO_VERSION));
    for (const Command &command : kCommands)
        if (name == command.name)
            return command.run(words.mid(1));
    return usageError(name.isEmpty() ? Programs::tr("A command is missing.")
                                     : Programs::tr("There is no such command."));
}

} // namespace

int usageError(const QString &problem)
{
    Console().problem(problem + QLatin1Char(' ') +
                      Programs::tr("\"talo help\" tells how talo is used."));
    return ScanFailed;
}

} // namespace talo::programs

int main(int argc, char **argv)
{
    using namespace talo::programs;
    ignoreBrokenPipes();
    Words words;
    for (int index = 1; index < argc; ++index)
        words << QByteArray(argv[index]);
    int one = 1; // the rest is ours, not options of Qt's
    const QCoreApplication application(one, argv);
    talo::useUserLanguage();
    useUtf8();
    return run(words);
}
