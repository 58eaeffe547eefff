#include "product/installation.h"

#include "product/desktop.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace talo::test
{

namespace
{

// Makes /usr/local ours and puts the build there. Runs before anything of Qt does. Returns why this
// machine does not allow it, or nothing. Throws a Failure where the build is not fit.
std::string install(const char *buildFolder)
{
    if (geteuid() != 0)
        return "needs root, to install the product where its programs look for each other";
    if (unshare(CLONE_NEWNS) || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr))
        return "needs a mount namespace";
    if (mount("talo-test", "/usr/local", "tmpfs", 0, "mode=0755"))
        return "cannot mount";
    // A message bus admits only users that the system knows.
    std::ifstream known("/etc/passwd");
    std::ofstream users("/usr/local/passwd");
    users << known.rdbuf() << "talo-test:x:" << kUser << ":" << kUser
          << "::/nonexistent:/bin/false\n";
    users.close();
    if (mount("/usr/local/passwd", "/etc/passwd", nullptr, MS_BIND, nullptr))
        return "cannot make a user known";
    const std::string command =
        "/usr/bin/env cmake --install '" + std::string(buildFolder) + "' >/dev/null";
    // NOLINTNEXTLINE(cert-env33-c, bugprone-command-processor): our own build folder, quoted
    if (std::system(command.c_str()) != 0)
        throw Failure("cmake --install failed; are all targets built?");
    return {};
}

bool becomeUser()
{
    return setgroups(0, nullptr) == 0 && setresgid(kUser, kUser, kUser) == 0 &&
           setresuid(kUser, kUser, kUser) == 0;
}

} // namespace

QByteArray eicar()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

QByteArray run(const QString &program, const QStringList &arguments, int *code)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(300000)) {
        process.kill();
        process.waitForFinished();
    }
    if (code)
        *code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return process.readAll();
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write(content) != content.size())
        throw Failure("cannot write " + path.toStdString());
}

Running::Running(const QString &program, const QStringList &arguments)
{
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // A crash of this process must not leave it behind.
    process_.start("setpriv", QStringList{"--pdeathsig", "TERM", "--", program} + arguments);
    if (!process_.waitForStarted())
        throw Failure("cannot start " + program.toStdString());
}

Running::~Running()
{
    process_.terminate();
    if (!process_.waitForFinished(10000)) {
        process_.kill();
        process_.waitForFinished();
    }
}

QByteArray Running::readLine()
{
    while (!process_.canReadLine()) {
        if (!process_.waitForReadyRead(10000))
            throw Failure("a server said nothing");
    }
    return process_.readLine().trimmed();
}

Engine::Engine(const QString &home)
{
    qputenv("HOME", home.toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", home.toLocal8Bit());
    qunsetenv("XDG_DATA_HOME");
    write(home + "/bus.conf",
          QString("<busconfig><type>session</type><listen>unix:path=%1/bus</listen>"
                  "<policy context='default'><allow send_destination='*'/>"
                  "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>")
              .arg(home)
              .toUtf8());
    bus_ = std::make_unique<Running>("dbus-daemon",
                                     QStringList{"--config-file=" + home + "/bus.conf", "--nofork",
                                                 "--nopidfile", "--print-address=1"});
    address_ = bus_->readLine();
    qputenv("TALO_BUS", address_.toLocal8Bit());
}

void Engine::start(const QString &state, const QStringList &options)
{
    talod_.reset();
    talod_ = std::make_unique<Running>(QString(kPrefix) + "/bin/talod",
                                       QStringList{"--bus", address_, "--state", state} + options);
    const auto answers = [] {
        int code = -1;
        run(QString(kPrefix) + "/bin/talo", {"status"}, &code);
        return code == 0;
    };
    if (!QTest::qWaitFor(answers, 10000))
        throw Failure("the service does not answer");
}

int testInstalled(int argc, char **argv, const char *buildFolder,
                  const std::function<std::unique_ptr<QObject>()> &makeTest)
{
    try {
        const std::string why = install(buildFolder);
        if (!why.empty() || !becomeUser()) {
            std::printf("SKIP   : %s\n", why.empty() ? "cannot change the user" : why.c_str());
            return 77;
        }
        Running display("Xvfb", {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten",
                                 "tcp", "-dpi", "96"});
        qputenv("DISPLAY", ":" + display.readLine());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qunsetenv("WAYLAND_DISPLAY");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        const QTemporaryDir runtime; // the toolkit would make one, and leave it
        qputenv("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());
        QApplication app(argc, argv);
        const std::unique_ptr<QObject> test = makeTest();
        return QTest::qExec(test.get(), argc, argv);
    } catch (const Failure &problem) {
        std::printf("FAIL!  : %s\n", problem.what());
        return 1;
    }
}

} // namespace talo::test
