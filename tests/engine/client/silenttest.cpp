// A service that never answers is waited for once.
#include "engine/libreports.h"
#include "engine/processchecks.h"
#include "engine/service/privatebus.h"
#include "interface/names.h"

#include <QTest>

#include <chrono>

class SilentTest : public QObject
{
    Q_OBJECT

private slots:
    void isWaitedForOnce();
};

void SilentTest::isWaitedForOnce()
{
    const PrivateBus bus;
    QVERIFY(!bus.address().isEmpty());
    qputenv("TALO_BUS", bus.address().toLatin1());
    // The object lives on this thread, which waits in the calls below and never comes to answer.
    QDBusConnection served = bus.connect("silent");
    QObject object;
    QVERIFY(served.registerObject(talo::interface::kObject, &object,
                                  QDBusConnection::ExportAllContents));
    QVERIFY(served.registerService(talo::interface::kService));

    using Clock = std::chrono::steady_clock;
    const auto began = Clock::now();
    QCOMPARE(libReports::DeleteReport("k"), 201);
    const auto first = Clock::now() - began;
    QVERIFY(first > std::chrono::milliseconds(4500) && first < std::chrono::seconds(20));

    const auto again = Clock::now();
    std::string list;
    QCOMPARE(libReports::GetReportList(list, "", "", nullptr), 201);
    QCOMPARE(IsProcessRunning("FullScan"), 1);
    QVERIFY(Clock::now() - again < std::chrono::seconds(4)); // not waited for anew
    QDBusConnection::disconnectFromBus("silent");
}

QTEST_GUILESS_MAIN(SilentTest)
#include "silenttest.moc"
