// That the signatures are old is told, and how often.
#include "engine/programs/agent/agentsession.h"
#include "interface/names.h"
#include "support/soon.h"

#include <QDateTime>
#include <QFile>
#include <QtTest>

using namespace talo::tests;

namespace
{

qint64 daysAgo(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(-days).toSecsSinceEpoch();
}

QVariantMap signatures(const QString &set, qint64 time)
{
    return {{"signatureSet", set}, {"signatureTime", time}};
}

} // namespace

class AgentSignaturesTest : public AgentSession
{
    Q_OBJECT

private slots:
    void oldSignaturesAreTold_data();
    void oldSignaturesAreTold();
    void signaturesAreToldOnceADay();
    void untoldSignaturesAreToldAgain();

private:
    QString stampFile() const { return home_->filePath("state/taloantivirus/signatures-told"); }
};

void AgentSignaturesTest::oldSignaturesAreTold_data()
{
    QTest::addColumn<QVariantMap>("status");
    QTest::addColumn<QString>("told");
    QTest::newRow("8 days") << signatures("updated", daysAgo(8))
                            << "The signatures are 8 days old. Update them to find current "
                               "malware.";
    QTest::newRow("7 days") << signatures("updated", daysAgo(7)) << "";
    QTest::newRow("fresh") << signatures("system", daysAgo(0)) << "";
    QTest::newRow("built-in") << signatures("built-in", daysAgo(0))
                              << "The built-in set knows little more than test files. Update the "
                                 "signatures to find current malware.";
    QTest::newRow("not said") << QVariantMap() << "";
}

void AgentSignaturesTest::oldSignaturesAreTold()
{
    QFETCH(QVariantMap, status);
    QFETCH(QString, told);
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(status);
    play();
    engine_->tellEnd("Marker", talo::interface::Finished, "", 1, 0, "key");
    QTRY_VERIFY_WITH_TIMEOUT(!seen().isEmpty() && seen().last().summary == "Marker finished",
                             kSoon);
    QCOMPARE(seen().size(), told.isEmpty() ? 1 : 2);
    if (told.isEmpty())
        return;
    QCOMPARE(seen()[0].summary, QString("The virus signatures need an update"));
    QCOMPARE(seen()[0].body, told);
}

void AgentSignaturesTest::signaturesAreToldOnceADay()
{
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(signatures("updated", daysAgo(30)));
    play();
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);

    // Neither the service's return nor the next session is a reason to say it again …
    engine_.reset();
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(signatures("updated", daysAgo(30)));
    QTRY_COMPARE_WITH_TIMEOUT(engine_->statusAsked(), 1, kSoon);
    stopAgent();
    listen();
    engine_->tellEnd("Marker", talo::interface::Finished, "", 1, 0, "key");
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 2, kSoon);
    QCOMPARE(seen()[1].summary, QString("Marker finished"));

    // … but the next day is.
    stopAgent();
    QFile stamp(stampFile());
    QVERIFY(stamp.open(QIODevice::WriteOnly));
    stamp.write(QByteArray::number(daysAgo(1)));
    stamp.close();
    listen();
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 3, kSoon);
    QCOMPARE(seen()[2].summary, QString("The virus signatures need an update"));
}

// A notice that no desktop has shown by the end of the session has not been given.
void AgentSignaturesTest::untoldSignaturesAreToldAgain()
{
    engine_ = std::make_unique<FakeEngine>(session_->address());
    engine_->setStatus(signatures("updated", daysAgo(30)));
    listen();
    stopAgent();
    QVERIFY(!QFile::exists(stampFile()));
    play();
    QTRY_COMPARE_WITH_TIMEOUT(seen().size(), 1, kSoon);
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(stampFile()), kSoon);
}

QTEST_GUILESS_MAIN(AgentSignaturesTest)
#include "test_agentsignatures.moc"
