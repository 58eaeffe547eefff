// Stand-ins for the engine's programs below /usr/local/taloantivirus/bin.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace talo::test
{

struct Launch {
    QString program;
    QStringList arguments;
    qint64 parent; // process id
};

// The programs are seen by this process and its children alone: they live on a file system of the
// process's own mount namespace, and vanish with it. Make one before the application object, while
// the process has a single thread. Needs root.
class Programs
{
public:
    explicit Programs(const QStringList &names);

    // Empty when the stand-ins are in place; otherwise why a test must be skipped.
    QString obstacle() const { return obstacle_; }

    // Only launches whose line is complete.
    QList<Launch> launches() const;
    void forgetLaunches();

private:
    QString prepare(const QStringList &names);

    QTemporaryDir folder_;
    QString log_;
    QString obstacle_;
};

} // namespace talo::test
