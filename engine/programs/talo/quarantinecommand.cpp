// talo quarantine: what was taken away, and the ways back and out.
#include "programs/talo/commands.h"

#include "interface/names.h"
#include "interface/types.h"
#include "programs/console.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/talo/service.h"
#include "programs/words.h"

#include <QDBusArgument>
#include <QDateTime>

namespace talo::programs
{

namespace
{

QString row(const interface::QuarantineEntry &entry)
{
    const QString when =
        QDateTime::fromSecsSinceEpoch(entry.time).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    return QStringLiteral("%1  %2  %3  %4  %5")
        .arg(printable(entry.id), when)
        .arg(formatBytes(entry.size), 9)
        .arg(printable(entry.threat), printable(entry.path));
}

int list()
{
    const auto answer = askService(interface::kQuarantine, "List", {}, "a(sxsst)");
    if (!answer)
        return ScanFailed;
    const auto objects = qdbus_cast<interface::QuarantineList>(answer->at(0));
    Console console;
    if (objects.isEmpty())
        console.line(Programs::tr("The quarantine is empty."));
    for (const interface::QuarantineEntry &entry : objects)
        console.line(row(entry));
    return console.flush() ? 0 : ScanFailed;
}

int act(const char *method, const QByteArray &id, const QString &done)
{
    if (!askService(interface::kQuarantine, method, {QString::fromUtf8(id)}, ""))
        return ScanFailed;
    Console console;
    console.line(done);
    return console.flush() ? 0 : ScanFailed;
}

} // namespace

int quarantineCommand(const Words &words)
{
    const QByteArray verb = words.value(0);
    if (verb == "list" && words.size() == 1)
        return list();
    if (words.size() == 2 && !words.at(1).isEmpty()) {
        if (verb == "restore")
            return act("Restore", words.at(1),
                       Programs::tr("Put back where it was. Be careful with it."));
        if (verb == "purge")
            return act("Purge", words.at(1), Programs::tr("Destroyed for good."));
    }
    return usageError(Programs::tr("\"talo quarantine\" takes list, restore ID or purge ID."));
}

} // namespace talo::programs
