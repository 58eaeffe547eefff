// A forgotten password: the new one comes by mail, from a real mail server on loopback, and the old
// one stays valid until that server has the message.
#include "engine/service/privatebus.h"
#include "engine/service/quickpassword.h"
#include "interface/names.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace talo::interface;

class PasswordResetTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void mailsANewPassword();
    void keepsTheOldOneWhereNoMailGoesOut_data();
    void keepsTheOldOneWhereNoMailGoesOut();
    void keepsTheOldOneWhereNobodyListens();
    void neverMailsInTheClearToOthers();
    void needsAConfiguration();
    void needsAPassword();
    void isGivenUpWhenTheServiceEnds();

private:
    void configure(const QByteArray &content);
    void configureFor(const QByteArray &recipient);
    int reset();
    bool validate(const QByteArray &password);
    QByteArray mailed() const;

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> mailServer_;
    std::unique_ptr<Program> service_;
    QByteArray port_;
    QDBusConnection caller_{QStringLiteral("caller")};
};

void PasswordResetTest::initTestCase()
{
    Program python;
    python.start("/usr/bin/python3", {"-c", "import aiosmtpd"});
    if (!python.waitForFinished() || python.exitCode() != 0)
        QSKIP("needs the package python3-aiosmtpd");
}

void PasswordResetTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(folder_->path()).mkdir("mails"));
    mailServer_ = std::make_unique<Program>();
    mailServer_->start("/usr/bin/python3", {QStringLiteral(TALO_TEST_SOURCES "/mailserver.py"),
                                            folder_->filePath("mails")});
    QVERIFY(mailServer_->waitForReadyRead(20000));
    port_ = mailServer_->readLine().trimmed();
    bus_ = std::make_unique<PrivateBus>();
    caller_ = bus_->connect("caller");
    QVERIFY(storeQuickly(folder_->filePath("state"), "secret"));
    service_ = startService(*bus_, folder_->filePath("state"),
                            {"--config", folder_->filePath("talo.conf")});
    QVERIFY(service_ != nullptr);
}

void PasswordResetTest::cleanup()
{
    service_.reset();
    bus_.reset();
    mailServer_.reset();
    folder_.reset();
}

