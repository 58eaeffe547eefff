// talod on a bus of its own: every method, and what may go wrong around it.
#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "support/soon.h"
#include "taloversion.h"

#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QTest>

#include <csignal>
#include <unistd.h>

using namespace talo::interface;

namespace
{

// The standard test file of the anti-malware industry, put together here so that no scanner takes
// this source for it.
QByteArray eicar()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

bool write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

class ServiceTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void describesItself();
    void answersOfAnEmptyStore();
    void refusesWrongArguments_data();
    void refusesWrongArguments();
    void knowsNoOtherJobs();
    void limitsItsJobs();
    void allowsOneFullAndOneQuickScan();
    void scansReportsAndQuarantines();
    void forgetsTheOldestOfManyEndedScans();
    void goesOnWhenTheCallerHasGone();
    void stopsAPausedJob();
    void closesTheReportOfAKilledScan();
    void leavesNoHalfReportWhereverItIsKilled();
    void storesReportsWhenItIsTerminated();
    void leavesWithItsBus();
    void refusesASecondOfItsKind();
    void refusesOtherUsers();
    void explainsItsOptions_data();
    void explainsItsOptions();

private:
    bool start(const QStringList &options);
    bool startWithStuckWorker();
    QDBusMessage scan(const char *method, const QVariantList &arguments = {});
    uint begin(const QString &path);
    ScanProgress progress(uint job);
    ScanProgress waitForEnd(uint job);
    QStringList reportTexts();

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    QDBusConnection caller_{QStringLiteral("caller")};
    QStringList signatures_;
};

void ServiceTest::initTestCase()
{
    registerTypes();
}

void ServiceTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    QVERIFY(folder_->isValid());
    const QString set = folder_->filePath("set");
    QVERIFY(QDir().mkpath(set));
    // The workers read the set as another user.
    QVERIFY(QFile::setPermissions(folder_->path(), QFile::Permissions(0x7755)));
    QVERIFY(write(set + "/test.ndb", "Talo.Test.Eicar:0:0:" + eicar().toHex() + "\n"));
    signatures_ = QStringList{"--signatures", set};
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    caller_ = bus_->connect("caller");
    QVERIFY(caller_.isConnected());
}

void ServiceTest::cleanup()
{
    service_.reset();
    bus_.reset();
    folder_.reset();
}

bool ServiceTest::start(const QStringList &options)
{
    service_ = startService(*bus_, folder_->filePath("state"), options);
    return service_ != nullptr;
}

// A worker that listens for ever and never says a word: jobs stay as they are.
bool ServiceTest::startWithStuckWorker()
{
    const QString worker = folder_->filePath("worker");
    return write(worker, "#!/bin/sh\nexec cat <&3\n") &&
           QFile::setPermissions(worker, QFile::Permissions(0x7755)) &&
           start(signatures_ + QStringList{"--worker", worker});
}

QDBusMessage ServiceTest::scan(const char *method, const QVariantList &arguments)
{
    return ask(caller_, kScan, method, arguments);
}

uint ServiceTest::begin(const QString &path)
{
    const QDBusReply<uint> job = scan("Start", {uint(CustomScan), QFile::encodeName(path)});
    return job.isValid() ? job.value() : 0;
}

ScanProgress ServiceTest::progress(uint job)
{
    return QDBusReply<ScanProgress>(scan("Progress", {job, 0U})).value();
}

ScanProgress ServiceTest::waitForEnd(uint job)
{
    const bool ended =
        QTest::qWaitFor([&] { return progress(job).state >= uint(Finished); }, 60000);
    return ended ? progress(job) : ScanProgress();
}

QStringList ServiceTest::reportTexts()
{
    QStringList texts;
    const QDBusMessage listing = ask(caller_, kReports, "List", {QString(), QString()});
    for (const auto &entry : qdbus_cast<ReportList>(listing.arguments().value(1)))
        texts += ask(caller_, kReports, "Read", {entry.key}).arguments().value(3).toString();
    return texts;
}

