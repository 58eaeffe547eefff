// The scan program with a display: silent, and living on when its starter ends.
#include "engine/programs/support/faketalod.h"
#include "engine/programs/support/programrun.h"
#include "engine/programs/support/samples.h"
#include "engine/service/privatebus.h"
#include "support/soon.h"

#include <QProcess>
#include <QScopeGuard>
#include <QtTest>

#include <csignal>
#include <memory>
#include <unistd.h>

using namespace talo;
using namespace talo::tests;

namespace
{

// Whether a process is there and no mere remainder.
bool lives(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(pid));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
}

} // namespace

class TestScanOnDisplay : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void writesNothing();
    void outlivesItsStarterAndItsPipe();

private:
    QProcessEnvironment environment() const;

    QProcess display_;
    QString displayName_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
};

void TestScanOnDisplay::initTestCase()
{
    display_.start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                            QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    if (!display_.waitForStarted())
        QSKIP("Xvfb is not installed");
    while (display_.waitForReadyRead(20000) && !display_.canReadLine()) {
    }
    displayName_ = QLatin1Char(':') + QString::fromLatin1(display_.readLine().trimmed());
    QVERIFY(displayName_.size() > 1);
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
}

void TestScanOnDisplay::cleanupTestCase()
{
    display_.terminate();
    display_.waitForFinished();
}

void TestScanOnDisplay::init()
{
    service_ = std::make_unique<FakeTalod>(bus_->address());
    service_->setProgress(progressIn(interface::Scanning));
}

void TestScanOnDisplay::cleanup()
{
    service_.reset();
}

QProcessEnvironment TestScanOnDisplay::environment() const
{
    QProcessEnvironment environment = withoutDisplay(bus_->address());
    environment.insert(QStringLiteral("DISPLAY"), displayName_);
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    // Makes Qt itself talk: none of it may arrive.
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*=true"));
    return environment;
}

void TestScanOnDisplay::writesNothing()
{
    service_->setThreats(manyThreats(3));
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(builtProgram(QStringLiteral("FullScan")),
                  {QStringLiteral("/"), QStringLiteral("1")});
    QTRY_VERIFY_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")) > 5, 20000);
    process.terminate();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(service_->callsOf(QStringLiteral("Stop")), 0);
}

void TestScanOnDisplay::outlivesItsStarterAndItsPipe()
{
    QProcess starter; // a shell that tells the program's number and ends with a hang-up
    starter.setProcessEnvironment(environment());
    starter.start(QStringLiteral("sh"),
                  {QStringLiteral("-c"),
                   QStringLiteral("exec 3>&1; { \"$0\" / 1 & echo $! >&3; wait; } | head -c 1"),
                   builtProgram(QStringLiteral("FullScan"))});
    while (!starter.canReadLine())
        QVERIFY(starter.waitForReadyRead(20000));
    const qint64 pid = starter.readLine().trimmed().toLongLong();
    QVERIFY(pid > 0);
    // However the test ends, the program must not outlive that too.
    const auto ended = qScopeGuard([pid] {
        if (lives(pid))
            ::kill(static_cast<pid_t>(pid), SIGKILL);
    });
    QTRY_VERIFY_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")) > 0, 20000);
    starter.kill();
    QVERIFY(starter.waitForFinished());
    QCOMPARE(::kill(static_cast<pid_t>(pid), SIGHUP), 0); // as when a terminal closes
    const int before = service_->callsOf(QStringLiteral("Progress"));
    const auto goesOn = [this, before] {
        return service_->callsOf(QStringLiteral("Progress")) > before + 3;
    };
    QTRY_VERIFY_WITH_TIMEOUT(goesOn(), kSoon);
    QVERIFY(lives(pid));
    QCOMPARE(::kill(static_cast<pid_t>(pid), SIGTERM), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!lives(pid), kSoon);
}

QTEST_GUILESS_MAIN(TestScanOnDisplay)
#include "test_scan_on_display.moc"
