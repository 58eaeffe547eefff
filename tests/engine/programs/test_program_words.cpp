// Numbers, sentences and lines that the scan programs show.
#include "interface/names.h"
#include "programs/columns.h"
#include "programs/format.h"
#include "programs/guards.h"
#include "programs/printable.h"
#include "programs/progressline.h"
#include "programs/scanwords.h"
#include "programs/signatures.h"

#include <QtTest>

#include <clocale>
#include <limits>

using namespace talo;
using namespace talo::programs;

class TestProgramWords : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void counts_data();
    void counts();
    void bytes_data();
    void bytes();
    void durations_data();
    void durations();
    void countsWithNouns();
    void textFromOutsideIsPrintable();
    void pathsLoseTheirMiddle();
    void wideCharactersTakeTwoColumns();
    void progressLineFits();
    void progressLineSaysTheState();
    void percentIsHonest();
    void verdicts_data();
    void verdicts();
    void nothingScannedIsNotClean();
    void notScannedIsNeverHidden();
    void signatures_data();
    void signatures();
    void guards();
};

namespace
{

interface::ScanProgress scanning()
{
    interface::ScanProgress progress;
    progress.state = interface::Scanning;
    progress.current = QStringLiteral("/usr/share/some/deep/folder/with/a/file.bin");
    progress.filesDone = 12400;
    progress.filesTotal = 40000;
    progress.bytesDone = 1400000000;
    progress.bytesTotal = 4000000000;
    progress.remainingMs = 200000;
    progress.clean = 12343;
    progress.threats = 2;
    progress.skipped = 50;
    progress.errors = 5;
    return progress;
}

} // namespace

void TestProgramWords::initTestCase()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
}

void TestProgramWords::counts_data()
{
    QTest::addColumn<quint64>("count");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << quint64{0} << "0";
    QTest::newRow("999") << quint64{999} << "999";
    QTest::newRow("1000") << quint64{1000} << "1,000";
    QTest::newRow("12345") << quint64{12345} << "12,345";
    QTest::newRow("123456") << quint64{123456} << "123,456";
    QTest::newRow("1234567") << quint64{1234567} << "1,234,567";
    QTest::newRow("most") << std::numeric_limits<quint64>::max() << "18,446,744,073,709,551,615";
}

void TestProgramWords::counts()
{
    QFETCH(quint64, count);
    QFETCH(QString, text);
    QCOMPARE(formatCount(count), text);
}

void TestProgramWords::countsWithNouns()
{
    QCOMPARE(formatCount(0, "%1 file", "%1 files"), QStringLiteral("0 files"));
    QCOMPARE(formatCount(1, "%1 file", "%1 files"), QStringLiteral("1 file"));
    QCOMPARE(formatCount(12345, "%1 file", "%1 files"), QStringLiteral("12,345 files"));
}

void TestProgramWords::bytes_data()
{
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << quint64{0} << "0 bytes";
    QTest::newRow("1") << quint64{1} << "1 byte";
    QTest::newRow("999") << quint64{999} << "999 bytes";
    QTest::newRow("1000") << quint64{1000} << "1.0 KB";
    QTest::newRow("1049") << quint64{1049} << "1.0 KB";
    QTest::newRow("1050") << quint64{1050} << "1.1 KB";
    QTest::newRow("4242") << quint64{4242} << "4.2 KB";
    QTest::newRow("99949") << quint64{99949} << "99.9 KB";
    QTest::newRow("99950") << quint64{99950} << "100 KB";
    QTest::newRow("999499") << quint64{999499} << "999 KB";
    QTest::newRow("999500") << quint64{999500} << "1.0 MB";
    QTest::newRow("326 MB") << quint64{326000000} << "326 MB";
    QTest::newRow("1.4 GB") << quint64{1400000000} << "1.4 GB";
    QTest::newRow("999.5 GB") << quint64{999500000000} << "1.0 TB";
    QTest::newRow("most") << std::numeric_limits<quint64>::max() << "18.4 EB";
}

void TestProgramWords::bytes()
{
    QFETCH(quint64, bytes);
    QFETCH(QString, text);
    QCOMPARE(formatBytes(bytes), text);
}

