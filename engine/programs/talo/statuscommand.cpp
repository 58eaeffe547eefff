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

#include <QDBusArgument>
#include <QStringList>

namespace talo::programs
{

namespace
{

QString jobWords(const interface::RunningJobs &jobs)
{
    if (jobs.isEmpty())
        return QStringLiteral("none");
    QStringList titles;
    for (const interface::RunningJob &job : jobs)
        titles << kindTitle(static_cast<interface::ScanKind>(job.kind));
    return titles.join(QLatin1String(", "));
}

} // namespace

int statusCommand(const Words &words)
{
    if (!words.isEmpty())
        return usageError("\"talo status\" takes no arguments.");
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
    const auto row = [&console](const char *caption, const QString &value) {
        console.line(QStringLiteral("%1 %2").arg(QLatin1String(caption), -12).arg(value));
    };
    row("Service:", QStringLiteral("version %1 on the %2, as user %3")
                        .arg(text("version"), client::Bus::instance().place(), text("user")));
    row("Scans:", jobWords(qdbus_cast<interface::RunningJobs>(running->at(0))));
    row("Signatures:", signatures.inUse);
    row("Folder:", text("signatureFolder"));
    row("Firewall:", firewallWords(status));
    row("USB storage:", storageWords(status));
    row("Drives:", driveWords(status));
    if (!signatures.advice.isEmpty())
        console.line(signatures.advice);
    return console.flush() ? 0 : ScanFailed;
}

} // namespace talo::programs