void PasswordResetTest::configure(const QByteArray &content)
{
    QFile file(folder_->filePath("talo.conf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

void PasswordResetTest::configureFor(const QByteArray &recipient)
{
    configure("# ours\n[Mail]\nServer = smtp://127.0.0.1:" + port_ +
              "\nFrom=talo@example.org\nTo = " + recipient + "@example.org\n");
}

int PasswordResetTest::reset()
{
    const QDBusReply<int> reply = ask(caller_, kPassword, "Reset");
    return reply.isValid() ? reply.value() : 0;
}

bool PasswordResetTest::validate(const QByteArray &password)
{
    return QDBusReply<bool>(ask(caller_, kPassword, "Validate", {password})).value();
}

QByteArray PasswordResetTest::mailed() const
{
    QFile file(folder_->filePath("mails/1.eml"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void PasswordResetTest::mailsANewPassword()
{
    configureFor("owner");
    QVERIFY(validate("secret"));
    QCOMPARE(ask(caller_, kPassword, "SetProtection", {true}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(reset(), 4097);
    const QString mail = QString::fromUtf8(mailed());
    QVERIFY2(mail.contains("\r\nFrom: TALO Antivirus <talo@example.org>\r\n"), qPrintable(mail));
    QVERIFY2(mail.contains("\r\nTo: <owner@example.org>\r\n"), qPrintable(mail));
    const auto found = QRegularExpression("\r\n    ([A-Za-z2-9]{12})\r\n").match(mail);
    QVERIFY2(found.hasMatch(), qPrintable(mail));
    // The connection had given the old password.
    QCOMPARE(ask(caller_, kPassword, "SetProtection", {false}).errorName(),
             QString(kErrorPasswordNeeded));
    QVERIFY(!validate("secret"));
    QVERIFY(validate(found.captured(1).toLatin1()));
    // Nobody is to flood the owner.
    QCOMPARE(ask(caller_, kPassword, "Reset").errorName(), QString(kErrorLimit));
    QVERIFY(!QFile::exists(folder_->filePath("mails/2.eml")));
}

void PasswordResetTest::keepsTheOldOneWhereNoMailGoesOut_data()
{
    QTest::addColumn<QByteArray>("recipient");
    QTest::addColumn<int>("code");
    QTest::newRow("recipient refused") << QByteArray("refused") << 2;
    QTest::newRow("message refused at its end") << QByteArray("refuseddata") << 2;
    QTest::newRow("connection cut in the middle") << QByteArray("cut") << -1;
}

void PasswordResetTest::keepsTheOldOneWhereNoMailGoesOut()
{
    QFETCH(QByteArray, recipient);
    QFETCH(int, code);
    configureFor(recipient);
    QCOMPARE(reset(), code);
    QVERIFY(validate("secret"));
    QCOMPARE(mailed(), QByteArray());
    // It can be tried again at once.
    configureFor("owner");
    QCOMPARE(reset(), 4097);
    QVERIFY(!validate("secret"));
}

void PasswordResetTest::keepsTheOldOneWhereNobodyListens()
{
    configureFor("owner");
    mailServer_->kill();
    QVERIFY(mailServer_->waitForFinished());
    QCOMPARE(reset(), 101);
    QVERIFY(validate("secret"));
}

void PasswordResetTest::neverMailsInTheClearToOthers()
{
    // An address that the service cannot know for this machine's own.
    mailServer_->kill();
    QVERIFY(mailServer_->waitForFinished());
    mailServer_ = std::make_unique<Program>();
    mailServer_->start("/usr/bin/python3", {QStringLiteral(TALO_TEST_SOURCES "/mailserver.py"),
                                            folder_->filePath("mails"), "127.0.0.2"});
    QVERIFY(mailServer_->waitForReadyRead(20000));
    configure("[Mail]\nServer = smtp://127.0.0.2:" + mailServer_->readLine().trimmed() +
              "\nFrom=talo@example.org\nTo=owner@example.org\n");
    QCOMPARE(reset(), -1);
    QCOMPARE(mailed(), QByteArray());
    QVERIFY(validate("secret"));
}

void PasswordResetTest::needsAConfiguration()
{
    QCOMPARE(reset(), 1);
    configureFor("owner");
    QCOMPARE(chmod(QFile::encodeName(folder_->filePath("talo.conf")).constData(), 0666), 0);
    QCOMPARE(reset(), 1);
    QCOMPARE(mailed(), QByteArray());
    QVERIFY(validate("secret"));
}

void PasswordResetTest::needsAPassword()
{
    service_.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    service_ =
        startService(*bus_, folder_->filePath("new"), {"--config", folder_->filePath("talo.conf")});
    QVERIFY(service_ != nullptr);
    configureFor("owner");
    QCOMPARE(reset(), 1);
    QCOMPARE(mailed(), QByteArray());
    QVERIFY(!QDBusReply<bool>(ask(caller_, kPassword, "Exists")).value());
}

void PasswordResetTest::isGivenUpWhenTheServiceEnds()
{
    // Takes the connection and says nothing.
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    port_ = QByteArray::number(silent.serverPort());
    configureFor("owner");
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kObject, kPassword, "Reset");
    const QDBusPendingCall pending = caller_.asyncCall(question);
    QVERIFY(silent.waitForNewConnection(20000));
    // Other calls are answered meanwhile.
    QVERIFY(QDBusReply<bool>(ask(caller_, kPassword, "Exists")).value());
    QCOMPARE(ask(caller_, kPassword, "Reset").errorName(), QString(kErrorLimit));
    service_->terminate();
    QVERIFY(service_->waitForFinished(15000));
    QCOMPARE(service_->exitStatus(), QProcess::NormalExit);
    QCOMPARE(service_->exitCode(), 0);
}

QTEST_GUILESS_MAIN(PasswordResetTest)
#include "passwordresettest.moc"
