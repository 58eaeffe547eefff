// Updates of the program on a bus: what is asked, and what the service answers.
#include "engine/service/privatebus.h"
#include "engine/update/releasemaker.h"
#include "engine/update/releaseserver.h"
#include "interface/names.h"
#include "support/soon.h"
#include "update/productmanifest.h"

#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <unistd.h>

using namespace talo::interface;
using talo::test::ReleaseServer;

class ProductUpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void tellsWhenNothingIsConfigured();
    void findsARelease();
    void productHasNoKeyOfATest();
    void refusesWhatIsNotSigned();
    void stopsAndRunsOneAtATime();
    void saysWhyAPackageIsRefused();

private:
    void start(const QString &program);
    void configure(const QString &content);
    void publish(const std::string &version);
    QVariantMap progress();
    QVariantMap await();
    QDBusMessage call(const char *method) { return ask(caller_, kProductUpdate, method); }

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    std::unique_ptr<ReleaseServer> server_;
    std::string package_ = std::string(300000, 'p');
    QDBusConnection caller_{QStringLiteral("caller")};
};

void ProductUpdateTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    bus_ = std::make_unique<PrivateBus>();
    server_ = std::make_unique<ReleaseServer>();
    QVERIFY(folder_->isValid() && !bus_->address().isEmpty());
    caller_ = bus_->connect("caller");
    configure("[ProgramUpdate]\nSource = " + QString::fromStdString(server_->address()) + "\n");
    publish("99.0.0");
}

void ProductUpdateTest::cleanup()
{
    service_.reset();
    server_.reset();
    bus_.reset();
    folder_.reset();
}

void ProductUpdateTest::configure(const QString &content)
{
    QFile file(folder_->filePath("talo.conf"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content.toUtf8());
}

void ProductUpdateTest::publish(const std::string &version)
{
    talo::test::ReleaseText release;
    release.version = version;
    release.size = package_.size();
    release.sha256 = talo::test::sha256Of(package_);
    const std::string name = std::string("release-") + talo::update::thisArchitecture() + ".json";
    ReleaseServer::File file;
    file.content = release.text();
    server_->serve(name, file);
    file.content = talo::test::signRelease(release.text());
    server_->serve(name + ".sig", file);
    file.content = package_;
    server_->serve("package.deb", file);
}

void ProductUpdateTest::start(const QString &program)
{
    service_ = std::make_unique<Program>();
    service_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service_->start(built(program),
                    {"--bus", bus_->address(), "--state", folder_->filePath("state"), "--config",
                     folder_->filePath("talo.conf")});
    QTRY_VERIFY_WITH_TIMEOUT(bus_->owned(), 10000);
}

QVariantMap ProductUpdateTest::progress()
{
    const QDBusReply<QVariantMap> reply = call("ProgramUpdateProgress");
    return reply.value();
}

QVariantMap ProductUpdateTest::await()
{
    const auto over = [this] {
        const uint state = progress().value("state").toUInt();
        return state >= ProgramAvailable;
    };
    return QTest::qWaitFor(over, 20000) ? progress() : QVariantMap();
}

void ProductUpdateTest::tellsWhenNothingIsConfigured()
{
    for (const char *content : {"", "[Mail]\nSource = https://example.org/\n",
                                "[ProgramUpdate]\n# Source = https://example.org/\n"}) {
        configure(content);
        start("tests/talod-test-key");
        QCOMPARE(progress().value("state").toUInt(), uint(ProgramIdle));
        QCOMPARE(call("UpdateProgram").type(), QDBusMessage::ReplyMessage);
        const QVariantMap end = await();
        QCOMPARE(end.value("state").toUInt(), uint(ProgramNoSource));
        QCOMPARE(end.value("problem").toString(), QString("no update source is configured"));
        service_.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    }
    QVERIFY(QFile::remove(folder_->filePath("talo.conf")));
    start("tests/talod-test-key");
    call("CheckProgram");
    QCOMPARE(await().value("state").toUInt(), uint(ProgramNoSource));
}

void ProductUpdateTest::findsARelease()
{
    start("tests/talod-test-key");
    QCOMPARE(call("CheckProgram").type(), QDBusMessage::ReplyMessage);
    const QVariantMap found = await();
    QCOMPARE(found.value("state").toUInt(), uint(ProgramAvailable));
    QCOMPARE(found.value("version").toString(), QString("99.0.0"));
    QCOMPARE(found.value("date").toString(), QString("2026-11-21"));
    QCOMPARE(found.value("notes").toString(), QString("Better."));
    QCOMPARE(found.value("total").toULongLong(), qulonglong(package_.size()));
    publish("0.0.1");
    call("CheckProgram");
    QCOMPARE(await().value("state").toUInt(), uint(ProgramLatest));
}

void ProductUpdateTest::productHasNoKeyOfATest()
{
    start("bin/talod");
    call("CheckProgram");
    const QVariantMap end = await();
    QCOMPARE(end.value("state").toUInt(), uint(ProgramFailed));
    QVERIFY2(end.value("problem").toString().contains("key") ||
                 end.value("problem").toString().contains("signature"),
             qPrintable(end.value("problem").toString()));
}

void ProductUpdateTest::refusesWhatIsNotSigned()
{
    const std::string name = std::string("release-") + talo::update::thisArchitecture() + ".json";
    ReleaseServer::File file;
    file.content = std::string(64, 'x');
    server_->serve(name + ".sig", file);
    start("tests/talod-test-key");
    call("UpdateProgram");
    const QVariantMap end = await();
    QCOMPARE(end.value("state").toUInt(), uint(ProgramFailed));
    QVERIFY(end.value("problem").toString().contains("signature"));
}

void ProductUpdateTest::stopsAndRunsOneAtATime()
{
    if (geteuid() != 0)
        QSKIP("needs root: only root's service downloads packages");
    ReleaseServer::File file;
    file.content = package_;
    file.holdAfter = 100000;
    server_->serve("package.deb", file);
    start("tests/talod-test-key");
    const QDBusReply<bool> none = call("StopProgramUpdate");
    QVERIFY(none.isValid() && !none.value());
    call("UpdateProgram");
    QTRY_COMPARE_WITH_TIMEOUT(progress().value("state").toUInt(), uint(ProgramDownloading), kSoon);
    QCOMPARE(call("UpdateProgram").errorName(), QString(kErrorRunning));
    QCOMPARE(call("CheckProgram").errorName(), QString(kErrorRunning));
    QTRY_VERIFY_WITH_TIMEOUT(progress().value("received").toULongLong() > 0, kSoon);
    const QDBusReply<bool> stopped = call("StopProgramUpdate");
    QVERIFY(stopped.isValid() && stopped.value());
    QCOMPARE(await().value("state").toUInt(), uint(ProgramStopped));
}

void ProductUpdateTest::saysWhyAPackageIsRefused()
{
    if (geteuid() != 0)
        QSKIP("needs root: only root's service downloads packages");
    ReleaseServer::File file;
    file.content = package_;
    file.content[1234] = 'q';
    server_->serve("package.deb", file);
    start("tests/talod-test-key");
    call("UpdateProgram");
    const QVariantMap end = await();
    QCOMPARE(end.value("state").toUInt(), uint(ProgramFailed));
    QVERIFY(end.value("problem").toString().contains("SHA-256"));
}

QTEST_GUILESS_MAIN(ProductUpdateTest)
#include "productupdatetest.moc"
