// libtaloengine.so against the real service, against none, and against one that lies.
#include "client/bus.h"
#include "engine/liblastfullscandetails.h"
#include "engine/libreports.h"
#include "engine/processchecks.h"
#include "engine/service/privatebus.h"
#include "engine/updates.h"
#include "interface/names.h"
#include "interface/types.h"
#include "store/database.h"
#include "store/reportstore.h"

#include <QDBusVirtualObject>
#include <QDateTime>
#include <QTest>
#include <QThread>

#include <chrono>

using namespace talo;

namespace
{

// Answers as the test says.
class FakeService : public QDBusVirtualObject
{
public:
    QMap<QString, QVariantList> answers;

    QString introspect(const QString &) const override { return QString(); }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        bus.send(message.createReply(answers.value(message.member())));
        return true;
    }
};

} // namespace

class OnBusTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void noServiceIsKnownAtOnce();
    void theRealServiceAnswers();
    void aLyingServiceBreaksNoList();
    void everyErrorHasWords_data();
    void everyErrorHasWords();

private:
    std::unique_ptr<PrivateBus> bus_;
};

void OnBusTest::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
    interface::registerTypes();
}

void OnBusTest::noServiceIsKnownAtOnce()
{
    const auto began = std::chrono::steady_clock::now();
    std::string list;
    int count = 7;
    QCOMPARE(libReports::GetReportList(list, "", "", &count), 201);
    QCOMPARE(IsProcessRunning("FullScan"), 1);
    // Nothing was waited for: that takes five seconds.
    QVERIFY(std::chrono::steady_clock::now() - began < std::chrono::seconds(4));
}

void OnBusTest::theRealServiceAnswers()
{
    const QString state = bus_->folder() + "/state";
    std::string key;
    {
        std::string failure;
        const auto database = store::Database::open(state.toStdString(), failure);
        QVERIFY2(database != nullptr, failure.c_str());
        store::ReportStore reports(*database);
        for (const char *type : {"Custom Scan", "Full Scan"}) {
            const auto id = reports.begin({type, "/srv", "built-in", 1795266000});
            key = reports.finish(id, store::Outcome::Completed, {}, "");
            QVERIFY(!key.empty());
        }
    }
    const auto service = startService(*bus_, state);
    QVERIFY(service != nullptr);

    std::string list;
    int count = 0;
    QCOMPARE(libReports::GetReportList(list, "", "", &count), 0);
    QCOMPARE(count, 2);
    const QString entries = QString::fromStdString(list);
    QCOMPARE(entries.section(',', 0, 0), QString::fromStdString(key) + "#Full Scan");
    QVERIFY(entries.section(',', 1, 1).endsWith("#Custom Scan"));
    QCOMPARE(libReports::GetReportList(list, "2017:1:1", "2017:7:3", &count), 204);
    QCOMPARE(list, std::string());
    QCOMPARE(count, 0);
    QCOMPARE(libReports::GetReportList(list, "2026:2:2", "2026:2:1", &count), 205);
    QCOMPARE(libReports::GetReportList(list, "today", "", nullptr), 206);

    std::string date;
    std::string time;
    std::string text;
    std::string type;
    QCOMPARE(libReports::GetReportData(key, date, time, text, type), 0);
    QCOMPARE(date + " " + time, key);
    QCOMPARE(type, std::string("Full Scan"));
    QVERIFY(text.find("Report: " + key + "\n") != std::string::npos);
    QCOMPARE(libReports::GetReportData("nonsense", date, time, text, type), 203);
    QCOMPARE(date + time + text + type, std::string());

    char when[100] = {};
    libLastFullScanDetails::GetLastFullScanDetails(when);
    // The key is a second late where another scan ended in the same second.
    const auto ended = QDateTime::fromString(QString::fromStdString(key), "yyyy-MM-dd HH:mm:ss");
    QVERIFY2(QString(when).contains(ended.toString("HH:mm")) ||
                 QString(when).contains(ended.addSecs(-1).toString("HH:mm")),
             when);
    char version[SignatureVersionSize] = {};
    char day[UpdateDateSize] = {};
    char minute[UpdateTimeSize] = {};
    GetSigantureUpdateInfo(version, day, minute);
    QVERIFY(version[0] != '\0');
    QCOMPARE(QString(day).size(), 10);
    QCOMPARE(QString(minute).size(), 5);
    QCOMPARE(IsProcessRunning("QuickScan"), 1);

    QCOMPARE(libReports::DeleteReport(key), 0);
    QCOMPARE(libReports::DeleteReport(key), 203);
    service->terminate();
    QVERIFY(service->waitForFinished());
}

