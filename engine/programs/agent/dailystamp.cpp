#include "programs/agent/dailystamp.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace talo::programs
{

namespace
{

constexpr qint64 kSecondsOfDay = qint64{24} * 60 * 60;
constexpr qint64 kLongestNumber = 20;

} // namespace

DailyStamp::DailyStamp(const QString &file) : file_(file)
{
    QFile stored(file_);
    if (stored.open(QIODevice::ReadOnly))
        last_ = stored.read(kLongestNumber).trimmed().toLongLong();
}

bool DailyStamp::due(const QDateTime &now) const
{
    const qint64 seconds = now.toSecsSinceEpoch();
    return last_ <= 0 || last_ > seconds || seconds - last_ >= kSecondsOfDay;
}

void DailyStamp::set(const QDateTime &now)
{
    last_ = now.toSecsSinceEpoch();
    QDir().mkpath(QFileInfo(file_).path());
    QSaveFile stored(file_);
    if (!stored.open(QIODevice::WriteOnly) || stored.write(QByteArray::number(last_) + '\n') < 0 ||
        !stored.commit())
        qWarning("Cannot write %s: %s", qUtf8Printable(file_),
                 qUtf8Printable(stored.errorString()));
}

} // namespace talo::programs
