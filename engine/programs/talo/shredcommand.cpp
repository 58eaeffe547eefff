// talo shred: destroys files, one after the other.
#include "programs/talo/commands.h"

#include "client/shredding.h"
#include "programs/console.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/words.h"

#include <QElapsedTimer>
#include <QStringList>

#include <cstdio>
#include <unistd.h>

namespace talo::programs
{

namespace
{

constexpr char kPasses[] = "--passes=";
constexpr qint64 kBetweenUpdatesMs = 100;

struct Request {
    Words paths;
    bool asks = true;
    int passes = 1; // or as many as the administrator wants, if that is more
};

// False: not understood.
bool parse(const Words &words, Request &request)
{
    bool options = true;
    for (const QByteArray &word : words) {
        if (options && word == "--")
            options = false;
        else if (options && word == "--yes")
            request.asks = false;
        else if (options && word.startsWith(kPasses)) {
            bool number = false;
            request.passes = word.mid(static_cast<int>(sizeof kPasses) - 1).toInt(&number);
            if (!number || request.passes < 1 || request.passes > client::kMostPasses)
                return false;
        } else if (word.isEmpty() || (options && word.startsWith('-')))
            return false;
        else
            request.paths << word;
    }
    return !request.paths.isEmpty();
}

QString shown(const QByteArray &path)
{
    return printable(QString::fromUtf8(path));
}

// Without a terminal nobody can be asked, and a script that calls this means it.
bool isMeant(const Request &request, Console &console)
{
    if (!request.asks || isatty(STDIN_FILENO) != 1)
        return true;
    const int count = request.paths.size();
    const QString what =
        count == 1 ? shown(request.paths.first()) : formatFiles(static_cast<quint64>(count));
    console.problem(Programs::tr("Destroy %1 for good? Nothing can bring it back. "
                                 "Type \"yes\" to go on:")
                        .arg(what));
    char answer[8] = {};
    return std::fgets(answer, sizeof answer, stdin) != nullptr && QByteArray(answer) == "yes\n";
}

// One file's progress on the console, at most ten times a second.
class ProgressLine
{
public:
    ProgressLine(Console &console, QString name) : console_(console), name_(std::move(name)) {}

    void show(long long written, long long planned)
    {
        if (planned <= 0 || (since_.isValid() && since_.elapsed() < kBetweenUpdatesMs))
            return;
        since_.start();
        const QString numbers = Programs::tr("%1%  %2 of %3")
                                    .arg(written * 100 / planned, 3)
                                    .arg(formatBytes(static_cast<quint64>(written)),
                                         formatBytes(static_cast<quint64>(planned)));
        console_.progress((numbers + QLatin1String("  ") + name_).left(console_.width() - 1));
    }

private:
    Console &console_;
    QString name_;
    QElapsedTimer since_;
};

void collect(QStringList &doubts, const std::vector<std::string> &more)
{
    for (const std::string &text : more)
        if (const QString doubt = QString::fromStdString(text); !doubts.contains(doubt))
            doubts << doubt;
}

int shredAll(const Request &request, Console &console)
{
    QStringList doubts;
    int destroyed = 0;
    auto shredder = client::configuredShredder(request.passes);
    for (const QByteArray &path : request.paths) {
        ProgressLine line(console, shown(path));
        const files::ShredResult result =
            shredder.shred(path.toStdString(), [&](long long written, long long planned) {
                line.show(written, planned);
            });
        collect(doubts, result.doubts);
        if (result.fault == files::ShredFault::None)
            ++destroyed;
        else
            console.problem(QStringLiteral("%1: %2").arg(
                shown(path), printable(QString::fromStdString(result.text))));
    }
    collect(doubts, shredder.finish());
    console.line(formatCount(static_cast<quint64>(destroyed), "%1 file destroyed.",
                             QT_TRANSLATE_N_NOOP("Programs", "%1 files destroyed.")));
    if (destroyed > 0)
        for (const QString &doubt : doubts)
            console.problem(Programs::tr("But: %1").arg(doubt));
    return destroyed == request.paths.size() && console.flush() ? 0 : ScanFailed;
}

} // namespace

int shredCommand(const Words &words)
{
    Request request;
    if (!parse(words, request))
        return usageError(
            Programs::tr("\"talo shred\" takes files, --yes to ask no questions, and --passes=N."));
    Console console;
    if (isMeant(request, console))
        return shredAll(request, console);
    console.problem(Programs::tr("Nothing was destroyed."));
    return ScanFailed;
}

} // namespace talo::programs
