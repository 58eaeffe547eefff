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

QString threatCount(quint64 count)
{
    return formatCount(count, "threat", "threats");
}

QString endWord(uint state)
{
    switch (state) {
    case interface::Finished:
        return inWords("finished");
    case interface::Stopped:
        return inWords("stopped");
    case interface::Failed:
        return inWords("failed");
    case interface::Interrupted:
        return inWords("interrupted");
    default:
        return QString();
    }
}

} // namespace

Notice threatNotice(const QString &scanType, int count, const QList<FoundThreat> &latest)
{
    Notice notice;
    notice.icon = QStringLiteral("security-low");
    notice.urgency = Notice::Urgency::Critical;
    notice.summary = count == 1 ? inWords("Threat found")
                                : threatCount(static_cast<quint64>(count)) + inWords(" found");
    QStringList lines{shortened(scanType)};
    for (const FoundThreat &threat : latest)
        // Built from parts: a name may look like a placeholder.
        lines << shortened(threat.name) + inWords(" in ") + shortened(threat.path) +
                     QStringLiteral(": ") + shortened(threat.outcome);
    notice.body = lines.join(QLatin1Char('\n'));
    return notice;
}

std::optional<Notice> endNotice(const EndedScan &scan)
{
    const QString word = endWord(scan.state);
    if (word.isEmpty())
        return std::nullopt;
    Notice notice;
    notice.summary = shortened(scan.type) + QLatin1Char(' ') + word;
    const QString found = scan.threats == 0 ? inWords("No threats") : threatCount(scan.threats);
    QStringList lines{found + inWords(" found in ") + formatCount(scan.files, "file", "files")};
    if (!scan.scanned.isEmpty())
        lines << inWords("Scanned: ") + shortened(scan.scanned);
    if (scan.report.isEmpty())
        lines << inWords("Its report could not be stored.");
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
    notice.summary = inWords("The virus signatures need an update");
    notice.body = words.advice;
    return notice;
}

} // namespace talo::programs
