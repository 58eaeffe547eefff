#include "pages/startprogram.h"

#include <QProcess>

void startProgram(const QString &name, const QStringList &arguments)
{
    auto *process = new QProcess;
    QObject::connect(process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), process,
                     &QObject::deleteLater);
    // One that could not be started does not finish.
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             process->deleteLater();
                     });
    process->start("/usr/local/taloantivirus/bin/" + name, arguments, QIODevice::ReadWrite);
}