void ServiceTest::describesItself()
{
    QVERIFY(start(signatures_));
    const QDBusReply<QVariantMap> reply = ask(caller_, kStatus, "GetStatus");
    QVERIFY2(reply.isValid(), qPrintable(reply.error().message()));
    const QVariantMap status = reply.value();
    QCOMPARE(status.value("version").toString(), QString(TALO_VERSION));
    QCOMPARE(status.value("user").toUInt(), uint(geteuid()));
    QCOMPARE(status.value("signatureSet").toString(), QString("chosen"));
    QCOMPARE(status.value("signatureFolder").toString(), folder_->filePath("set"));
    QVERIFY(status.value("signatureTime").toLongLong() > 0);
    // Nothing is loaded before the first scan.
    QCOMPARE(status.value("signatureCount").toUInt(), 0U);
    QCOMPARE(status.value("jobs").toUInt(), 0U);
}

void ServiceTest::answersOfAnEmptyStore()
{
    QVERIFY(start(signatures_));
    const auto code = [](const QDBusMessage &reply) { return reply.arguments().value(0).toInt(); };
    QCOMPARE(code(ask(caller_, kReports, "List", {QString(), QString()})), 204);
    QCOMPARE(code(ask(caller_, kReports, "List", {"2026:7:4", "2026:7:3"})), 205);
    QCOMPARE(code(ask(caller_, kReports, "List", {"2026:2:30", ""})), 206);
    QCOMPARE(code(ask(caller_, kReports, "Read", {"2026-11-21 14:05:09"})), 203);
    QCOMPARE(code(ask(caller_, kReports, "Delete", {"' OR 1=1 --"})), 203);
    QCOMPARE(ask(caller_, kReports, "LastFullScan").arguments().value(0).toString(), QString());
    const QDBusReply<QuarantineList> held = ask(caller_, kQuarantine, "List");
    QVERIFY(held.isValid());
    QVERIFY(held.value().isEmpty());
    for (const char *method : {"Restore", "Purge"})
        for (const char *id : {"", "0123456789abcdef", "../state", "a/b", "."})
            QCOMPARE(ask(caller_, kQuarantine, method, {QString(id)}).errorName(),
                     QString(kErrorNotFound));
}

void ServiceTest::refusesWrongArguments_data()
{
    QTest::addColumn<uint>("kind");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QString>("error");
    const QString invalid = kErrorInvalid;
    QTest::newRow("kind 0") << 0U << QByteArray("/") << invalid;
    QTest::newRow("kind 4") << 4U << QByteArray("/") << invalid;
    QTest::newRow("empty") << uint(CustomScan) << QByteArray() << invalid;
    QTest::newRow("relative") << uint(CustomScan) << QByteArray("tmp") << invalid;
    QTest::newRow("with NUL") << uint(CustomScan) << QByteArray("/tmp\0x", 6) << invalid;
    QTest::newRow("too long") << uint(CustomScan) << "/" + QByteArray(4096, 'x') << invalid;
    QTest::newRow("full of a folder") << uint(FullScan) << QByteArray("/tmp") << invalid;
    QTest::newRow("quick of a folder") << uint(QuickScan) << QByteArray("/tmp") << invalid;
    QTest::newRow("missing") << uint(CustomScan) << QByteArray("/no/such/place")
                             << QString(kErrorNotFound);
    QTest::newRow("below a file") << uint(CustomScan) << QByteArray("/etc/passwd/x")
                                  << QString(kErrorNotFound);
}

void ServiceTest::refusesWrongArguments()
{
    QFETCH(uint, kind);
    QFETCH(QByteArray, path);
    QFETCH(QString, error);
    QVERIFY(start(signatures_));
    QCOMPARE(scan("Start", {kind, path}).errorName(), error);
    QVERIFY(QDBusReply<RunningJobs>(scan("Running")).value().isEmpty());
}

void ServiceTest::knowsNoOtherJobs()
{
    QVERIFY(start(signatures_));
    for (const char *method : {"Pause", "Resume", "Stop"})
        QCOMPARE(scan(method, {7U}).errorName(), QString(kErrorNotFound));
    QCOMPARE(scan("Progress", {7U, 0U}).errorName(), QString(kErrorNotFound));
}

