#include "engine/programs/support/programrun.h"

#include "engine/service/privatebus.h"

#include <QProcess>

namespace talo::tests
{

namespace
{

constexpr int kLongestRun = 20000;

} // namespace

QString builtProgram(const QString &name)
{
    return built(QStringLiteral("bin/") + name);
}

QProcessEnvironment withoutDisplay(const QString &busAddress)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.insert(QStringLiteral("TALO_BUS"), busAddress);
    return environment;
}

ProgramEnd runProgram(const QString &name, const QStringList &arguments, const QString &busAddress)
{
    return runFile(builtProgram(name), arguments, withoutDisplay(busAddress));
}

ProgramEnd runFile(const QString &path, const QStringList &arguments,
                   const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(path, arguments);
    if (!process.waitForFinished(kLongestRun)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    const bool ended = process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

} // namespace talo::tests
