// The whole product at once: the installed panel's window, the engine on a bus of its own, the
// sandboxed scanner, and a person who scans a folder of malware and reads the report.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.

#include "app/app.h"
#include "product/desktop.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QThread>
#include <QtTest>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <memory>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using talo::test::Desktop;
using talo::test::Failure;

namespace
{

constexpr uid_t kUser = 61234; // nobody else's
constexpr char kPrefix[] = "/usr/local/taloantivirus";

// Written in two halves, so that this file is none.
const QByteArray kEicar =
    QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";

QByteArray run(const QString &program, const QStringList &arguments, int *code = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(300000)) {
        process.kill();
        process.waitForFinished();
    }
    if (code)
        *code = process.exitCode();
    return process.readAll();
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw Failure("cannot write " + path.toStdString());
}

// A process that lives as long as this object, and never longer than this process.
class Running
{
public:
    Running(const QString &program, const QStringList &arguments)
    {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // A crash of this process must not leave it behind.
        process_.start("setpriv", QStringList{"--pdeathsig", "TERM", "--", program} + arguments);
        if (!process_.waitForStarted())
            throw Failure("cannot start " + program.toStdString());
    }
    ~Running()
    {
        process_.terminate();
        if (!process_.waitForFinished(10000)) {
            process_.kill();
            process_.waitForFinished();
        }
    }
    QByteArray readLine()
    {
        while (!process_.canReadLine()) {
            if (!process_.waitForReadyRead(10000))
                throw Failure("a server said nothing");
        }
        return process_.readLine().trimmed();
    }

private:
    QProcess process_;
};

// Makes /usr/local ours, puts the build there, and becomes an ordinary user. Runs before anything
// of Qt does. Returns why it could not, or nothing.
std::string prepare(const char *buildFolder)
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
    const std::string install =
        "/usr/bin/env cmake --install '" + std::string(buildFolder) + "' >/dev/null";
    // NOLINTNEXTLINE(cert-env33-c, bugprone-command-processor): our own build folder, quoted
    if (std::system(install.c_str()) != 0)
        return "cmake --install failed";
    return {};
}

bool becomeUser()
{
    return setgroups(0, nullptr) == 0 && setresgid(kUser, kUser, kUser) == 0 &&
           setresuid(kUser, kUser, kUser) == 0;
}

} // namespace

class ProductScanTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void customScanIsReportedReadSavedAndDeleted();
    void terminalTellsTheSame();
    void cleanupTestCase();

private:
    void fillCorpus();
    QStringList clamscanFindings() const;
    void drive(const Desktop &desktop);

    QTemporaryDir home_;
    QString corpus_;
    QStringList expected_;
    QString saved_;
    std::unique_ptr<Running> bus_;
    std::unique_ptr<Running> talod_;
};

