// talod and drives on USB: real file systems on loop devices, which made-up devices of umockdev
// present as sticks. Everything happens among mounts of the test's own.
#include "engine/guard/usbtree.h"
#include "engine/service/manyfiles.h"
#include "engine/service/privatebus.h"
#include "engine/service/quickpassword.h"
#include "interface/names.h"
#include "interface/types.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace talo::interface;
using talo::test::kHid;
using talo::test::kStorage;
using talo::test::UsbTree;

namespace
{

const QString kType = "External Drive Scan";

// The standard test file of the anti-malware industry, put together here so that no scanner takes
// this source for it.
QByteArray eicar()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

// Without what shows made-up devices to the tests.
QString run(const QString &command)
{
    QProcess shell;
    shell.start("env", {"-u", "LD_PRELOAD", "sh", "-c", command});
    shell.waitForFinished();
    return shell.exitCode() == 0 ? QString::fromLocal8Bit(shell.readAllStandardOutput()).trimmed()
                                 : "failed: " + shell.readAllStandardError();
}

// Its own network, since the service guards it, and its own /etc, so that what the service keeps
// there is gone with the test.
bool ownMounts(const QString &folder)
{
    return unshare(CLONE_NEWNS | CLONE_NEWNET) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           run(QString("mount -t tmpfs none %1 && mkdir %1/upper %1/work && mount -t overlay none "
                       "-o lowerdir=/etc,upperdir=%1/upper,workdir=%1/work /etc")
                   .arg(folder))
               .isEmpty();
}

} // namespace

class DriveTest : public QObject
{
    Q_OBJECT

public slots:
    void ended(const QString &type, uint state, const QString &scanned, qulonglong files,
               qulonglong threats, const QString &report)
    {
        endings_.append({type, state, scanned, files, threats, report});
    }
    void overheard() { ++overheard_; }

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void scansADriveThatArrives();
    void scansNothingWhileSetOff();
    void scansNoDriveThatStays();
    void endsWithADriveThatIsPulledOut_data();
    void endsWithADriveThatIsPulledOut();
    void blocksADriveThatIsBeingScanned();
    void blocksWhatIsPluggedInAndTakesItBack();

private:
    struct Ending {
        QString type;
        uint state;
        QString scanned;
        qulonglong files;
        qulonglong threats;
        QString report;
    };
    void start();
    void plugIn(); // a stick with one drive
    void mountDrive();
    void beginLongScan(); // of the drive, which arrives; it is paused
    QString report(const QString &key);
    QVariant status(const char *key);
    void apply(const char *group, const char *key, int value);

    QTemporaryDir etc_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<UsbTree> tree_;
    std::unique_ptr<Program> service_;
    QDBusConnection caller_{QStringLiteral("caller")};
    QDBusConnection stranger_{QStringLiteral("stranger")}; // has not asked to be told
    int overheard_ = 0;
    QString loop_;
    QString place_;
    QString stick_;
    QString disk_;
    QList<Ending> endings_;
};

void DriveTest::initTestCase()
{
    if (geteuid() != 0)
        QSKIP("only root may mount");
    if (!ownMounts(etc_.path()))
        QSKIP("this kernel has no overlay file system");
    registerTypes();
}

void DriveTest::cleanupTestCase()
{
    run("umount -l /etc " + etc_.path()); // else the folder could not be removed
}

void DriveTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    QVERIFY(folder_->isValid());
    // The workers read the signatures as another user.
    QVERIFY(QFile::setPermissions(folder_->path(), QFile::Permissions(0x7755)));
    QVERIFY(QDir(folder_->path()).mkpath("set"));
    QFile set(folder_->filePath("set/test.ndb"));
    QVERIFY(set.open(QIODevice::WriteOnly));
    set.write("Talo.Test.Eicar:0:0:" + eicar().toHex() + "\n");
    set.close();
    tree_ = std::make_unique<UsbTree>();
    QVERIFY(umockdev_in_mock_environment());
    place_ = folder_->filePath("drive");
    QVERIFY(QDir().mkpath(place_));
    const QString image = folder_->filePath("image");
    QCOMPARE(run("truncate -s 16M " + image + " && mkfs.ext4 -q -N 8000 " + image), QString());
    loop_ = run("losetup --find --show " + image);
    QVERIFY2(loop_.startsWith("/dev/loop"), qPrintable(loop_));
    QCOMPARE(run("mount " + loop_ + ' ' + place_), QString());
    for (const QString &name : {QString("bad"), QString("good")}) {
        QFile file(place_ + '/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(name == "bad" ? eicar() : QByteArray("harmless"));
    }
    QCOMPARE(run("umount " + place_), QString());
    bus_ = std::make_unique<PrivateBus>();
    caller_ = bus_->connect("caller");
    QVERIFY(caller_.connect(kService, kObject, kNotices, "ScanEnded", this,
                            SLOT(ended(QString, uint, QString, qulonglong, qulonglong, QString))));
    stranger_ = bus_->connect("stranger");
    for (const char *signal : {"ThreatFound", "ScanEnded"})
        QVERIFY(stranger_.connect(kService, kObject, kNotices, signal, this, SLOT(overheard())));
    overheard_ = 0;
    QVERIFY(storeQuickly(folder_->filePath("state"), "secret"));
    start();
}

