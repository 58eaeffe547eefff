// The agent's words, its memory of a day, and its way back to a bus.
#include "engine/programs/agent/fakeengine.h"
#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "programs/agent/dailystamp.h"
#include "programs/agent/enginelink.h"
#include "programs/agent/noticewords.h"
#include "support/soon.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace talo::programs;
using talo::tests::FakeEngine;

Q_DECLARE_METATYPE(talo::programs::EndedScan)

class AgentPartsTest : public QObject
{
    Q_OBJECT

private slots:
    void threatsAreCounted();
    void namesAreShownSafely_data();
    void namesAreShownSafely();
    void endsAreTold_data();
    void endsAreTold();
    void whatIsNoEndIsNotTold_data();
    void whatIsNoEndIsNotTold();
    void stampIsDue_data();
    void stampIsDue();
    void stampIsKept();
    void stampHoldsWithoutAFile();
    void linkFindsTheBusAgain();
};

void AgentPartsTest::threatsAreCounted()
{
    const FoundThreat threat{"/a", "Test", "deleted"};
    QCOMPARE(threatNotice("Scan", 1, {threat}).summary, QString("Threat found"));
    const Notice several = threatNotice("Scan", 12345, {threat, threat});
    QCOMPARE(several.summary, QString("12,345 threats found"));
    QCOMPARE(several.body, QString("Scan\nTest in /a: deleted\nTest in /a: deleted"));
    QCOMPARE(several.urgency, Notice::Urgency::Critical);
}

void AgentPartsTest::namesAreShownSafely_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    const QString face = QString::fromUtf8("\U0001F600");
    const QString dots = QChar(0x2026);
    QTest::newRow("placeholders") << "/%1%2"
                                  << "/%1%2";
    QTest::newRow("a line of its own") << "/a\nb"
                                       << "/a\\u{a}b";
    QTest::newRow("turned around") << "/a" + QString(QChar(0x202e)) + "exe"
                                   << "/a\\u{202e}exe";
    QTest::newRow("longest") << QString(120, 'x') << QString(120, 'x');
    QTest::newRow("too long") << QString(60, 'x') + "y" + QString(60, 'z')
                              << QString(60, 'x') + dots + QString(60, 'z');
    // Both cuts fall into a character of two units.
    QTest::newRow("pairs") << "x" + face.repeated(60) + "y"
                           << "x" + face.repeated(29) + dots + face.repeated(29) + "y";
}

void AgentPartsTest::namesAreShownSafely()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    QCOMPARE(threatNotice("Scan", 1, {{name, "Test", "left"}}).body,
             "Scan\nTest in " + shown + ": left");
    QCOMPARE(threatNotice("Scan", 1, {{"/a", name, "left"}}).body,
             "Scan\n" + shown + " in /a: left");
    QCOMPARE(threatNotice(name, 1, {}).body, shown);
    const auto end = endNotice({name, talo::interface::Finished, name, 1, 0, "key"});
    QCOMPARE(end->summary, shown + " finished");
    QCOMPARE(end->body, "No threats found in 1 file\nScanned: " + shown);
}

void AgentPartsTest::endsAreTold_data()
{
    QTest::addColumn<uint>("state");
    QTest::addColumn<int>("threats");
    QTest::addColumn<QString>("report");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("icon");
    using namespace talo::interface;
    QTest::newRow("clean") << uint(Finished) << 0 << "key"
                           << "Scan finished"
                           << "No threats found in 2,000 files"
                           << "security-high";
    QTest::newRow("threats") << uint(Finished) << 3 << "key"
                             << "Scan finished"
                             << "3 threats found in 2,000 files"
                             << "security-low";
    QTest::newRow("stopped") << uint(Stopped) << 0 << "key"
                             << "Scan stopped"
                             << "No threats found in 2,000 files"
                             << "dialog-warning";
    QTest::newRow("failed") << uint(Failed) << 0 << "key"
                            << "Scan failed"
                            << "No threats found in 2,000 files"
                            << "dialog-warning";
    QTest::newRow("interrupted") << uint(Interrupted) << 1 << "key"
                                 << "Scan interrupted"
                                 << "1 threat found in 2,000 files"
                                 << "security-low";
    QTest::newRow("without a report") << uint(Finished) << 0 << ""
                                      << "Scan finished"
                                      << "No threats found in 2,000 files\n"
                                         "Its report could not be stored."
                                      << "security-high";
}