void ProductScanTest::initTestCase()
{
    QVERIFY(home_.isValid());
    QVERIFY(QDir::setCurrent(home_.path()));
    qputenv("HOME", home_.path().toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", home_.path().toLocal8Bit());
    qunsetenv("XDG_DATA_HOME");
    fillCorpus();
    expected_ = clamscanFindings();
    QVERIFY2(expected_.size() > 40, "clamscan should know the test files");

    write(home_.filePath("bus.conf"),
          QString("<busconfig><type>session</type><listen>unix:path=%1/bus</listen>"
                  "<policy context='default'><allow send_destination='*'/>"
                  "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>")
              .arg(home_.path())
              .toUtf8());
    bus_ = std::make_unique<Running>("dbus-daemon",
                                     QStringList{"--config-file=" + home_.filePath("bus.conf"),
                                                 "--nofork", "--nopidfile", "--print-address=1"});
    const QByteArray address = bus_->readLine();
    qputenv("TALO_BUS", address);
    talod_ = std::make_unique<Running>(
        QString(kPrefix) + "/bin/talod",
        QStringList{"--bus", address, "--state", home_.filePath("state")});
    QTRY_COMPARE_WITH_TIMEOUT(
        [] {
            int code = -1;
            run(QString(kPrefix) + "/bin/talo", {"status"}, &code);
            return code;
        }(),
        0, 10000);
}

void ProductScanTest::cleanupTestCase()
{
    talod_.reset();
    bus_.reset();
    // A folder that nobody may read is not removed with the rest.
    chmod(QFile::encodeName(corpus_ + "/unreadable").constData(), 0700);
}

void ProductScanTest::fillCorpus()
{
    corpus_ = home_.filePath("corpus");
    QVERIFY(QDir().mkpath(corpus_));
    run("cp", {"-r", "/usr/share/clamav-testfiles", corpus_});
    write(corpus_ + "/eicar.com", kEicar);
    write(corpus_ + "/one,two#three\nfour", kEicar);
    write(corpus_ + "/harmless.txt", "nothing here\n");
    write(corpus_ + "/unreadable", "secret\n");
    QCOMPARE(chmod(QFile::encodeName(corpus_ + "/unreadable").constData(), 0), 0);
    QCOMPARE(mkfifo(QFile::encodeName(corpus_ + "/fifo").constData(), 0600), 0);
    QVERIFY(QFile::link(".", corpus_ + "/loop"));
    QVERIFY(QFile::link("right", corpus_ + "/left"));
    QVERIFY(QFile::link("left", corpus_ + "/right"));

    // 1.2 GB of nothing in a few megabytes: more than the scanner unpacks.
    int code = 0;
    run("sh",
        {"-c",
         "cd \"$1\" && head -c 1200M /dev/zero >nothing && "
         "zip -q -1 bomb.zip nothing && rm nothing",
         "sh", corpus_},
        &code);
    QCOMPARE(code, 0);
}

QStringList ProductScanTest::clamscanFindings() const
{
    const QString output = run("clamscan", {"-d", QString(kPrefix) + "/signatures", "-r",
                                            "--infected", "--no-summary", corpus_});
    QStringList found;
    for (const QString &line : output.split('\n')) {
        if (line.endsWith(" FOUND"))
            found << line.section(':', 0, 0).section('/', -1);
    }
    return found;
}

void ProductScanTest::drive(const Desktop &desktop)
{
    const auto latest = [] { return run(QString(kPrefix) + "/bin/talo", {"report", "list"}); };

    desktop.screenshot("home");
    desktop.click("btnScan");
    desktop.click("btnCustomScanBottom");
    desktop.choose(corpus_);

    // The scan program has its own window and its own process; it deletes what it finds.
    for (int tries = 0; !latest().contains("Custom Scan"); ++tries) {
        if (tries == 600)
            throw Failure("no report came");
        QThread::msleep(100);
    }
    desktop.screenshot("scan-finished");
    run("pkill", {"-u", QString::number(kUser), "-x", "CustomScan"});

    desktop.clickText("< BACK");
    desktop.click("btnReport");
    const auto table = [] {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            for (QTableWidget *candidate : window->findChildren<QTableWidget *>()) {
                if (candidate->isVisible())
                    return candidate;
            }
        }
        return static_cast<QTableWidget *>(nullptr);
    };
    desktop.await("the report in the list", [&] { return table() && table()->rowCount() == 1; });
    desktop.screenshot("reports");
    desktop.clickItem(desktop.see<QModelIndex>([&] { return table()->model()->index(0, 2); }),
                      table());

    const auto viewer = [] {
        QWidget *dialog = QApplication::activeModalWidget();
        return dialog ? dialog->findChild<QTextEdit *>("rptDetails") : nullptr;
    };
    desktop.await("the viewer", [&] { return viewer() && viewer()->isVisible(); });
    desktop.screenshot("viewer");
    desktop.clickText("SAVE");
    desktop.choose(home_.filePath("saved"));
    if (desktop.answerMessage() != "Report saved successfully.")
        throw Failure("the report was not saved");

    desktop.await("the viewer to close", [&] { return !viewer(); });
    desktop.clickItem(desktop.see<QModelIndex>([&] { return table()->model()->index(0, 0); }),
                      table());
    desktop.clickText("DELETE");
    if (desktop.answerMessage() != "Report deleted successfully.")
        throw Failure("the report was not deleted");
    desktop.await("an empty list", [&] { return table()->rowCount() == 0; });
}

