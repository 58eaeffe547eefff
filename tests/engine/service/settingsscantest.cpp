// Scans of real files go by the settings, and the settings outlive every kill.
#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "store/database.h"
#include "store/statement.h"
#include "support/soon.h"

#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <random>

using namespace talo::interface;

namespace
{

// The standard test file of the anti-malware industry, put together here so that no scanner takes
// this source for it.
QByteArray eicar()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

const QByteArray kUnwanted = "a program that nobody asked for";

void write(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

} // namespace

class SettingsScanTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void looksIntoArchivesAsSet();
    void unpacksProgramsAsSet();
    void actsByClassAsSet();
    void takesInfectedPartsOut();
    void leavesOutWhatIsExcluded();
    void leavesOutWhatIsExcludedWhereverItBegins();
    void holdsAnOldOrANewStateWhereverItIsKilled();

private:
    void start();
    QDBusMessage call(const char *interface, const char *method, const QVariantList &arguments);
    bool apply(const char *group, const SettingMap &values);
    int exclude(const QString &text, int kind);
    ScanProgress scan(const QString &path);
    QString report(const ScanProgress &end);
    bool killAndCheck();
    QString state();

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    QDBusConnection caller_{QStringLiteral("caller")};
    QString place_;
};

void SettingsScanTest::initTestCase()
{
    registerTypes();
}

void SettingsScanTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(folder_->isValid() && !bus_->address().isEmpty());
    // The workers read the set as another user.
    QVERIFY(QFile::setPermissions(folder_->path(), QFile::Permissions(0x7755)));
    place_ = folder_->filePath("place");
    write(folder_->filePath("set/test.ndb"), "Talo.Test.Eicar:0:0:" + eicar().toHex() +
                                                 "\nPUA.Talo.Test:0:0:" + kUnwanted.toHex() + "\n");
    // A program of the test files, by its size and MD5.
    write(folder_->filePath("set/test.hdb"),
          "aa15bcf478d165efd2065190eb473bcb:544:Talo.Test.Program\n");
    caller_ = bus_->connect("caller");
    start();
}

void SettingsScanTest::cleanup()
{
    service_.reset();
    bus_.reset();
    folder_.reset();
}

void SettingsScanTest::start()
{
    service_ =
        startService(*bus_, folder_->filePath("state"), {"--signatures", folder_->filePath("set")});
    QVERIFY(service_ != nullptr);
}

QDBusMessage SettingsScanTest::call(const char *interface, const char *method,
                                    const QVariantList &arguments)
{
    return ask(caller_, interface, method, arguments);
}

bool SettingsScanTest::apply(const char *group, const SettingMap &values)
{
    return call(kSettings, "Apply", {QString(group), QVariant::fromValue(values)}).type() ==
           QDBusMessage::ReplyMessage;
}

int SettingsScanTest::exclude(const QString &text, int kind)
{
    const QDBusReply<int> code = call(kExclusions, "Add", {text.toUtf8(), kind});
    return code.isValid() ? code.value() : -1;
}

ScanProgress SettingsScanTest::scan(const QString &path)
{
    const QDBusReply<uint> job = call(kScan, "Start", {uint(CustomScan), QFile::encodeName(path)});
    const auto progress = [&] {
        return QDBusReply<ScanProgress>(call(kScan, "Progress", {job.value(), 0U})).value();
    };
    const bool ended =
        job.isValid() && QTest::qWaitFor([&] { return progress().state >= uint(Finished); }, 60000);
    return ended ? progress() : ScanProgress();
}

QString SettingsScanTest::report(const ScanProgress &end)
{
    return call(kReports, "Read", {end.report}).arguments().value(3).toString();
}

void SettingsScanTest::looksIntoArchivesAsSet()
{
    const QString archive = "/usr/share/clamav-testfiles/clam.zip";
    if (!QFile::exists(archive))
        QSKIP("clamav-testfiles is not installed");
    QVERIFY(apply("ScanActions", {{"InfectedFirst", 304}}));
    QCOMPARE(scan(archive).threats, 1U);
    QVERIFY(apply("General", {{"ScanArchives", 0}}));
    ScanProgress end = scan(archive);
    QCOMPARE(end.threats, 0U);
    QCOMPARE(end.filesDone, 1ULL);
    QVERIFY(apply("General", {{"ScanArchives", 1}, {"ScanPacked", 0}}));
    QCOMPARE(scan(archive).threats, 1U);
}

void SettingsScanTest::unpacksProgramsAsSet()
{
    const QString program = "/usr/share/clamav-testfiles/clam-upx.exe";
    if (!QFile::exists(program))
        QSKIP("clamav-testfiles is not installed");
    QVERIFY(apply("ScanActions", {{"InfectedFirst", 304}}));
    QCOMPARE(scan(program).threats, 1U);
    QVERIFY(apply("General", {{"ScanPacked", 0}}));
    QCOMPARE(scan(program).threats, 0U);
    QVERIFY(apply("General", {{"ScanPacked", 1}, {"ScanArchives", 0}}));
    QCOMPARE(scan(program).threats, 1U);
}

