// talo report: the reports of past scans.
#include "programs/talo/commands.h"

#include "interface/names.h"
#include "interface/types.h"
#include "programs/console.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/talo/service.h"
#include "programs/words.h"

#include <QDBusArgument>
#include <QDate>

namespace talo::programs
{

namespace
{

// Answers of the service's report store.
enum StoreCode { kDone = 0, kUnreadable = 201, kNoSuchReport = 203, kNoneInRange = 204 };
constexpr int kStartAfterEnd = 205;

int problem(const QString &text)
{
    Console().problem(text);
    return ScanFailed;
}

int storeProblem(int code)
{
    if (code == kNoSuchReport)
        return problem(Programs::tr("There is no such report. \"talo report list\" shows those "
                                    "that there are."));
    if (code == kStartAfterEnd)
        return problem(Programs::tr("The range ends before it starts."));
    return problem(Programs::tr("The service cannot read or write its reports (code %1). Its log "
                                "says why.")
                       .arg(code));
}

// A day of the command line as the store's bounds have it.
bool takeDay(const QByteArray &word, QString &bound)
{
    const QDate day = QDate::fromString(QString::fromLatin1(word), QStringLiteral("yyyy-MM-dd"));
    if (day.isValid())
        bound = QStringLiteral("%1:%2:%3").arg(day.year()).arg(day.month()).arg(day.day());
    return day.isValid();
}

int list(const Words &words)
{
    QString from;
    QString to;
    for (int index = 0; index < words.size(); index += 2) {
        const QByteArray &option = words.at(index);
        if (option != "--from" && option != "--to")
            return usageError(Programs::tr("\"talo report list\" knows --from DAY and --to DAY."));
        if (!takeDay(words.value(index + 1), option == "--from" ? from : to))
            return usageError(Programs::tr("A day is written as 2026-11-21."));
    }
    const auto answer = askService(interface::kReports, "List", {from, to}, "ia(ss)");
    if (!answer)
        return ScanFailed;
    Console console;
    const int code = answer->at(0).toInt();
    if (code == kNoneInRange)
        console.line(Programs::tr("No reports."));
    else if (code != kDone)
        return storeProblem(code);
    const auto reports = qdbus_cast<interface::ReportList>(answer->at(1));
    for (const interface::ReportEntry &report : reports)
        console.line(printable(report.key) + QLatin1String("  ") + printable(report.type));
    return console.flush() ? 0 : ScanFailed;
}

int show(const QString &key)
{
    const auto answer = askService(interface::kReports, "Read", {key}, "issss");
    if (!answer)
        return ScanFailed;
    if (answer->at(0).toInt() != kDone)
        return storeProblem(answer->at(0).toInt());
    QString text = printableLines(answer->at(3).toString());
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    Console console;
    console.line(text);
    return console.flush() ? 0 : ScanFailed;
}

int remove(const QString &key)
{
    const auto answer = askService(interface::kReports, "Delete", {key}, "i");
    if (!answer)
        return ScanFailed;
    return answer->at(0).toInt() == kDone ? 0 : storeProblem(answer->at(0).toInt());
}

} // namespace

int reportCommand(const Words &words)
{
    const QByteArray verb = words.value(0);
    if (verb == "list")
        return list(words.mid(1));
    if (verb != "show" && verb != "delete")
        return usageError(Programs::tr("\"talo report\" takes list, show KEY or delete KEY."));
    // A key has a space in it, which people do not always quote.
    const QString key = QString::fromUtf8(words.mid(1).join(' '));
    if (key.isEmpty())
        return usageError(
            Programs::tr("The key of the report is missing, as \"talo report list\" shows it."));
    return verb == "show" ? show(key) : remove(key);
}

} // namespace talo::programs