void DriveTest::cleanup()
{
    service_.reset();
    bus_.reset();
    run("umount -l " + place_);
    run("losetup --detach " + loop_);
    tree_.reset();
    folder_.reset();
    endings_.clear();
}

void DriveTest::start()
{
    service_ = startService(*bus_, folder_->filePath("state"),
                            {"--guard", "--signatures", folder_->filePath("set")});
    QVERIFY(service_ != nullptr);
    QVERIFY(QDBusReply<bool>(ask(caller_, kPassword, "Validate", {QByteArray("secret")})).value());
    QCOMPARE(ask(caller_, kNotices, "Listen").type(), QDBusMessage::ReplyMessage);
}

void DriveTest::plugIn()
{
    const std::string device = tree_->addDevice("1-1", "Stick");
    const std::string interface = tree_->addInterface("1-1:1.0", device, kStorage);
    stick_ = QString::fromStdString(interface);
    const std::string name = loop_.mid(5).toStdString();
    disk_ = QString::fromStdString(
        tree_->addDisk(interface, name, "7:" + name.substr(4), "259:" + name.substr(4)));
}

void DriveTest::mountDrive()
{
    QCOMPARE(run("mount " + loop_ + ' ' + place_), QString());
}

void DriveTest::beginLongScan()
{
    mountDrive(); // it has not arrived yet
    writeManyFiles(place_);
    QCOMPARE(run("umount " + place_), QString());
    plugIn();
    mountDrive();
    RunningJobs jobs;
    const auto begun = [&] {
        jobs = QDBusReply<RunningJobs>(ask(caller_, kScan, "Running")).value();
        return !jobs.isEmpty();
    };
    QTRY_VERIFY_WITH_TIMEOUT(begun(), kSoon);
    QCOMPARE(ask(caller_, kScan, "Pause", {jobs.first().job}).type(), QDBusMessage::ReplyMessage);
}

QString DriveTest::report(const QString &key)
{
    return ask(caller_, kReports, "Read", {key}).arguments().value(3).toString();
}

QVariant DriveTest::status(const char *key)
{
    return QDBusReply<QVariantMap>(ask(caller_, kStatus, "GetStatus")).value().value(key);
}

void DriveTest::apply(const char *group, const char *key, int value)
{
    const QDBusMessage reply =
        ask(caller_, kSettings, "Apply", {group, QVariant::fromValue(SettingMap{{key, value}})});
    QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(reply.errorMessage()));
}

void DriveTest::scansADriveThatArrives()
{
    QVERIFY(status("driveScan").toBool());
    plugIn();
    mountDrive();
    QTRY_COMPARE_WITH_TIMEOUT(endings_.size(), 1, 30000);
    const Ending end = endings_.first();
    QCOMPARE(end.type, kType);
    QCOMPARE(end.state, uint{Finished});
    QCOMPARE(end.scanned, place_);
    QVERIFY2(end.threats == 1, qPrintable(report(end.report)));
    QCOMPARE(end.files, qulonglong{2});
    QVERIFY(report(end.report).contains("Talo.Test.Eicar"));
    // What comes after it on that connection is there, so a notice would be too.
    QCOMPARE(ask(stranger_, kStatus, "GetStatus").type(), QDBusMessage::ReplyMessage);
    QCoreApplication::processEvents();
    QCOMPARE(overheard_, 0);
    // Once for a drive, however often it is mounted; again when it comes again.
    QVERIFY(QDir().mkpath(folder_->filePath("again")));
    QCOMPARE(run("mount --bind " + place_ + ' ' + folder_->filePath("again")), QString());
    QCOMPARE(run("umount " + folder_->filePath("again")), QString());
    QCOMPARE(run("umount " + place_), QString());
    mountDrive();
    QTRY_COMPARE_WITH_TIMEOUT(endings_.size(), 2, 30000);
    QCOMPARE(endings_.last().threats, qulonglong{0});
}

