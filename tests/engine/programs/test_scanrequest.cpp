// The command line of FullScan, QuickScan and CustomScan.
#include "programs/scanrequest.h"

#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

using namespace talo;
using namespace talo::programs;

using Arguments = QList<QByteArray>;

class TestScanRequest : public QObject
{
    Q_OBJECT

private slots:
    void understood_data();
    void understood();
    void refused_data();
    void refused();
    void relativePathsBecomeAbsolute();
    void aLostWorkingDirectoryIsSaid();
};

void TestScanRequest::understood_data()
{
    QTest::addColumn<Arguments>("arguments");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("full, by the panel")
        << Arguments{"/opt/bin/FullScan", "/", "1"} << int{interface::FullScan} << QByteArray("/");
    QTest::newRow("quick, by the panel") << Arguments{"/opt/bin/QuickScan", "/", "3"}
                                         << int{interface::QuickScan} << QByteArray("/");
    QTest::newRow("custom, by the panel") << Arguments{"/opt/bin/CustomScan", "/tmp", "2"}
                                          << int{interface::CustomScan} << QByteArray("/tmp");
    QTest::newRow("the code rules over the name")
        << Arguments{"FullScan", "/tmp", "2"} << int{interface::CustomScan} << QByteArray("/tmp");
    QTest::newRow("name alone, full")
        << Arguments{"FullScan"} << int{interface::FullScan} << QByteArray("/");
    QTest::newRow("name alone, quick")
        << Arguments{"./QuickScan", "/"} << int{interface::QuickScan} << QByteArray("/");
    QTest::newRow("name alone, custom")
        << Arguments{"CustomScan", "/a b"} << int{interface::CustomScan} << QByteArray("/a b");
    QTest::newRow("bytes that are no UTF-8, and a newline")
        << Arguments{"CustomScan", "/x\xff\n#,", "2"} << int{interface::CustomScan}
        << QByteArray("/x\xff\n#,");
}

void TestScanRequest::understood()
{
    QFETCH(Arguments, arguments);
    const ParsedRequest parsed = parseScanArguments(arguments);
    QVERIFY2(parsed.request.has_value(), qPrintable(parsed.problem));
    QTEST(static_cast<int>(parsed.request->kind), "kind");
    QTEST(parsed.request->path, "path");
}

void TestScanRequest::refused_data()
{
    QTest::addColumn<Arguments>("arguments");
    QTest::newRow("nothing") << Arguments{};
    QTest::newRow("unknown name") << Arguments{"scan", "/"};
    QTest::newRow("unknown code") << Arguments{"FullScan", "/", "4"};
    QTest::newRow("empty code") << Arguments{"FullScan", "/", ""};
    QTest::newRow("a code in words") << Arguments{"FullScan", "/", "full"};
    QTest::newRow("too many") << Arguments{"FullScan", "/", "1", "2"};
    QTest::newRow("custom without a path") << Arguments{"CustomScan"};
    QTest::newRow("custom with an empty path") << Arguments{"CustomScan", "", "2"};
    QTest::newRow("full of a part") << Arguments{"FullScan", "/home", "1"};
    QTest::newRow("quick of a part") << Arguments{"QuickScan", "/home"};
}

void TestScanRequest::refused()
{
    QFETCH(Arguments, arguments);
    const ParsedRequest parsed = parseScanArguments(arguments);
    QVERIFY(!parsed.request.has_value());
    QVERIFY(!parsed.problem.isEmpty());
}

void TestScanRequest::relativePathsBecomeAbsolute()
{
    const QTemporaryDir folder;
    const QByteArray before = QDir::currentPath().toLocal8Bit();
    QCOMPARE(chdir(folder.path().toLocal8Bit().constData()), 0);
    const auto path = absolutePath("a/../b\xff");
    QCOMPARE(chdir("/"), 0);
    const auto top = absolutePath("etc");
    QCOMPARE(chdir(before.constData()), 0);
    QVERIFY(path && top);
    QCOMPARE(*path, folder.path().toLocal8Bit() + "/a/../b\xff");
    QCOMPARE(*top, QByteArray("/etc"));
}

void TestScanRequest::aLostWorkingDirectoryIsSaid()
{
    const QByteArray before = QDir::currentPath().toLocal8Bit();
    {
        const QTemporaryDir folder;
        QCOMPARE(chdir(folder.path().toLocal8Bit().constData()), 0);
    }
    const ParsedRequest parsed = parseScanArguments({"CustomScan", "x"});
    QCOMPARE(chdir(before.constData()), 0);
    QVERIFY(!parsed.request.has_value());
    QVERIFY(parsed.problem.contains(QLatin1String("working directory")));
}

QTEST_APPLESS_MAIN(TestScanRequest)
#include "test_scanrequest.moc"
