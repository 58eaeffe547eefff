// A program of the build, run to its end against a bus of the test's.
#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

namespace talo::tests
{

struct ProgramEnd {
    int code = -1; // -1: it could not be started, crashed or had to be ended
    QByteArray out;
    QByteArray err;
};

// The path of a program in the build.
QString builtProgram(const QString &name);

// The environment of this process without a display, and with the service on the given bus.
QProcessEnvironment withoutDisplay(const QString &busAddress);

ProgramEnd runProgram(const QString &name, const QStringList &arguments, const QString &busAddress);
// The same of any program, in an environment of the caller's.
ProgramEnd runFile(const QString &path, const QStringList &arguments,
                   const QProcessEnvironment &environment);

} // namespace talo::tests