void ServiceTest::limitsItsJobs()
{
    QVERIFY(startWithStuckWorker());
    const QString place = folder_->filePath("set");
    for (uint number = 1; number <= 4; ++number)
        QCOMPARE(begin(place), number);
    QCOMPARE(QDBusReply<RunningJobs>(scan("Running")).value().size(), 4);
    const QDBusMessage fifth = scan("Start", {uint(CustomScan), QFile::encodeName(place)});
    QCOMPARE(fifth.errorName(), QString(kErrorLimit));
    // The limit is said first, as the panel shows it.
    QCOMPARE(scan("Start", {uint(FullScan), QByteArray("/")}).errorName(), QString(kErrorLimit));
    scan("Stop", {2U});
    QCOMPARE(waitForEnd(2).state, uint(Stopped));
    QCOMPARE(begin(place), 5U);
}

void ServiceTest::allowsOneFullAndOneQuickScan()
{
    QVERIFY(startWithStuckWorker());
    for (const uint kind : {uint(FullScan), uint(QuickScan)}) {
        QVERIFY(QDBusReply<uint>(scan("Start", {kind, QByteArray("/")})).isValid());
        QCOMPARE(scan("Start", {kind, QByteArray("/")}).errorName(), QString(kErrorRunning));
    }
}

void ServiceTest::scansReportsAndQuarantines()
{
    QVERIFY(start(signatures_));
    const QString place = folder_->filePath("place");
    QVERIFY(QDir().mkpath(place));
    QVERIFY(write(place + "/clean.txt", "nothing here"));
    QVERIFY(write(place + "/one,two#three\nfour", eicar()));
    const uint job = begin(place);
    QVERIFY(job != 0);
    const ScanProgress end = waitForEnd(job);
    QCOMPARE(end.state, uint(Finished));
    QCOMPARE(end.filesDone, 2ULL);
    QCOMPARE(end.clean, 1U);
    QCOMPARE(end.threats, 1U);
    QCOMPARE(end.found.size(), 1);
    QCOMPARE(end.found[0].path, place + "/one,two#three\\nfour");
    QVERIFY(end.found[0].name.startsWith("Talo.Test.Eicar"));
    QCOMPARE(end.found[0].threatClass, QString("infected"));
    QVERIFY(!QFile::exists(place + "/one,two#three\nfour"));
    QVERIFY(QDBusReply<ScanProgress>(scan("Progress", {job, 1U})).value().found.isEmpty());

    const QDBusMessage report = ask(caller_, kReports, "Read", {end.report});
    QCOMPARE(report.arguments().value(0).toInt(), 0);
    const QString text = report.arguments().value(3).toString();
    QVERIFY2(text.contains("Result: Completed\n"), qPrintable(text));
    QVERIFY2(text.contains(place + "/one,two#three\\nfour\n"), qPrintable(text));
    QVERIFY2(text.contains(", 1 signature, "), qPrintable(text));
    QCOMPARE(report.arguments().value(4).toString(), QString("Custom Scan"));

    const auto held = QDBusReply<QuarantineList>(ask(caller_, kQuarantine, "List")).value();
    QCOMPARE(held.size(), 1);
    QCOMPARE(held[0].path, place + "/one,two#three\\nfour");
    const QDBusMessage restored = ask(caller_, kQuarantine, "Restore", {held[0].id});
    QVERIFY2(restored.type() == QDBusMessage::ReplyMessage, qPrintable(restored.errorMessage()));
    QVERIFY(QFile::exists(place + "/one,two#three\nfour"));

    QCOMPARE(ask(caller_, kReports, "Delete", {end.report}).arguments().value(0).toInt(), 0);
    QCOMPARE(reportTexts(), QStringList());
}

