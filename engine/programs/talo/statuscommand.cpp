// talo status: which service is reached, and what it works with.
#include "programs/talo/commands.h"

#include "client/bus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "programs/console.h"
#include "programs/format.h"
#include "programs/guards.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/signatures.h"
#include "programs/talo/service.h"
#include "programs/textrows.h"
#include "programs/words.h"

#include <QDBusArgument>
#include <QStringList>

namespace talo::programs
{

namespace
{

constexpr int kCaptionColumns = 12;

QString jobWords(const interface::RunningJobs &jobs)
{
    if (jobs.isEmpty())
        return Programs::tr("none");
    QStringList titles;
    for (const interface::RunningJob &job : jobs)
        titles << kindTitle(static_cast<interface::ScanKind>(job.kind));
    return titles.join(QLatin1String(", "));
}

} // namespace

int statusCommand(const Words &words)
{
    if (!words.isEmpty())
        return usageError(Programs::tr("\"talo status\" takes no arguments."));
    const auto answer = askService(interface::kStatus, "GetStatus", {}, "a{sv}");
    if (!answer)
        return ScanFailed;
    const auto running = askService(interface::kScan, "Running", {}, "a(uu)");
    if (!running)
        return ScanFailed;

    const auto status = qdbus_cast<QVariantMap>(answer->at(0));
    const auto text = [&status](const char *key) {
        return printable(status.value(QLatin1String(key)).toString());
    };
    const SignatureWords signatures = describeSignatures(status, QDateTime::currentDateTimeUtc());
    Console console;
    const TextRows rows{
        {Programs::tr("Service:"),
         Programs::tr("version %1 on the %2, as user %3")
             .arg(text("version"), client::Bus::instance().place(), text("user"))},
        {Programs::tr("Scans:"), jobWords(qdbus_cast<interface::RunningJobs>(running->at(0)))},
        {Programs::tr("Signatures:"), signatures.inUse},
        {Programs::tr("Folder:"), text("signatureFolder")},
        {Programs::tr("Firewall:"), firewallWords(status)},
        {Programs::tr("USB storage:"), storageWords(status)},
        {Programs::tr("Drives:"), driveWords(status)}};
    for (const QString &line : aligned(rows, kCaptionColumns))
        console.line(line);
    if (!signatures.advice.isEmpty())
        console.line(signatures.advice);
    return console.flush() ? 0 : ScanFailed;
}

} // namespace talo::programs