void TestProgramWords::durations_data()
{
    QTest::addColumn<quint64>("milliseconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << quint64{0} << "0 s";
    QTest::newRow("999 ms") << quint64{999} << "0 s";
    QTest::newRow("59 s") << quint64{59999} << "59 s";
    QTest::newRow("1 min") << quint64{60000} << "1 min";
    QTest::newRow("3 min 20 s") << quint64{200000} << "3 min 20 s";
    QTest::newRow("1 h") << quint64{3600000} << "1 h";
    QTest::newRow("2 h 5 min") << quint64{7500000 + 59000} << "2 h 5 min";
    QTest::newRow("1 day") << quint64{86400000} << "1 day";
    QTest::newRow("3 days 4 h") << quint64{(3 * 24 + 4) * 3600000ULL} << "3 days 4 h";
}

void TestProgramWords::durations()
{
    QFETCH(quint64, milliseconds);
    QFETCH(QString, text);
    QCOMPARE(formatDuration(milliseconds), text);
}

void TestProgramWords::textFromOutsideIsPrintable()
{
    QCOMPARE(printable(QStringLiteral("plain \u00e9 \u65e5")),
             QStringLiteral("plain \u00e9 \u65e5"));
    QCOMPARE(printable(QStringLiteral("a\x1b[2Jb")), QStringLiteral("a\\u{1b}[2Jb"));
    QCOMPARE(printable(QStringLiteral("a\nb\tc")), QStringLiteral("a\\u{a}b\\u{9}c"));
    QCOMPARE(printable(QString(QChar(0x202e)) + QLatin1String("gpj.exe")),
             QStringLiteral("\\u{202e}gpj.exe"));
    const uint beyond = 0x1f600;
    QCOMPARE(printable(QString::fromUcs4(&beyond, 1)), QString::fromUcs4(&beyond, 1));
    QCOMPARE(printableLines(QStringLiteral("a\nb\tc\r\x07")),
             QStringLiteral("a\nb\tc\\u{d}\\u{7}"));
}

void TestProgramWords::pathsLoseTheirMiddle()
{
    const QString path = QStringLiteral("/home/user/Downloads/archive.zip");
    QCOMPARE(elidedMiddle(path, 80), path);
    QCOMPARE(elidedMiddle(path, path.size()), path);
    QCOMPARE(elidedMiddle(path, 20), QStringLiteral("/home/us...chive.zip"));
    QCOMPARE(elidedMiddle(path, 4), QStringLiteral("...p"));
    QCOMPARE(elidedMiddle(path, 3), QString());
    QCOMPARE(elidedMiddle(path, -5), QString());
}

void TestProgramWords::wideCharactersTakeTwoColumns()
{
    const QString wide = QStringLiteral("\u65e5\u672c\u8a9e\u65e5\u672c\u8a9e");
    QCOMPARE(columnsOf(wide), 12);
    for (int columns = 4; columns < 12; ++columns)
        QVERIFY2(columnsOf(elidedMiddle(wide, columns)) <= columns,
                 qPrintable(QString::number(columns)));
}

void TestProgramWords::progressLineFits()
{
    for (int columns = 0; columns < 200; ++columns)
        QVERIFY(columnsOf(progressLine(scanning(), columns)) <= columns);
    QCOMPARE(progressLine(scanning(), 140),
             QStringLiteral(" 35%  12,345 files  1.4 GB  2 threats  3 min 20 s left  "
                            "/usr/share/some/deep/folder/with/a/file.bin"));
    // Too narrow for a path that tells anything: the numbers alone.
    QCOMPARE(progressLine(scanning(), 60),
             QStringLiteral(" 35%  12,345 files  1.4 GB  2 threats  3 min 20 s left"));
}

void TestProgramWords::progressLineSaysTheState()
{
    interface::ScanProgress progress;
    QCOMPARE(progressLine(progress, 79), QStringLiteral("Loading signatures"));
    progress.state = interface::Scanning;
    QCOMPARE(progressLine(progress, 79), QStringLiteral("Scanning  0 files  0 bytes  0 threats"));
    progress.state = interface::Paused;
    QVERIFY(progressLine(progress, 79).startsWith(QLatin1String("Paused")));
    progress.state = interface::Stopping;
    QVERIFY(progressLine(progress, 79).startsWith(QLatin1String("Stopping")));
}

void TestProgramWords::percentIsHonest()
{
    interface::ScanProgress progress = scanning();
    QCOMPARE(percentDone(progress), 35);
    progress.bytesDone = progress.bytesTotal + 1; // files grow while they are counted
    QCOMPARE(percentDone(progress), 99);
    progress.bytesTotal = 0;
    QCOMPARE(percentDone(progress), 31);
    progress.filesTotal = 0;
    QCOMPARE(percentDone(progress), -1);
    progress.state = interface::Finished;
    QCOMPARE(percentDone(progress), 100);
}

void TestProgramWords::verdicts_data()
{
    QTest::addColumn<uint>("state");
    QTest::addColumn<uint>("threats");
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("sentence");
    QTest::addColumn<int>("code");
    QTest::newRow("clean") << uint{interface::Finished} << 0U << ""
                           << "No threats found." << 0;
    QTest::newRow("one") << uint{interface::Finished} << 1U << ""
                         << "1 threat found." << 1;
    QTest::newRow("three") << uint{interface::Finished} << 3U << ""
                           << "3 threats found." << 1;
    QTest::newRow("stopped") << uint{interface::Stopped} << 0U << ""
                             << "The scan was stopped. No threats found until then." << 2;
    QTest::newRow("stopped with threats")
        << uint{interface::Stopped} << 2U << ""
        << "The scan was stopped. 2 threats found until then." << 2;
    QTest::newRow("failed") << uint{interface::Failed} << 0U << "no signatures"
                            << "The scan failed: no signatures. No threats found until then." << 2;
    QTest::newRow("failed, with its own full stop")
        << uint{interface::Failed} << 0U << "No signatures."
        << "The scan failed: No signatures. No threats found until then." << 2;
    QTest::newRow("failed without a reason")
        << uint{interface::Failed} << 0U << ""
        << "The scan failed. No threats found until then." << 2;
}

void TestProgramWords::verdicts()
{
    QFETCH(uint, state);
    QFETCH(uint, threats);
    QFETCH(QString, failure);
    interface::ScanProgress progress;
    progress.state = state;
    progress.threats = threats;
    progress.failure = failure;
    QTEST(verdictSentence(progress), "sentence");
    QTEST(static_cast<int>(exitCode(progress)), "code");
}

void TestProgramWords::nothingScannedIsNotClean()
{
    interface::ScanProgress progress;
    progress.state = interface::Finished;
    QCOMPARE(exitCode(progress), NoThreats); // an empty folder
    progress.errors = 1;
    QCOMPARE(exitCode(progress), ScanFailed);
    QCOMPARE(verdictSentence(progress), QStringLiteral("Nothing could be scanned."));
    progress.clean = 1;
    QCOMPARE(exitCode(progress), NoThreats);
}

void TestProgramWords::notScannedIsNeverHidden()
{
    interface::ScanProgress progress;
    QCOMPARE(notScannedSentence(progress), QString());
    progress.skipped = 1;
    QCOMPARE(notScannedSentence(progress),
             QStringLiteral("1 file was not scanned: 1 skipped, 0 with errors."));
    progress.skipped = 1200;
    progress.errors = 34;
    QCOMPARE(notScannedSentence(progress),
             QStringLiteral("1,234 files were not scanned: 1,200 skipped, 34 with errors."));
    QCOMPARE(filesScanned(progress), quint64{0});
}

void TestProgramWords::guards()
{
    const auto status = [](const char *firewall, bool guards, const QStringList &others) {
        return QVariantMap{{QStringLiteral("firewall"), QLatin1String(firewall)},
                           {QStringLiteral("guardsMachine"), guards},
                           {QStringLiteral("otherFirewalls"), others}};
    };
    QVERIFY(firewallWords(status("on", true, {})).startsWith(QStringLiteral("on, ")));
    QVERIFY(!firewallWords(status("on", true, {})).contains(QLatin1Char(';')));
    QVERIFY(firewallWords(status("off", true, {QStringLiteral("ufw"), QStringLiteral("firewalld")}))
                .endsWith(QStringLiteral("; also at work: ufw, firewalld")));
    QVERIFY(firewallWords(status("altered", true, {})).startsWith(QStringLiteral("in place, but")));
    for (const QVariantMap &unknown : {status("unknown", false, {}), QVariantMap()})
        QCOMPARE(firewallWords(unknown),
                 QStringLiteral("not known, only root's service is told; this service cannot "
                                "switch it"));

    QVariantMap usb{{QStringLiteral("usbOpen"), 2U}, {QStringLiteral("usbBlocked"), 0U}};
    QCOMPARE(storageWords(usb), QStringLiteral("full access; 2 plugged in and working, 0 blocked"));
    usb[QStringLiteral("usbFlag")] = true;
    QCOMPARE(storageWords(usb),
             QStringLiteral("blocked; 2 plugged in and working, 0 blocked; udev has no rule for "
                            "it, so only while the service runs"));
    usb[QStringLiteral("usbRule")] = true;
    QCOMPARE(storageWords(usb), QStringLiteral("blocked; 2 plugged in and working, 0 blocked"));

    QVERIFY(driveWords({}).contains(QStringLiteral("are not scanned")));
    QVERIFY(!driveWords({{QStringLiteral("driveScan"), true}}).contains(QStringLiteral("not")));
}

void TestProgramWords::signatures_data()
{
    QTest::addColumn<QString>("set");
    QTest::addColumn<QString>("version");
    QTest::addColumn<qint64>("age"); // seconds; -1 for an unknown time
    QTest::addColumn<uint>("count");
    QTest::addColumn<QString>("inUse");
    QTest::addColumn<QString>("advice"); // its beginning
    constexpr qint64 day = 86400;
    QTest::newRow("fresh") << "updated"
                           << "27123" << qint64{60} << 2036512U
                           << "updated set, version 27123, less than a day old, "
                              "2,036,512 signatures"
                           << "";
    QTest::newRow("not loaded yet")
        << "updated"
        << "27123" << day << 0U << "updated set, version 27123, 1 day old"
        << "";
    QTest::newRow("a week") << "system"
                            << "" << 7 * day << 1U << "system set, 7 days old, 1 signature"
                            << "";
    QTest::newRow("older") << "system"
                           << "" << 8 * day << 1U << "system set, 8 days old, 1 signature"
                           << "The signatures are 8 days old.";
    QTest::newRow("built in") << "built-in"
                              << "1" << 8 * day << 46U
                              << "built-in set, version 1, 8 days old, 46 signatures"
                              << "The built-in set";
    QTest::newRow("unknown age") << "updated"
                                 << "" << qint64{-1} << 0U << "updated set, of unknown age"
                                 << "The age";
    QTest::newRow("from the future") << "updated"
                                     << "" << -5 * day << 0U << "updated set, less than a day old"
                                     << "";
    QTest::newRow("no answer") << ""
                               << "" << qint64{-1} << 0U << "not known"
                               << "The service";
}

void TestProgramWords::signatures()
{
    QFETCH(QString, set);
    QFETCH(QString, version);
    QFETCH(qint64, age);
    QFETCH(uint, count);
    QFETCH(QString, advice);
    const QDateTime now = QDateTime::fromSecsSinceEpoch(1800000000, Qt::UTC);
    QVariantMap status;
    if (!set.isEmpty())
        status = {{QStringLiteral("signatureSet"), set},
                  {QStringLiteral("signatureVersion"), version},
                  {QStringLiteral("signatureTime"), age == -1 ? 0 : now.toSecsSinceEpoch() - age},
                  {QStringLiteral("signatureCount"), count}};
    const SignatureWords words = describeSignatures(status, now);
    QTEST(words.inUse, "inUse");
    QCOMPARE(words.advice.isEmpty(), advice.isEmpty());
    QCOMPARE(words.advice.left(advice.size()), advice);
}

QTEST_APPLESS_MAIN(TestProgramWords)
#include "test_program_words.moc"
