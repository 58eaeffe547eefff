#include "programs/agent/noticewords.h"

#include "interface/names.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/signatures.h"
#include "programs/words.h"

#include <QStringList>

namespace talo::programs
{

namespace
{

constexpr int kLongestText = 120;

// Notifications are small and names may be long: begin and end say most about a path. A character
// of two units is not torn apart.
QString shortened(const QString &text)
{
    QString safe = printable(text);
    if (safe.size() <= kLongestText)
        return safe;
    QString head = safe.left(kLongestText / 2);
    QString tail = safe.right(kLongestText / 2);
    if (head.at(head.size() - 1).isHighSurrogate())
        head.chop(1);
    if (tail.at(0).isLowSurrogate())
        tail.remove(0, 1);
    return head + QChar(0x2026) + tail;
}

QString endSummary(uint state)
{
    switch (state) {
    case interface::Finished:
        return Programs::tr("%1 finished");
    case interface::Stopped:
        return Programs::tr("%1 stopped");
    case interface::Failed:
        return Programs::tr("%1 failed");
    case interface::Interrupted:
        return Programs::tr("%1 interrupted");
    default:
        return QString();
    }
}

QString threatsIn(const EndedScan &scan)
{
    const QString files = formatFiles(scan.files);
    if (scan.threats == 0)
        return Programs::tr("No threats found in %1").arg(files);
    return formatCount(scan.threats, "%1 threat found in %2",
                       QT_TRANSLATE_N_NOOP("Programs", "%1 threats found in %2"))
        .arg(files);
}

} // namespace

Notice threatNotice(const QString &scanType, int count, const QList<FoundThreat> &latest)
{
    Notice notice;
    notice.icon = QStringLiteral("security-low");
    notice.urgency = Notice::Urgency::Critical;
    notice.summary = count == 1 ? Programs::tr("Threat found")
                                : formatCount(static_cast<quint64>(count), "%1 threat found",
                                              QT_TRANSLATE_N_NOOP("Programs", "%1 threats found"));
    QStringList lines{shortened(scanType)};
    for (const FoundThreat &threat : latest)
        // All at once: a name may look like a placeholder.
        lines << Programs::tr("%1 in %2: %3")
                     .arg(shortened(threat.name), shortened(threat.path),
                          shortened(threat.outcome));
    notice.body = lines.join(QLatin1Char('\n'));
    return notice;
}

std::optional<Notice> endNotice(const EndedScan &scan)
{
    const QString summary = endSummary(scan.state);
    if (summary.isEmpty())
        return std::nullopt;
    Notice notice;
    notice.summary = summary.arg(shortened(scan.type));
    QStringList lines{threatsIn(scan)};
    if (!scan.scanned.isEmpty())
        lines << Programs::tr("Scanned: %1").arg(shortened(scan.scanned));
    if (scan.report.isEmpty())
        lines << Programs::tr("Its report could not be stored.");
    notice.body = lines.join(QLatin1Char('\n'));

    if (scan.threats > 0) {
        notice.icon = QStringLiteral("security-low");
        notice.urgency = Notice::Urgency::Critical;
    } else if (scan.state == interface::Finished) {
        notice.icon = QStringLiteral("security-high");
    } else {
        notice.icon = QStringLiteral("dialog-warning");
    }
    return notice;
}

std::optional<Notice> signatureNotice(const QVariantMap &status, const QDateTime &now)
{
    if (status.value(QStringLiteral("signatureSet")).toString().isEmpty())
        return std::nullopt;
    const SignatureWords words = describeSignatures(status, now);
    if (words.advice.isEmpty())
        return std::nullopt;
    Notice notice;
    notice.icon = QStringLiteral("dialog-warning");
    notice.summary = Programs::tr("The virus signatures need an update");
    notice.body = words.advice;
    return notice;
}

} // namespace talo::programs
