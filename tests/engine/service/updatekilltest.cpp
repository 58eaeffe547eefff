// Kills talod or freshclam at random points of updates: whatever happens, the set in use loads.
//
// TALO_UPDATE_KILLS is the number of updates, 200 without it; TALO_UPDATE_SEED repeats a run.
#include "engine/service/updatebench.h"
#include "interface/names.h"

#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QThread>

#include <csignal>
#include <random>

using namespace talo::interface;

namespace
{

// The child of that name that the process has at the moment; 0 for none.
pid_t childOf(qint64 process, const QByteArray &name)
{
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(process));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile children(tasks.filePath(task) + QStringLiteral("/children"));
        if (!children.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &child : children.readAll().simplified().split(' ')) {
            QFile comm(QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(child)));
            if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == name)
                return child.toInt();
        }
    }
    return 0;
}

QString nameOf(int number)
{
    return QStringLiteral("Talo.Test.N%1").arg(number);
}

int numberOf(const QString &name)
{
    return name.section(QStringLiteral(".N"), 1).toInt();
}

} // namespace

class UpdateKillTest : public QObject
{
    Q_OBJECT

private slots:
    void alwaysHasASetThatLoads();
};

void UpdateKillTest::alwaysHasASetThatLoads()
{
    const int updates = qEnvironmentVariableIntValue("TALO_UPDATE_KILLS") > 0
                            ? qEnvironmentVariableIntValue("TALO_UPDATE_KILLS")
                            : 200;
    const unsigned seed = qEnvironmentVariableIsSet("TALO_UPDATE_SEED")
                              ? qEnvironmentVariable("TALO_UPDATE_SEED").toUInt()
                              : std::random_device()();
    qInfo("%d updates, TALO_UPDATE_SEED=%u", updates, seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<unsigned long> delay(0, 500); // milliseconds

    UpdateBench bench;
    QVERIFY(bench.ready());
    bench.serve("always");
    QVERIFY(bench.publishAtOnce(nameOf(0)));
    QVERIFY(bench.startService());
    int inUse = -1;
    int services = 0;
    int downloads = 0;
    int completed = 0;
    for (int number = 0; number <= updates; ++number) {
        QVERIFY(bench.publishAtOnce(nameOf(number)));
        const QDBusReply<uint> handle = ask(bench.caller(), kUpdates, "PrepareSignatureUpdate");
        QVERIFY2(handle.isValid(), qPrintable(handle.error().message()));
        ask(bench.caller(), kUpdates, "StartSignatureUpdate", {handle.value()});
        const auto running = [&] { return bench.state().value("signaturesRunning").toBool(); };
        const bool service = number % 2 == 1;
        if (number > 0 && service) { // the first one is let through
            QThread::msleep(delay(random));
            bench.killService();
            ++services;
            QVERIFY(bench.startService());
        } else if (number > 0) {
            pid_t freshclam = 0;
            QVERIFY(QTest::qWaitFor([&] {
                freshclam = childOf(bench.service()->processId(), "freshclam");
                return freshclam > 0 || !running();
            }));
            QThread::usleep(1000 * delay(random) / 10);
            // Unless it has ended, and is waited for, by now.
            if (freshclam > 0 && freshclam == childOf(bench.service()->processId(), "freshclam") &&
                kill(freshclam, SIGKILL) == 0)
                ++downloads;
        }
        QVERIFY(QTest::qWaitFor([&] { return !running(); }, 30000));
        QCOMPARE(bench.leftovers(), QStringList());
        const QString found = bench.detected();
        QVERIFY2(!found.isEmpty(), qPrintable(QStringLiteral("after update %1").arg(number)));
        // Never an older one than before, and never one that was not published.
        QVERIFY2(numberOf(found) >= inUse && numberOf(found) <= number, qPrintable(found));
        completed += numberOf(found) == number ? 1 : 0;
        inUse = numberOf(found);
    }
    qInfo("talod was killed %d times, freshclam %d times; %d updates were completed", services,
          downloads, completed);
    QVERIFY(services > 0 && downloads > 0 && completed > 0);
    bench.endService();
}

QTEST_GUILESS_MAIN(UpdateKillTest)
#include "updatekilltest.moc"
