// Remembers in a file when something was done last, for what is to be done once a day at most.
#pragma once

#include <QDateTime>
#include <QString>

namespace talo::programs
{

class DailyStamp
{
public:
    // The file need not exist; its folder is made at need.
    explicit DailyStamp(const QString &file);

    // A time in the future is none: the clock was set back since.
    bool due(const QDateTime &now) const;
    // Holds for this object even where the file cannot be written.
    void set(const QDateTime &now);

private:
    QString file_;
    qint64 last_ = 0; // seconds since 1970, 0 for never
};

} // namespace talo::programs
