// An update of the signatures in a terminal, against the scripted engine that reports from threads
// of its own.
#include "programs/console.h"
#include "programs/terminalsignatureupdate.h"
#include "support/scriptedengine.h"
#include "support/soon.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

#include <cstdio>
#include <memory>

using namespace talo::programs;
using talo::test::ScriptedEngine;

class TestTerminalSignatureUpdate : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void tellsOutcome_data();
    void tellsOutcome();
    void tellsWorkersOutcome_data();
    void tellsWorkersOutcome();
    void stopsWhenAsked();
    void secondStopLeavesAtOnce();

private:
    QByteArray written(std::FILE *file) const;

    std::FILE *out_ = nullptr;
    std::FILE *err_ = nullptr;
    std::unique_ptr<Console> console_;
};

void TestTerminalSignatureUpdate::init()
{
    ScriptedEngine::instance().reset();
    ScriptedEngine::instance().answer("IsInternetAvailable", {1});
    ScriptedEngine::instance().answer("initiate_sig_update", {0, {}, {42}});
    out_ = std::tmpfile();
    err_ = std::tmpfile();
    console_ = std::make_unique<Console>(out_, err_);
}

void TestTerminalSignatureUpdate::cleanup()
{
    console_.reset();
    std::fclose(out_);
    std::fclose(err_);
}

QByteArray TestTerminalSignatureUpdate::written(std::FILE *file) const
{
    std::fflush(file);
    std::rewind(file);
    QByteArray content(4096, '\0');
    content.resize(int(std::fread(content.data(), 1, size_t(content.size()), file)));
    return content;
}

void TestTerminalSignatureUpdate::tellsOutcome_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("done") << 2 << 0 << QByteArray("Virus signature updated successfully !\n");
    QTest::newRow("latest") << 7 << 0 << QByteArray("You already have latest virus signature.\n");
    QTest::newRow("stopped") << 3 << 2 << QByteArray("Virus signature update stopped.\n");
    QTest::newRow("fault") << 4 << 2 << QByteArray("Virus signature update stopped.\n");
    QTest::newRow("unreachable") << 8 << 2
                                 << QByteArray("Update server is unreachable, Try again !\n");
}

// Where there is no terminal the outcome is all that is written.
void TestTerminalSignatureUpdate::tellsOutcome()
{
    QFETCH(int, status);
    QFETCH(int, code);
    talo::test::Answer run;
    run.during = [status] {
        ScriptedEngine::instance().reportUpdate(300, 200, 33.3F, 10, 1);
        ScriptedEngine::instance().reportUpdate(300, 0, 100.0F, 10, status);
    };
    ScriptedEngine::instance().answer("start_sig_update", run);
    TerminalSignatureUpdate update(*console_);
    QSignalSpy done(&update, &TerminalSignatureUpdate::done);
    update.start();
    QTRY_COMPARE_WITH_TIMEOUT(done.count(), 1, kSoon);
    QCOMPARE(done[0][0].toInt(), code);
    QTEST(written(code == 0 ? out_ : err_), "text");
    QCOMPARE(written(code == 0 ? err_ : out_), QByteArray());
}

void TestTerminalSignatureUpdate::tellsWorkersOutcome_data()
{
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("text");
    const QByteArray stopped = "Virus signature update stopped, Try again !\n";
    QTest::newRow("offline") << QByteArray("IsInternetAvailable") << -1
                             << QByteArray("You do not have any working Internet Connection !\n");
    QTest::newRow("not prepared") << QByteArray("initiate_sig_update") << 2 << stopped;
    QTest::newRow("failed") << QByteArray("start_sig_update") << 1 << stopped;
    QTest::newRow("no report") << QByteArray("start_sig_update") << 0 << stopped;
}

void TestTerminalSignatureUpdate::tellsWorkersOutcome()
{
    QFETCH(QByteArray, function);
    QFETCH(int, code);
    ScriptedEngine::instance().answer(function.toStdString(), {code});
    TerminalSignatureUpdate update(*console_);
    QSignalSpy done(&update, &TerminalSignatureUpdate::done);
    update.start();
    QTRY_COMPARE_WITH_TIMEOUT(done.count(), 1, kSoon);
    QCOMPARE(done[0][0].toInt(), 2);
    QTEST(written(err_), "text");
}

void TestTerminalSignatureUpdate::stopsWhenAsked()
{
    QSemaphore held;
    talo::test::Answer run;
    run.during = [&held] { held.acquire(); };
    ScriptedEngine::instance().answer("start_sig_update", run);
    talo::test::Answer stopping;
    stopping.during = [&held] {
        ScriptedEngine::instance().reportUpdate(300, 200, 33.3F, 0, 3);
        held.release();
    };
    ScriptedEngine::instance().answer("sig_update_stop", stopping);
    TerminalSignatureUpdate update(*console_);
    QSignalSpy done(&update, &TerminalSignatureUpdate::done);
    update.start();
    QTRY_COMPARE_WITH_TIMEOUT(ScriptedEngine::instance().calls("start_sig_update").size(),
                              size_t(1), kSoon);
    QCoreApplication::processEvents();
    update.stop();
    QTRY_COMPARE_WITH_TIMEOUT(done.count(), 1, kSoon);
    QCOMPARE(written(err_), QByteArray("Virus signature update stopped.\n"));
    QCOMPARE(ScriptedEngine::instance().calls("sig_update_stop")[0].arguments,
             std::vector<std::string>{"42"});
}

void TestTerminalSignatureUpdate::secondStopLeavesAtOnce()
{
    QSemaphore held;
    talo::test::Answer run;
    run.during = [&held] { held.acquire(); };
    ScriptedEngine::instance().answer("start_sig_update", run);
    TerminalSignatureUpdate update(*console_);
    QSignalSpy done(&update, &TerminalSignatureUpdate::done);
    update.start();
    QTRY_COMPARE_WITH_TIMEOUT(ScriptedEngine::instance().calls("start_sig_update").size(),
                              size_t(1), kSoon);
    QCoreApplication::processEvents();
    update.stop();
    QCOMPARE(done.count(), 0);
    update.stop();
    QCOMPARE(done.count(), 1);
    QCOMPARE(done[0][0].toInt(), 2);
    held.release();
}

QTEST_GUILESS_MAIN(TestTerminalSignatureUpdate)
#include "test_terminalsignatureupdate.moc"