void AgentPartsTest::endsAreTold()
{
    QFETCH(uint, state);
    QFETCH(int, threats);
    QFETCH(QString, report);
    const auto notice = endNotice({"Scan", state, "", 2000, quint64(threats), report});
    QVERIFY(notice.has_value());
    QTEST(notice->summary, "summary");
    QTEST(notice->body, "body");
    QTEST(notice->icon, "icon");
    QCOMPARE(notice->urgency, threats > 0 ? Notice::Urgency::Critical : Notice::Urgency::Normal);
}

void AgentPartsTest::whatIsNoEndIsNotTold_data()
{
    QTest::addColumn<uint>("state");
    for (const uint state : {0u, 1u, 2u, 3u, 8u, 4000000000u})
        QTest::addRow("%u", state) << state;
}

void AgentPartsTest::whatIsNoEndIsNotTold()
{
    QFETCH(uint, state);
    QVERIFY(!endNotice({"Scan", state, "", 1, 1, "key"}).has_value());
}

void AgentPartsTest::stampIsDue_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<bool>("due");
    const QDateTime now = QDateTime::fromSecsSinceEpoch(1000000000);
    QTest::newRow("just now") << QByteArray("1000000000\n") << false;
    QTest::newRow("a second less than a day") << QByteArray("999913601\n") << false;
    QTest::newRow("a day") << QByteArray("999913600\n") << true;
    QTest::newRow("clock set back") << QByteArray("1000000001\n") << true;
    QTest::newRow("no number") << QByteArray("yesterday") << true;
    QTest::newRow("below zero") << QByteArray("-1") << true;
    QTest::newRow("too large") << QByteArray("99999999999999999999999999") << true;
    QTest::newRow("nothing") << QByteArray() << true;
}

void AgentPartsTest::stampIsDue()
{
    QFETCH(QByteArray, stored);
    QTemporaryDir folder;
    QFile file(folder.filePath("stamp"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(stored);
    file.close();
    QTEST(DailyStamp(file.fileName()).due(QDateTime::fromSecsSinceEpoch(1000000000)), "due");
}

void AgentPartsTest::stampIsKept()
{
    QTemporaryDir folder;
    const QString file = folder.filePath("a/b/stamp");
    const QDateTime now = QDateTime::fromSecsSinceEpoch(1000000000);
    DailyStamp stamp(file);
    QVERIFY(stamp.due(now));
    stamp.set(now);
    QVERIFY(!stamp.due(now));
    QVERIFY(!DailyStamp(file).due(now));
    QVERIFY(DailyStamp(file).due(now.addDays(1)));
}

void AgentPartsTest::stampHoldsWithoutAFile()
{
    const QDateTime now = QDateTime::fromSecsSinceEpoch(1000000000);
    DailyStamp stamp("/proc/none/stamp");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Cannot write /proc/none/stamp: "));
    stamp.set(now);
    QVERIFY(!stamp.due(now));
}

// A link's socket is a symbolic one here, so that a second bus can take the first one's place.
void AgentPartsTest::linkFindsTheBusAgain()
{
    QTemporaryDir folder;
    const QString socket = folder.filePath("bus");
    const auto serve = [&](const PrivateBus &bus) {
        const QString real = bus.address().section("path=", 1).section(',', 0, 0);
        QFile::remove(socket);
        return QFile::link(real, socket);
    };
    EngineLink link("unix:path=" + socket);
    link.setReopenAfter(std::chrono::milliseconds(20));
    QSignalSpy ends(&link, &EngineLink::scanEnded);
    QSignalSpy gone(&link, &EngineLink::serviceGone);
    link.open(); // there is no bus yet
    for (int round = 1; round <= 2; ++round) {
        auto bus = std::make_unique<PrivateBus>();
        QVERIFY(serve(*bus));
        auto engine = std::make_unique<FakeEngine>(bus->address());
        QTRY_COMPARE_WITH_TIMEOUT(engine->statusAsked(), 1, kSoon);
        engine->tellEnd("Scan", talo::interface::Finished, "", 1, 0, "key");
        QTRY_COMPARE_WITH_TIMEOUT(ends.count(), round, kSoon);
        bus.reset();
        QTRY_VERIFY_WITH_TIMEOUT(gone.count() >= round, kSoon);
    }
}

int main(int argc, char *argv[])
{
    qRegisterMetaType<EndedScan>();
    QCoreApplication application(argc, argv);
    AgentPartsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_agentparts.moc"