void SettingsScanTest::actsByClassAsSet()
{
    const QStringList files{place_ + "/infected", place_ + "/suspected", place_ + "/.hidden/file"};
    const auto left = [&] {
        QStringList names;
        for (const QString &file : files)
            if (QFile::exists(file))
                names += QFileInfo(file).fileName();
        return names;
    };
    const auto scanWith = [&](int infected, int suspected, int hidden) {
        write(files[0], eicar());
        write(files[1], kUnwanted);
        write(files[2], eicar());
        const int second = 304;
        return apply("ScanActions", {{"InfectedFirst", infected},
                                     {"InfectedSecond", second},
                                     {"SuspectedFirst", suspected},
                                     {"SuspectedSecond", second},
                                     {"HiddenFirst", hidden},
                                     {"HiddenSecond", second}}) &&
               scan(place_).threats == 3;
    };
    QVERIFY(scanWith(304, 304, 304));
    QCOMPARE(left(), (QStringList{"infected", "suspected", "file"}));
    QVERIFY(scanWith(303, 304, 304));
    QCOMPARE(left(), (QStringList{"suspected", "file"}));
    QVERIFY(scanWith(304, 302, 304));
    QCOMPARE(left(), (QStringList{"infected", "file"}));
    QVERIFY(scanWith(304, 304, 303));
    QCOMPARE(left(), (QStringList{"infected", "suspected"}));
    // The second action follows where a file like this cannot be disinfected.
    QVERIFY(scanWith(301, 301, 301));
    QCOMPARE(left(), (QStringList{"infected", "suspected", "file"}));
    QVERIFY(apply("ScanActions", {{"InfectedSecond", 303}}));
    QCOMPARE(scan(place_).threats, 3U);
    QCOMPARE(left(), (QStringList{"suspected", "file"}));
}

void SettingsScanTest::takesInfectedPartsOut()
{
    write(place_ + "/clean", "clean");
    write(place_ + "/evil", eicar());
    QProcess zip;
    zip.setWorkingDirectory(place_);
    zip.start("zip", {"-q", "-m", "mixed.zip", "clean", "evil"});
    QVERIFY(zip.waitForFinished() && zip.exitCode() == 0);
    QVERIFY(apply("ScanActions", {{"InfectedFirst", 301}, {"InfectedSecond", 303}}));
    const ScanProgress end = scan(place_);
    QCOMPARE(end.threats, 1U);
    const QString text = report(end);
    QVERIFY2(text.contains("disinfected: 1 part removed, the original is in quarantine ("),
             qPrintable(text));
    zip.start("python3", {"-m", "zipfile", "-e", "mixed.zip", "."});
    QVERIFY(zip.waitForFinished() && zip.exitCode() == 0);
    QVERIFY(QFile::exists(place_ + "/clean") && !QFile::exists(place_ + "/evil"));
    QCOMPARE(scan(place_).threats, 0U);
}

void SettingsScanTest::leavesOutWhatIsExcluded()
{
    const QStringList spared{place_ + "/out/deep/1", place_ + "/out/2", place_ + "/one.ISO",
                             place_ + "/this one"};
    const QStringList scanned{place_ + "/in/1", place_ + "/one.iso.txt", place_ + "/outside"};
    for (const QString &file : spared + scanned)
        write(file, eicar());
    QCOMPARE(exclude(place_ + "/out/", 401), 0);
    QCOMPARE(exclude(place_ + "/this one", 401), 0);
    QCOMPARE(exclude("iso", 402), 0);
    const ScanProgress end = scan(place_);
    QCOMPARE(end.state, uint(Finished));
    QCOMPARE(end.threats, uint(scanned.size()));
    // One folder and two files, not what lies in the folder.
    QCOMPARE(end.skipped, 3U);
    QCOMPARE(end.filesTotal, end.filesDone);
    for (const QString &file : spared)
        QVERIFY2(QFile::exists(file), qPrintable(file));
    for (const QString &file : scanned)
        QVERIFY2(!QFile::exists(file), qPrintable(file));
    const QString text = report(end);
    const QString reason = "\nexcluded by the settings:\n    ";
    QVERIFY2(text.contains("Not scanned (3)" + reason), qPrintable(text));
    for (const char *place : {"/out", "/one.ISO", "/this one"})
        QVERIFY2(text.contains("    " + place_ + place + "\n"), qPrintable(text));

    QCOMPARE(call(kExclusions, "Remove", {(place_ + "/out/").toUtf8(), 401})
                 .arguments()
                 .value(0)
                 .toInt(),
             0);
    QCOMPARE(scan(place_).threats, 2U);
}