void DriveTest::scansNothingWhileSetOff()
{
    // No word follows this change, and none is needed.
    apply("ExternalDrive", "ScanOnArrival", 0);
    QVERIFY(!status("driveScan").toBool());
    plugIn();
    mountDrive();
    QCOMPARE(run("umount " + place_), QString());
    apply("ExternalDrive", "ScanOnArrival", 1);
    mountDrive();
    QTRY_COMPARE_WITH_TIMEOUT(endings_.size(), 1, 30000);
    QVERIFY2(endings_.first().threats == 1, qPrintable(report(endings_.first().report)));
    QCOMPARE(QDBusReply<int>(ask(caller_, kReports, "List", {"", ""})).value(), 0);
    QCOMPARE(
        qdbus_cast<ReportList>(ask(caller_, kReports, "List", {"", ""}).arguments().at(1)).size(),
        1);
}

void DriveTest::scansNoDriveThatStays()
{
    mountDrive(); // of a loop device that nobody presents as a stick
    QCOMPARE(run("umount " + place_), QString());
    plugIn();
    mountDrive();
    QTRY_COMPARE_WITH_TIMEOUT(endings_.size(), 1, 30000);
    QVERIFY2(endings_.first().threats == 1, qPrintable(report(endings_.first().report)));
}

void DriveTest::endsWithADriveThatIsPulledOut_data()
{
    QTest::addColumn<bool>("unmounted");
    QTest::newRow("and unmounted by the desktop") << true;
    QTest::newRow("and stays mounted") << false;
}

void DriveTest::endsWithADriveThatIsPulledOut()
{
    QFETCH(bool, unmounted);
    beginLongScan();
    if (unmounted)
        QCOMPARE(run("umount -l " + place_), QString());
    else
        tree_->remove(disk_.toStdString());
    QTRY_COMPARE_WITH_TIMEOUT(endings_.size(), 1, 30000);
    QCOMPARE(endings_.first().state, uint{Interrupted});
    QVERIFY2(report(endings_.first().report).contains("nterrupted"),
             qPrintable(report(endings_.first().report)));
    QVERIFY(QDBusReply<RunningJobs>(ask(caller_, kScan, "Running")).value().isEmpty());
}

void DriveTest::blocksADriveThatIsBeingScanned()
{
    beginLongScan();
    apply("DeviceControl", "Blocked", 1);
    QTRY_COMPARE_WITH_TIMEOUT(endings_.size(), 1, 30000);
    QCOMPARE(endings_.first().state, uint{Interrupted});
    QTRY_COMPARE_WITH_TIMEOUT(
        QString::fromStdString(tree_->value(stick_.toStdString(), "authorized")), QString("0"),
        20000);
    QVERIFY(!QFile::exists(place_ + "/good"));
}

void DriveTest::blocksWhatIsPluggedInAndTakesItBack()
{
    const auto authorized = [this](const std::string &interface) {
        return QString::fromStdString(tree_->value(interface, "authorized"));
    };
    const std::string keyboard =
        tree_->addInterface("1-2:1.0", tree_->addDevice("1-2", "Keyboard"), kHid);
    plugIn();
    apply("DeviceControl", "Blocked", 1);
    QTRY_COMPARE_WITH_TIMEOUT(authorized(stick_.toStdString()), QString("0"), kSoon);
    QVERIFY(QFile::exists("/etc/taloantivirus/usb-storage-blocked"));
    QVERIFY(status("usbFlag").toBool());
    QCOMPARE(status("usbBlocked").toUInt(), 1U);
    // What comes later, where there is no rule.
    const std::string second = tree_->addStick("1-3");
    tree_->announce(second, "add");
    QTRY_COMPARE_WITH_TIMEOUT(authorized(second), QString("0"), kSoon);
    // The service may restart, and finds what came in between.
    service_.reset();
    QVERIFY(QFile::exists("/etc/taloantivirus/usb-storage-blocked"));
    const std::string third = tree_->addStick("1-4");
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    start();
    QTRY_COMPARE_WITH_TIMEOUT(authorized(third), QString("0"), kSoon);
    QCOMPARE(authorized(keyboard), QString("1"));

    apply("DeviceControl", "Blocked", 0);
    for (const std::string &each : {stick_.toStdString(), second, third})
        QTRY_COMPARE_WITH_TIMEOUT(authorized(each), QString("1"), kSoon);
    QTRY_VERIFY_WITH_TIMEOUT(QDir("/etc/taloantivirus").isEmpty(), kSoon);
    QCOMPARE(status("usbOpen").toUInt(), 3U);
}

QTEST_GUILESS_MAIN(DriveTest)
#include "drivetest.moc"
