// The two update programs and `talo update program`, as users start them.
#include "engine/processchecks.h"
#include "engine/programs/support/programrun.h"
#include "engine/service/privatebus.h"
#include "engine/update/releasemaker.h"
#include "engine/update/releaseserver.h"
#include "interface/busconnection.h"
#include "support/soon.h"
#include "update/productmanifest.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>
#include <unistd.h>

using namespace talo::tests;
using talo::test::ReleaseServer;

namespace
{

bool lives(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(pid));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
}

} // namespace

class TestUpdatePrograms : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void explainThemselves_data();
    void explainThemselves();
    void runOnce_data();
    void runOnce();
    void signatureUpdateTellsOutcome_data();
    void signatureUpdateTellsOutcome();
    void windowIsSilentAndOutlivesItsStarter();
    void productUpdateTellsOutcome_data();
    void productUpdateTellsOutcome();
    void productUpdateWithoutService();
    void checkNamesRelease();
    void talosUpdateIsStrict();
    void panelLearnsThatOneRuns();

private:
    QProcessEnvironment scripted(const QString &codes) const;
    ProgramEnd run(const QString &program, const QStringList &arguments,
                   const QProcessEnvironment &environment) const;
    void startService();
    void publish(const std::string &version, const std::string &signature = {});
    QStringList calls() const;

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<ReleaseServer> server_;
    QProcess service_;
    QProcess display_;
};

void TestUpdatePrograms::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
}

void TestUpdatePrograms::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    server_ = std::make_unique<ReleaseServer>();
    publish("99.0.0");
}

void TestUpdatePrograms::cleanup()
{
    if (service_.state() != QProcess::NotRunning) {
        service_.kill();
        service_.waitForFinished();
    }
    if (display_.state() != QProcess::NotRunning) {
        display_.terminate();
        display_.waitForFinished();
    }
    server_.reset();
    folder_.reset();
}

// The scripted engine in the real one's place.
QProcessEnvironment TestUpdatePrograms::scripted(const QString &codes) const
{
    QProcessEnvironment environment = withoutDisplay(bus_->address());
    environment.insert("LD_LIBRARY_PATH", qEnvironmentVariable("TALO_BUILD_DIR") + "/tests/lib");
    environment.insert("LD_PRELOAD",
                       qEnvironmentVariable("TALO_BUILD_DIR") + "/tests/lib/libtaloengine.so");
    environment.insert("TALO_SCRIPTED_CODES", codes);
    environment.insert("TALO_SCRIPTED_LOG", folder_->filePath("calls"));
    environment.insert("XDG_RUNTIME_DIR", folder_->path());
    environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
    return environment;
}

ProgramEnd TestUpdatePrograms::run(const QString &program, const QStringList &arguments,
                                   const QProcessEnvironment &environment) const
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(builtProgram(program), arguments);
    ProgramEnd end;
    if (process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit)
        end.code = process.exitCode();
    else
        process.kill();
    process.waitForFinished();
    end.out = process.readAllStandardOutput();
    end.err = process.readAllStandardError();
    return end;
}

QStringList TestUpdatePrograms::calls() const
{
    QFile file(folder_->filePath("calls"));
    return file.open(QIODevice::ReadOnly)
               ? QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts)
               : QStringList();
}

void TestUpdatePrograms::publish(const std::string &version, const std::string &signature)
{
    talo::test::ReleaseText release;
    release.version = version;
    release.size = 10;
    const std::string name = std::string("release-") + talo::update::thisArchitecture() + ".json";
    ReleaseServer::File file;
    file.content = release.text();
    server_->serve(name, file);
    file.content = signature.empty() ? talo::test::signRelease(release.text()) : signature;
    server_->serve(name + ".sig", file);
}

void TestUpdatePrograms::startService()
{
    QFile configuration(folder_->filePath("talo.conf"));
    QVERIFY(configuration.open(QIODevice::WriteOnly));
    configuration.write("[ProgramUpdate]\nSource=" + QByteArray::fromStdString(server_->address()));
    configuration.close();
    service_.start(qEnvironmentVariable("TALO_BUILD_DIR") + "/tests/talod-test-key",
                   {"--bus", bus_->address(), "--state", folder_->filePath("state"), "--config",
                    folder_->filePath("talo.conf")});
    QDBusConnection watch = talo::interface::connectToBus(bus_->address(), "watch");
    QTRY_VERIFY_WITH_TIMEOUT(
        watch.interface()->isServiceRegistered("org.taloantivirus.Engine1").value(), 10000);
}

