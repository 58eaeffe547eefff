// talo: the command line of the product.
#include "programs/console.h"
#include "programs/scanwords.h"
#include "programs/talo/commands.h"
#include "programs/terminalrun.h"
#include "taloversion.h"

#include <QCoreApplication>

namespace talo::programs
{

namespace
{

constexpr char kUsage[] =
    "Usage: talo COMMAND\n"
    "\n"
    "  status                      the service, its scans and its signatures\n"
    "  scan PATH...                scan files and folders\n"
    "  scan --full | --quick       scan everything, or the places where threats live and start\n"
    "  report list [--from DAY] [--to DAY]\n"
    "                              reports of past scans; a day is written as 2026-11-21\n"
    "  report show KEY             one report\n"
    "  report delete KEY           delete one report for good\n"
    "  quarantine list             what was taken away\n"
    "  quarantine restore ID       put it back where it was\n"
    "  quarantine purge ID         destroy it for good\n"
    "  schedule list | add NAME ... | remove NAME | next\n"
    "                              scans at set times; \"talo schedule --help\" tells more\n"
    "  update signatures [--check] fetch new signatures, or tell how the last updates went\n"
    "  shred [--yes] [--passes=N] FILE...\n"
    "                              destroy files beyond recovery; --yes asks no questions\n"
    "  duplicates FOLDER           files with equal content, the largest gain first\n"
    "  update program [--check]    install a newer release of the program, or tell of one\n"
    "  help, --version\n"
    "\n"
    "Exit status of a scan: 0 no threats, 1 threats found, 2 it failed or was stopped.\n"
    "Exit status of all else: 0 done, 2 not done.\n"
    "TALO_BUS names another bus than the usual: system, session or a D-Bus address.\n";

struct Command {
    const char *name;
    int (*run)(const Words &words);
};

constexpr Command kCommands[] = {
    {"status", statusCommand},         {"scan", scanCommand},         {"report", reportCommand},
    {"quarantine", quarantineCommand}, {"schedule", scheduleCommand}, {"shred", shredCommand},
    {"duplicates", duplicatesCommand}, {"update", updateCommand},
};

int print(const char *text)
{
    Console console;
    console.line(QString::fromLatin1(text).trimmed());
    return console.flush() ? 0 : ScanFailed;
}

int run(const Words &words)
{
    const QByteArray name = words.value(0);
    if (name == "help" || name == "--help" || name == "-h")
        return print(kUsage);
    if (name == "--version")
        return print("talo " TALO_VERSION);
    for (const Command &command : kCommands)
        if (name == command.name)
            return command.run(words.mid(1));
    return usageError(name.isEmpty() ? "A command is missing." : "There is no such command.");
}

} // namespace

int usageError(const char *problem)
{
    Console().problem(QLatin1String(problem) +
                      QLatin1String(" \"talo help\" tells how talo is used."));
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
    useUtf8();
    return run(words);
}