void SettingsScanTest::leavesOutWhatIsExcludedWhereverItBegins()
{
    write(place_ + "/out/deep/1", eicar());
    QCOMPARE(exclude(place_ + "/out", 401), 0);
    for (const char *root : {"/out", "/out/deep", "/out/deep/1"}) {
        const ScanProgress end = scan(place_ + root);
        QCOMPARE(end.state, uint(Finished));
        QCOMPARE(end.threats, 0U);
        QCOMPARE(end.skipped, 1U);
        QVERIFY(report(end).contains("excluded by the settings:\n    " + place_ + root + "\n"));
    }
    QVERIFY(QFile::exists(place_ + "/out/deep/1"));
}

// Kills the service and looks at what it left with nobody else's help.
bool SettingsScanTest::killAndCheck()
{
    service_->kill();
    if (!service_->waitForFinished())
        return false;
    service_.reset();
    const std::string folder = folder_->filePath("state").toStdString();
    std::string failure;
    const auto database = talo::store::Database::open(folder, failure);
    if (!database || !database->notice().empty())
        return false;
    talo::store::Statement check(*database, "PRAGMA integrity_check");
    return check.step() == talo::store::Statement::Step::Row && check.text(0) == "ok";
}

QString SettingsScanTest::state()
{
    const auto text = call(kSettings, "Export", {}).arguments().value(0).toByteArray();
    return QString::fromUtf8(text.mid(text.indexOf("[ScanActions]")));
}

void SettingsScanTest::holdsAnOldOrANewStateWhereverItIsKilled()
{
    constexpr int kEdits = 1000;
    constexpr int kRound = 10;
    std::mt19937 random(20261121);
    // The edits, and what the store holds after each as one text.
    std::vector<int> actions{301, 303, 304, 304, 301, 303};
    QStringList excluded;
    const auto expected = [&] {
        const char *const keys[] = {"InfectedFirst",   "InfectedSecond", "SuspectedFirst",
                                    "SuspectedSecond", "HiddenFirst",    "HiddenSecond"};
        QString text = "[ScanActions]\n";
        for (std::size_t key = 0; key < actions.size(); ++key)
            text += QString("%1=%2\n").arg(keys[key]).arg(actions[key]);
        text += "\n[ExternalDrive]\nScanOnArrival=1\n\n[Firewall]\nOn=0\n\n[Update]\nAutomatic=1\n"
                "Frequency=2\n\n[Exclusions]\n";
        int number = 0;
        for (const QString &place : excluded)
            text += QString("Location%1=%2\n").arg(++number).arg(place);
        return text + "\n[Schedules]\n";
    };
    const auto edit = [&](int number) {
        if (number % 3 == 0) {
            const int first = number % 2 == 0 ? 303 : 304;
            actions = {first, 304, first, 304, first, 304};
            const SettingMap values{{"InfectedFirst", first},  {"InfectedSecond", 304},
                                    {"SuspectedFirst", first}, {"SuspectedSecond", 304},
                                    {"HiddenFirst", first},    {"HiddenSecond", 304}};
            return std::pair{QDBusMessage::createMethodCall(kService, kObject, kSettings, "Apply"),
                             QVariantList{QString("ScanActions"), QVariant::fromValue(values)}};
        }
        const bool add = excluded.isEmpty() || number % 3 == 1;
        const QString path = add ? place_ + QString("/%1").arg(number) : excluded.first();
        if (add)
            excluded.append(path);
        else
            excluded.removeFirst();
        return std::pair{
            QDBusMessage::createMethodCall(kService, kObject, kExclusions, add ? "Add" : "Remove"),
            QVariantList{path.toUtf8(), 401}};
    };

    QCOMPARE(state(), expected());
    for (int number = 1; number <= kEdits;) {
        std::vector<std::pair<std::vector<int>, QStringList>> models{{actions, excluded}};
        QStringList states{expected()};
        std::vector<QDBusPendingCall> answers;
        for (int sent = 0; sent < kRound; ++sent, ++number) {
            auto [message, arguments] = edit(number);
            message.setArguments(arguments);
            answers.push_back(caller_.asyncCall(message));
            models.emplace_back(actions, excluded);
            states += expected();
        }
        // Somewhere between two answers.
        const std::size_t known = random() % kRound;
        answers[known].waitForFinished();
        const qint64 moment = random() % 2000;
        QElapsedTimer timer;
        for (timer.start(); timer.nsecsElapsed() < moment * 1000;) {
        }
        QVERIFY(killAndCheck());
        QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
        start();
        const int now = states.indexOf(state(), static_cast<int>(known) + 1);
        QVERIFY2(now > int(known), qPrintable(state()));
        // From there on, whatever was lost.
        std::tie(actions, excluded) = models[static_cast<std::size_t>(now)];
    }

    excluded.append(place_ + "/excluded");
    QCOMPARE(exclude(excluded.last(), 401), 0);
    for (const char *name : {"/file", "/excluded/file"})
        write(place_ + name, eicar());
    QCOMPARE(scan(place_).threats, 1U);
    QCOMPARE(QFile::exists(place_ + "/file"), actions[0] == 304);
    QVERIFY(QFile::exists(place_ + "/excluded/file"));
}

QTEST_GUILESS_MAIN(SettingsScanTest)
#include "settingsscantest.moc"