void TestUpdatePrograms::explainThemselves_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("signatures") << "TaloAntivirus_Signature_Update";
    QTest::newRow("program") << "TaloAntivirus_Product_Update";
}

void TestUpdatePrograms::explainThemselves()
{
    QFETCH(QString, program);
    const ProgramEnd help = run(program, {"--help"}, scripted("IsTaloAVRunning=1"));
    QCOMPARE(help.code, 0);
    QVERIFY(help.out.startsWith("Usage: " + program.toUtf8()));
    const ProgramEnd wrong = run(program, {"--now"}, scripted("IsTaloAVRunning=1"));
    QCOMPARE(wrong.code, 2);
    QVERIFY(wrong.err.startsWith("Usage: "));
    QVERIFY(calls().isEmpty());
}

void TestUpdatePrograms::runOnce_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("signatures") << "TaloAntivirus_Signature_Update"
                                << "TaloAntivirus_S"
                                << QByteArray("Signature Update is already running.\n");
    QTest::newRow("program") << "TaloAntivirus_Product_Update"
                             << "TaloAntivirus_P"
                             << QByteArray("Product Update is already running.\n");
}

void TestUpdatePrograms::runOnce()
{
    QFETCH(QString, program);
    QFETCH(QString, name);
    const ProgramEnd end = run(program, {}, scripted("IsTaloAVRunning=0"));
    QCOMPARE(end.code, 2);
    QTEST(end.err, "text");
    QCOMPARE(calls(), QStringList{"IsTaloAVRunning " + name});
}

void TestUpdatePrograms::signatureUpdateTellsOutcome_data()
{
    QTest::addColumn<QString>("codes");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("offline") << "IsInternetAvailable=-1"
                             << QByteArray("You do not have any working Internet Connection !\n");
    QTest::newRow("not prepared") << "IsInternetAvailable=1;initiate_sig_update=2"
                                  << QByteArray("Virus signature update stopped, Try again !\n");
    QTest::newRow("failed") << "IsInternetAvailable=1;start_sig_update=1"
                            << QByteArray("Virus signature update stopped, Try again !\n");
}

void TestUpdatePrograms::signatureUpdateTellsOutcome()
{
    QFETCH(QString, codes);
    const ProgramEnd end =
        run("TaloAntivirus_Signature_Update", {}, scripted("IsTaloAVRunning=1;" + codes));
    QCOMPARE(end.code, 2);
    QCOMPARE(end.out, QByteArray());
    QTEST(end.err, "text");
}

// As the panel starts it: with pipes that nobody reads, and that break.
void TestUpdatePrograms::windowIsSilentAndOutlivesItsStarter()
{
    display_.start("Xvfb", {"-displayfd", "1", "-nolisten", "tcp"});
    if (!display_.waitForStarted())
        QSKIP("Xvfb is not installed");
    while (display_.waitForReadyRead(20000) && !display_.canReadLine()) {
    }
    QProcessEnvironment environment =
        scripted("IsTaloAVRunning=1;IsInternetAvailable=1;start_sig_update=1");
    environment.insert("DISPLAY", ':' + QString::fromLatin1(display_.readLine().trimmed()));
    environment.remove("QT_QPA_PLATFORM");
    environment.insert("QT_LOGGING_RULES", "*=true");
    QProcess starter;
    starter.setProcessEnvironment(environment);
    starter.start("sh", {"-c", "exec 3>&1; { \"$0\" & echo $! >&3; wait; } | head -c 1",
                         builtProgram("TaloAntivirus_Signature_Update")});
    while (!starter.canReadLine())
        QVERIFY(starter.waitForReadyRead(20000));
    const qint64 pid = starter.readLine().trimmed().toLongLong();
    const auto ended = qScopeGuard([pid] {
        if (pid > 0 && lives(pid))
            ::kill(static_cast<pid_t>(pid), SIGKILL);
    });
    QTRY_VERIFY_WITH_TIMEOUT(calls().contains("start_sig_update 0"), 20000);
    starter.kill();
    QVERIFY(starter.waitForFinished());
    QCOMPARE(::kill(static_cast<pid_t>(pid), SIGHUP), 0);
    QTest::qWait(200);
    QVERIFY(lives(pid)); // it shows the outcome until it is closed
    QCOMPARE(starter.readAllStandardError(), QByteArray());
    QCOMPARE(::kill(static_cast<pid_t>(pid), SIGTERM), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!lives(pid), kSoon);
}