// Each one that is kept holds memory and threads.
void ServiceTest::forgetsTheOldestOfManyEndedScans()
{
    QVERIFY(start(signatures_));
    const QString place = folder_->filePath("place");
    QVERIFY(write(place, "text"));
    const uint first = begin(place);
    QCOMPARE(waitForEnd(first).state, uint(Finished));
    for (int count = 0; count < 102; ++count)
        QCOMPARE(waitForEnd(begin(place)).state, uint(Finished));
    QCOMPARE(scan("Progress", {first, 0U}).errorName(), QString(kErrorNotFound));
    QVERIFY(scan("Progress", {first + 102, 0U}).type() == QDBusMessage::ReplyMessage);
}

void ServiceTest::goesOnWhenTheCallerHasGone()
{
    QVERIFY(startWithStuckWorker());
    QDBusConnection other = bus_->connect("other");
    QVERIFY(ask(other, kScan, "Start", {uint(CustomScan), QByteArray("/etc/passwd")}).type() ==
            QDBusMessage::ReplyMessage);
    other = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus("other");
    QCOMPARE(QDBusReply<RunningJobs>(scan("Running")).value().size(), 1);
}

void ServiceTest::stopsAPausedJob()
{
    QVERIFY(startWithStuckWorker());
    const uint job = begin(folder_->filePath("set"));
    QCOMPARE(scan("Pause", {job}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(scan("Resume", {job}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(scan("Pause", {job}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(scan("Stop", {job}).type(), QDBusMessage::ReplyMessage);
    const ScanProgress end = waitForEnd(job);
    QCOMPARE(end.state, uint(Stopped));
    QVERIFY(!end.report.isEmpty());
    QVERIFY(reportTexts().value(0).contains("Result: Stopped by the user\n"));
    // What has ended stays as it is.
    QCOMPARE(scan("Stop", {job}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(progress(job).state, uint(Stopped));
}

void ServiceTest::closesTheReportOfAKilledScan()
{
    QVERIFY(startWithStuckWorker());
    QVERIFY(begin(folder_->filePath("set")) != 0);
    QCOMPARE(reportTexts(), QStringList());
    service_->kill();
    QVERIFY(service_->waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    QVERIFY(start(signatures_));
    const QStringList texts = reportTexts();
    QCOMPARE(texts.size(), 1);
    QVERIFY2(texts[0].contains("Result: Interrupted"), qPrintable(texts[0]));
}

void ServiceTest::leavesNoHalfReportWhereverItIsKilled()
{
    const QString place = folder_->filePath("place");
    int before = 0;
    for (const int threats : {0, 1, 5, 20, 40}) {
        QVERIFY(QDir().mkpath(place));
        for (int file = 0; file < 40; ++file)
            QVERIFY(write(place + QString("/%1").arg(file), eicar()));
        QVERIFY(start(signatures_));
        const uint job = begin(place);
        QTRY_VERIFY_WITH_TIMEOUT(progress(job).threats >= uint(threats), 60000);
        service_->kill();
        QVERIFY(service_->waitForFinished());
        QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
        QVERIFY(start(signatures_));
        const QStringList texts = reportTexts();
        QCOMPARE(texts.size(), ++before);
        const int listed = texts[0].count("    Threat: ");
        QVERIFY2(listed >= threats && listed <= 40, qPrintable(texts[0]));
        QVERIFY(texts[0].contains("Result: Interrupted") ||
                (texts[0].contains("Result: Completed") && listed == 40));
        service_.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    }
}

void ServiceTest::storesReportsWhenItIsTerminated()
{
    QVERIFY(startWithStuckWorker());
    QVERIFY(begin(folder_->filePath("set")) != 0);
    service_->terminate();
    QVERIFY(service_->waitForFinished());
    QCOMPARE(service_->exitStatus(), QProcess::NormalExit);
    QCOMPARE(service_->exitCode(), 0);
    QVERIFY(start(signatures_));
    const QStringList texts = reportTexts();
    QCOMPARE(texts.size(), 1);
    // It was not the user who stopped it; and unlike after a kill the numbers are known.
    QVERIFY2(texts[0].contains("Result: Interrupted"), qPrintable(texts[0]));
    QVERIFY2(texts[0].contains("Files: 0 (0 bytes)\n"), qPrintable(texts[0]));
}

void ServiceTest::leavesWithItsBus()
{
    QVERIFY(startWithStuckWorker());
    QVERIFY(begin(folder_->filePath("set")) != 0);
    bus_->stop();
    QVERIFY(service_->waitForFinished());
    QCOMPARE(service_->exitStatus(), QProcess::NormalExit);
    QCOMPARE(service_->exitCode(), 0);
}

void ServiceTest::refusesASecondOfItsKind()
{
    QVERIFY(start(signatures_));
    Program second;
    second.start(built("bin/talod"),
                 {"--bus", bus_->address(), "--state", folder_->filePath("other")});
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitCode(), 3);
    QVERIFY(second.readAllStandardError().contains("talod runs on this bus already"));

    // On another bus, but in the same state folder.
    const PrivateBus otherBus;
    second.start(built("bin/talod"),
                 {"--bus", otherBus.address(), "--state", folder_->filePath("state")});
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(second.readAllStandardError().contains("another talod works in"));
}

void ServiceTest::refusesOtherUsers()
{
    if (geteuid() != 0)
        QSKIP("only root can call as another user");
    QVERIFY(start(signatures_));
    const QList<QStringList> calls{
        {QString(kStatus) + ".GetStatus"},
        {QString(kScan) + ".Start", "uint32:2", "array:byte:47"},
        {QString(kScan) + ".Pause", "uint32:1"},
        {QString(kScan) + ".Resume", "uint32:1"},
        {QString(kScan) + ".Stop", "uint32:1"},
        {QString(kScan) + ".Progress", "uint32:1", "uint32:0"},
        {QString(kScan) + ".Running"},
        {QString(kNotices) + ".Listen"},
        {QString(kReports) + ".List", "string:", "string:"},
        {QString(kReports) + ".Read", "string:x"},
        {QString(kReports) + ".Delete", "string:x"},
        {QString(kReports) + ".LastFullScan"},
        {QString(kQuarantine) + ".List"},
        {QString(kQuarantine) + ".Restore", "string:x"},
        {QString(kQuarantine) + ".Purge", "string:x"},
    };
    for (const QStringList &call : calls) {
        Program other(65534);
        other.start("dbus-send", QStringList{"--bus=" + bus_->address(), "--print-reply",
                                             QString("--dest=") + kService, kObject} +
                                     call);
        QVERIFY(other.waitForFinished());
        const QByteArray said = other.readAllStandardError();
        QVERIFY2(said.contains(kErrorNotPermitted), call[0].toLatin1() + ": " + said);
    }
    QVERIFY(QDBusReply<RunningJobs>(scan("Running")).value().isEmpty());
}

void ServiceTest::explainsItsOptions_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("says");
    QTest::newRow("version") << QStringList{"--version"} << 0 << QByteArray(TALO_VERSION);
    QTest::newRow("help") << QStringList{"--help"} << 0 << QByteArray("--signatures");
    QTest::newRow("unknown") << QStringList{"--nonsense"} << 2 << QByteArray("nonsense");
    QTest::newRow("argument") << QStringList{"scan"} << 2 << QByteArray("takes no arguments");
    QTest::newRow("no session bus")
        << QStringList{"--bus", "session"} << 1 << QByteArray("there is no session bus");
    QTest::newRow("no such bus") << QStringList{"--bus", "unix:path=/no/such/bus"} << 1
                                 << QByteArray("cannot reach the bus");
}

void ServiceTest::explainsItsOptions()
{
    QFETCH(QStringList, options);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, says);
    Program program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    environment.remove("XDG_RUNTIME_DIR");
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(built("bin/talod"), options + QStringList{"--state", folder_->filePath("s")});
    QVERIFY(program.waitForFinished());
    const QByteArray said = program.readAll();
    QCOMPARE(program.exitCode(), exitCode);
    QVERIFY2(said.contains(says), said);
}

QTEST_GUILESS_MAIN(ServiceTest)
#include "servicetest.moc"