void OnBusTest::aLyingServiceBreaksNoList()
{
    FakeService fake;
    const QString longText(5000, QChar(0xe4));
    const QString key = "2026-11-21 14:05:09";
    const interface::ReportList reports {
        {key, "Full,Scan#x\n"}, {"1,2#3", "Quick Scan"}, {"", ""}, { key + ",", "x" }
    };
    fake.answers = {
        {"List", {0, QVariant::fromValue(reports)}},
        {"LastFullScan", {longText}},
        {"GetStatus", {QVariantMap{{"signatureVersion", longText}, {"signatureTime", -1LL}}}},
        {"Running", {QVariant::fromValue(interface::RunningJobs{{1, 1}, {2, 2}, {3, 2}})}},
        {"Read", {"nothing", "like", "it"}},
    };
    QThread thread;
    fake.moveToThread(&thread);
    thread.start();
    QDBusConnection served = bus_->connect("fake");
    QVERIFY(served.registerVirtualObject(interface::kObject, &fake));
    QVERIFY(served.registerService(interface::kService));

    std::string list;
    int count = 0;
    QCOMPARE(libReports::GetReportList(list, "", "", &count), 0);
    QCOMPARE(QString::fromStdString(list), key + "#Full Scan x ");
    QCOMPARE(count, 1);
    std::string text;
    QCOMPARE(libReports::GetReportData("k", text, text, text, text), 201);
    QCOMPARE(libReports::DeleteReport("k"), 201);
    char when[101] = {};
    when[100] = '!';
    libLastFullScanDetails::GetLastFullScanDetails(when);
    QCOMPARE(QString::fromUtf8(when), QString(49, QChar(0xe4)));
    QCOMPARE(when[100], '!');
    char version[SignatureVersionSize] = {};
    char day[UpdateDateSize] = {};
    char minute[UpdateTimeSize] = {};
    GetSigantureUpdateInfo(version, day, minute);
    QCOMPARE(QString::fromUtf8(version), QString(24, QChar(0xe4)));
    QCOMPARE(QString(day), QString());
    QCOMPARE(IsProcessRunning("FullScan"), 0);
    QCOMPARE(IsProcessRunning("CustomScan"), 0);
    QCOMPARE(IsProcessRunning("QuickScan"), 1);

    served.unregisterObject(interface::kObject);
    QDBusConnection::disconnectFromBus("fake");
    thread.quit();
    QVERIFY(thread.wait());
}

void OnBusTest::everyErrorHasWords_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("says");
    const QString bus = "org.freedesktop.DBus.Error.";
    QTest::newRow("no bus") << bus + "Disconnected"
                            << "TALO_BUS";
    QTest::newRow("no service") << bus + "ServiceUnknown"
                                << "Start talod";
    QTest::newRow("silent") << bus + "NoReply"
                            << "restart talod";
    QTest::newRow("bus refuses") << bus + "AccessDenied"
                                 << "refused: the reason";
    QTest::newRow("service refuses") << interface::kErrorNotPermitted << "refused: the reason";
    QTest::newRow("cannot start") << bus + "Spawn.ExecFailed"
                                  << "could not be started: the reason";
    QTest::newRow("other version") << bus + "UnknownMethod"
                                   << "another version";
    QTest::newRow("limit") << interface::kErrorLimit << "the reason";
}

void OnBusTest::everyErrorHasWords()
{
    QFETCH(QString, name);
    QFETCH(QString, says);
    const QString words = client::Bus::explain(QDBusMessage::createError(name, "the reason"));
    QVERIFY2(words.contains(says), qPrintable(words));
}

QTEST_GUILESS_MAIN(OnBusTest)
#include "onbustest.moc"