void TestUpdatePrograms::productUpdateTellsOutcome_data()
{
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<bool>("isSigned");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("latest") << QByteArray("0.0.1") << true << 0
                            << QByteArray("You already have the latest release.\n");
    QTest::newRow("not signed") << QByteArray("99.0.0") << false << 2
                                << QByteArray("The program was not updated.\nthe release's "
                                              "description is refused: its signature is not "
                                              "right\n");
}

void TestUpdatePrograms::productUpdateTellsOutcome()
{
    QFETCH(QByteArray, version);
    QFETCH(bool, isSigned);
    QFETCH(int, code);
    publish(version.toStdString(), isSigned ? std::string() : std::string(64, 'x'));
    startService();
    QProcessEnvironment environment = withoutDisplay(bus_->address());
    environment.insert("XDG_RUNTIME_DIR", folder_->path());
    const ProgramEnd end = run("TaloAntivirus_Product_Update", {}, environment);
    QCOMPARE(end.code, code);
    QTEST(code == 0 ? end.out : end.err, "text");
    QCOMPARE(code == 0 ? end.err : end.out, QByteArray());
}

void TestUpdatePrograms::productUpdateWithoutService()
{
    QProcessEnvironment environment = withoutDisplay(bus_->address());
    environment.insert("XDG_RUNTIME_DIR", folder_->path());
    const ProgramEnd end = run("TaloAntivirus_Product_Update", {}, environment);
    QCOMPARE(end.code, 2);
    QVERIFY(!end.err.isEmpty());
}

void TestUpdatePrograms::checkNamesRelease()
{
    startService();
    const ProgramEnd end =
        run("talo", {"update", "program", "--check"}, withoutDisplay(bus_->address()));
    QCOMPARE(end.err, QByteArray());
    QCOMPARE(end.out, QByteArray("Release 99.0.0 of 2026-11-21 is available.\nBetter.\n"));
    QCOMPARE(end.code, 0);
}

void TestUpdatePrograms::talosUpdateIsStrict()
{
    for (const QStringList &words :
         {QStringList{"update"}, QStringList{"update", "program", "--now"},
          QStringList{"update", "program", "--check", "--check"}, QStringList{"update", "x"}})
        QCOMPARE(run("talo", words, withoutDisplay(bus_->address())).code, 2);
}

void TestUpdatePrograms::panelLearnsThatOneRuns()
{
    ReleaseServer::File file;
    file.content = std::string(1000, ' ');
    file.holdAfter = 1;
    server_->serve(std::string("release-") + talo::update::thisArchitecture() + ".json", file);
    qputenv("TALO_BUS", bus_->address().toLocal8Bit());
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_P"), 1); // nor is there a service
    startService();
    QTRY_COMPARE_WITH_TIMEOUT(IsProductUpdateRunning("TaloAntivirus_P"), 1, kSoon);
    QProcess talo;
    talo.setProcessEnvironment(withoutDisplay(bus_->address()));
    talo.start(builtProgram("talo"), {"update", "program", "--check"});
    QTRY_COMPARE_WITH_TIMEOUT(IsProductUpdateRunning("TaloAntivirus_P"), 0, kSoon);
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 1);
    QCOMPARE(IsProductUpdateRunning(nullptr), 1);
    talo.terminate(); // asks the update to stop, and waits for its end
    QVERIFY(talo.waitForFinished());
    QCOMPARE(talo.exitCode(), 2);
    QCOMPARE(talo.readAllStandardError(), QByteArray("The program update was stopped.\n"));
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_P"), 1);
}

QTEST_GUILESS_MAIN(TestUpdatePrograms)
#include "test_update_programs.moc"
