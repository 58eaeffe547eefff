#include "support/programs.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace talo::test
{
namespace
{

const char kPrefix[] = "/usr/local/taloantivirus";

QString failure(const char *what)
{
    return QString("%1: %2").arg(what, std::strerror(errno));
}

bool writeProgram(const QString &path, const QString &log)
{
    // One printf a launch: a line is written whole or not at all.
    const QString script = QString("#!/bin/sh\n"
                                   "line=\"${0##*/}|$PPID\"\n"
                                   "for argument; do line=\"$line|$argument\"; done\n"
                                   "printf '%s\\n' \"$line\" >> '%1'\n")
                               .arg(log);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(script.toUtf8()) > 0 &&
           file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
}

} // namespace

Programs::Programs(const QStringList &names)
    : log_(folder_.filePath("launches")), obstacle_(prepare(names))
{
}

QString Programs::prepare(const QStringList &names)
{
    if (geteuid() != 0) {
        return "needs root to put stand-ins for the engine's programs in place";
    }
    if (unshare(CLONE_NEWNS) != 0) {
        return failure("unshare");
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return failure("private mounts");
    }
    // A missing mount point is not created: it would stay behind on the machine.
    const char *place = QDir(kPrefix).exists() ? kPrefix : "/usr/local";
    if (mount("tmpfs", place, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755,size=1m") != 0) {
        return failure("tmpfs");
    }
    const QString bin = QString(kPrefix) + "/bin";
    if (!QDir().mkpath(bin)) {
        return "cannot create " + bin;
    }
    for (const QString &name : names) {
        if (!writeProgram(bin + '/' + name, log_)) {
            return "cannot write " + name;
        }
    }
    return {};
}

QList<Launch> Programs::launches() const
{
    QFile file(log_);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split('\n');
    lines.removeLast();
    QList<Launch> found;
    for (const QString &line : qAsConst(lines)) {
        const QStringList fields = line.split('|');
        found << Launch{fields.value(0), fields.mid(2), fields.value(1).toLongLong()};
    }
    return found;
}

void Programs::forgetLaunches()
{
    QFile::remove(log_);
}

} // namespace talo::test