void ProductScanTest::customScanIsReportedReadSavedAndDeleted()
{
    QVERIFY(QDir().mkpath(home_.filePath("saved")));
    TaloAntivirus_Linux_App window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    std::string failure;
    std::thread person([&] {
        try {
            drive(Desktop());
        } catch (const Failure &problem) {
            failure = problem.what();
            Desktop().screenshot("failed");
        }
        // Close whatever a failure left open, so that its exec() returns.
        QMetaObject::invokeMethod(qApp, [] { QApplication::closeAllWindows(); });
        QMetaObject::invokeMethod(
            qApp, [] { QApplication::exit(); }, Qt::QueuedConnection);
    });
    QApplication::exec();
    person.join();
    QVERIFY2(failure.empty(), failure.c_str());

    const QStringList files = QDir(home_.filePath("saved")).entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    QVERIFY2(QRegularExpression("^TALO Report \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.txt$")
                 .match(files.first())
                 .hasMatch(),
             qPrintable(files.first()));
    QFile file(home_.filePath("saved/" + files.first()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    saved_ = QString::fromUtf8(file.readAll());

    const QString threats = saved_.section("Threats (", 1).section("Not scanned (", 0, 0);
    for (const QString &name : expected_) {
        if (!name.contains('\n'))
            QVERIFY2(threats.contains(name), qPrintable("not reported: " + name));
    }
    QVERIFY(threats.contains("one,two#three\\nfour"));
    const QString rest = saved_.section("Not scanned (", 1);
    for (const char *odd : {"/fifo", "/unreadable", "/bomb.zip", "/loop", "/left"})
        QVERIFY2(rest.contains(odd), odd);
    QVERIFY(!threats.contains("harmless.txt"));

    // What was found is in the quarantine now, and nothing else has gone.
    QVERIFY(!QFile::exists(corpus_ + "/eicar.com"));
    QVERIFY(QFile::exists(corpus_ + "/harmless.txt"));
    QVERIFY(QFile::exists(corpus_ + "/bomb.zip"));
}

void ProductScanTest::terminalTellsTheSame()
{
    const QString talo = QString(kPrefix) + "/bin/talo";
    int code = -1;
    const QString left = run("env", {"-u", "DISPLAY", talo, "scan", corpus_}, &code);
    QVERIFY2(code == 0, qPrintable(left)); // everything was deleted before

    const QString list = run(talo, {"quarantine", "list"});
    const QString line = list.split('\n').filter("eicar.com").value(0);
    const QString id = QRegularExpression("\\b[0-9a-f]{16}\\b").match(line).captured();
    QVERIFY2(!id.isEmpty(), qPrintable(list));
    run(talo, {"quarantine", "restore", id}, &code);
    QCOMPARE(code, 0);
    QFile back(corpus_ + "/eicar.com");
    QVERIFY(back.open(QIODevice::ReadOnly));
    QCOMPARE(back.readAll(), kEicar);

    run("env", {"-u", "DISPLAY", QString(kPrefix) + "/bin/CustomScan", corpus_ + "/eicar.com", "2"},
        &code);
    QCOMPARE(code, 1);
    run("env", {"-u", "DISPLAY", QString(kPrefix) + "/bin/CustomScan", corpus_ + "/none", "2"},
        &code);
    QCOMPARE(code, 2);
}

int main(int argc, char **argv)
{
    const std::string why = prepare(TALO_BUILD_FOLDER);
    if (!why.empty() || !becomeUser()) {
        std::printf("SKIP   : %s\n", why.empty() ? "cannot change the user" : why.c_str());
        return 77;
    }
    try {
        Running display("Xvfb", {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten",
                                 "tcp", "-dpi", "96"});
        qputenv("DISPLAY", ":" + display.readLine());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qunsetenv("WAYLAND_DISPLAY");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        QApplication app(argc, argv);
        ProductScanTest test;
        return QTest::qExec(&test, argc, argv);
    } catch (const Failure &problem) {
        std::printf("FAIL!  : %s\n", problem.what());
        return 1;
    }
}

#include "scan_test.moc"
