// The panel's own program, started with the scripted engine in the real one's place.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void secondInstanceLeavesAtOnce_data();
    void secondInstanceLeavesAtOnce();
    void firstInstanceGoesOn_data();
    void firstInstanceGoesOn();
    void setsUpApplication();
    void fontFollowsFailedRegistration();
    void fontStaysAfterRegistration();
    void returnsExitCodeOfLoop();

private:
    struct Run {
        int exitCode = -1;
        QByteArray errors;
        QJsonObject told; // by the probe
        QStringList calls;
    };
    Run run();

    QTemporaryDir folder_;
    QProcessEnvironment environment_;
    QString build_;
};

void StartupTest::initTestCase()
{
    build_ = qEnvironmentVariable("TALO_BUILD_DIR");
    QVERIFY(QFile::exists(build_ + "/bin/taloantivirus"));
    QVERIFY(QDir(folder_.path()).mkpath("bin"));
    QVERIFY(QDir(folder_.path()).mkpath("lib"));
}

void StartupTest::init()
{
    environment_ = QProcessEnvironment::systemEnvironment();
    environment_.insert("QT_QPA_PLATFORM", "offscreen");
    environment_.insert("QT_LOGGING_TO_CONSOLE", "1");
    environment_.insert("XDG_RUNTIME_DIR", folder_.path());
    environment_.insert("LD_LIBRARY_PATH", build_ + "/tests/lib");
    environment_.insert("LD_PRELOAD", build_ + "/tests/lib/libtalo_startup_probe.so");
    environment_.insert("TALO_SCRIPTED_LOG", folder_.filePath("calls"));
    environment_.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
    QFile::remove(folder_.filePath("calls"));
}

StartupTest::Run StartupTest::run()
{
    QProcess panel;
    panel.setProcessEnvironment(environment_);
    panel.setWorkingDirectory(folder_.filePath("bin"));
    panel.start(build_ + "/bin/taloantivirus", QStringList());
    Run result;
    if (!panel.waitForFinished(30000) || panel.exitStatus() != QProcess::NormalExit) {
        result.errors = "did not end by itself: " + panel.readAllStandardError();
        panel.kill();
        panel.waitForFinished();
        return result;
    }
    result.exitCode = panel.exitCode();
    result.errors = panel.readAllStandardError();
    result.told = QJsonDocument::fromJson(panel.readAllStandardOutput()).object();
    QFile calls(folder_.filePath("calls"));
    if (calls.open(QIODevice::ReadOnly)) {
        result.calls = QString::fromUtf8(calls.readAll()).split('\n', Qt::SkipEmptyParts);
    }
    return result;
}

void StartupTest::secondInstanceLeavesAtOnce_data()
{
    QTest::addColumn<QString>("platform");
    QTest::newRow("with a display") << "offscreen";
    // An application object would end the process with a fault here.
    QTest::newRow("without any display") << "no-such-platform";
}

void StartupTest::secondInstanceLeavesAtOnce()
{
    QFETCH(QString, platform);
    environment_.insert("QT_QPA_PLATFORM", platform);
    environment_.insert("TALO_SCRIPTED_CODES", "IsTaloAVRunning=0");
    const Run panel = run();
    QCOMPARE(panel.errors, QByteArray("Product instace is already running\n"));
    QCOMPARE(panel.exitCode, 0);
    QVERIFY(panel.told.isEmpty());
    QCOMPARE(panel.calls, QStringList{"IsTaloAVRunning TaloAntivirus"});
}

void StartupTest::firstInstanceGoesOn_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("1") << 1;
    QTest::newRow("another value") << -7;
}

void StartupTest::firstInstanceGoesOn()
{
    QFETCH(int, code);
    environment_.insert("TALO_SCRIPTED_CODES", QString("IsTaloAVRunning=%1").arg(code));
    const Run panel = run();
    QCOMPARE(panel.exitCode, 0);
    QVERIFY(!panel.errors.contains("Product instace"));
    QCOMPARE(panel.told["windows"].toArray(), QJsonArray{"TaloAntivirus_Linux_App"});
    QCOMPARE(panel.calls.first(), QString("IsTaloAVRunning TaloAntivirus"));
    QCOMPARE(panel.calls.filter("IsTaloAVRunning").size(), 1);
}

void StartupTest::setsUpApplication()
{
    const Run panel = run();
    QVERIFY2(!panel.told.isEmpty(), panel.errors.constData());
    QCOMPARE(panel.told["displayName"].toString(), QString("TALO Antivirus"));
    QVERIFY(panel.told["hasIcon"].toBool());
    QVERIFY(panel.told["styleLength"].toInt() > 0);
    const QString lib = QDir(folder_.filePath("lib")).canonicalPath();
    QVERIFY(panel.told["libraryPaths"].toArray().contains(lib));
}

void StartupTest::fontFollowsFailedRegistration()
{
    const Run panel = run();
    QVERIFY2(!panel.told.isEmpty(), panel.errors.constData());
    QCOMPARE(panel.told["family"].toString(), QString("Gotham"));
    QCOMPARE(panel.told["strategy"].toInt(), 128);
    QCOMPARE(panel.told["weight"].toInt(), int(QFont::Normal));
    QVERIFY(!panel.told["italic"].toBool());
}

// The font is there under the very name that is asked for: the desktop's font stays.
void StartupTest::fontStaysAfterRegistration()
{
    environment_.insert("TALO_PROBE_RESOURCES", build_ + "/tests/app/lowercasefont.rcc");
    const Run panel = run();
    QVERIFY2(!panel.told.isEmpty(), panel.errors.constData());
    QCOMPARE(panel.told["family"].toString(), QApplication::font().family());
    QVERIFY(panel.told["family"].toString() != "Gotham");
    QVERIFY(panel.told["strategy"].toInt() != 128);
}

void StartupTest::returnsExitCodeOfLoop()
{
    environment_.insert("TALO_PROBE_EXIT", "7");
    QCOMPARE(run().exitCode, 7);
}

QTEST_MAIN(StartupTest)
#include "startup_test.moc"
