// The operations of the settings password as the panel calls them, against a real service.
#include "engine/libpassword.h"
#include "engine/libsettings.h"
#include "engine/product_registration.h"
#include "engine/service/privatebus.h"
#include "interface/names.h"

#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace talo::interface;

class ClientPasswordTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    // One after the other, as one life of the panel.
    void thereIsNoneAtFirst();
    void createsTheFirstOne();
    void protectsTheSettings();
    void aStrangerIsKeptOut();
    void changesIt();
    void switchesProtectionOff();
    void mailsANewOne();

private:
    std::unique_ptr<PrivateBus> bus_;
    QTemporaryDir folder_;
    std::unique_ptr<Program> service_;
};

void ClientPasswordTest::initTestCase()
{
    QVERIFY(folder_.isValid());
    bus_ = std::make_unique<PrivateBus>();
    qputenv("TALO_BUS", bus_->address().toLocal8Bit());
    service_ =
        startService(*bus_, folder_.filePath("state"), {"--config", folder_.filePath("talo.conf")});
    QVERIFY(service_ != nullptr);
}

void ClientPasswordTest::cleanupTestCase()
{
    service_.reset();
    bus_.reset();
}

void ClientPasswordTest::thereIsNoneAtFirst()
{
    QVERIFY(libPassword::IsPasswordExists() != 0);
    QCOMPARE(libPassword::getPwdProtectionStaus(), 0);
    QVERIFY(libPassword::ValidatePassword("") != 0);
    QVERIFY(libPassword::modifyPwdProtectionStatus(1) != 0);
    QVERIFY(libPassword::modifyPwdProtectionStatus(2) != 0);
    QCOMPARE(libPassword::modifyPassword("", "secret", "secret"), 3);
    QCOMPARE(product_registration(70), 1);
    QCOMPARE(product_registration(71), -1);
}

void ClientPasswordTest::createsTheFirstOne()
{
    const std::string umlauts = "\xC3\xA4\xC3\xB6\xC3\xBC";
    QCOMPARE(libPassword::createpass("a", "b", 0), 1);
    QCOMPARE(libPassword::createpass("12345", "12345", 0), 2);
    QCOMPARE(libPassword::createpass(umlauts, umlauts, 0), 2);
    QCOMPARE(libPassword::createpass("secret\xC3", "secret\xC3", 0), 2);
    QVERIFY(libPassword::IsPasswordExists() != 0);
    QCOMPARE(libPassword::createpass(umlauts + umlauts, umlauts + umlauts, 0), 0);
    QCOMPARE(libPassword::IsPasswordExists(), 0);
    QCOMPARE(libPassword::getPwdProtectionStaus(), 0);
    QCOMPARE(libPassword::createpass("secret", "secret", 0), 3);
    QCOMPARE(libPassword::ValidatePassword(umlauts + umlauts), 0);
}

void ClientPasswordTest::protectsTheSettings()
{
    QCOMPARE(libPassword::modifyPwdProtectionStatus(1), 0);
    QCOMPARE(libPassword::getPwdProtectionStaus(), 1);
    QVERIFY(libPassword::ValidatePassword("wrong!") != 0);
    // This process gave the right one before.
    QCOMPARE(libSettings::ApplyGeneralSettings(1, 0), 0);
}

void ClientPasswordTest::aStrangerIsKeptOut()
{
    const QDBusConnection stranger = bus_->connect("stranger");
    QCOMPARE(ask(stranger, kSettings, "ApplyDefault", {"General"}).errorName(),
             QString(kErrorPasswordNeeded));
    QCOMPARE(ask(stranger, kPassword, "SetProtection", {false}).errorName(),
             QString(kErrorPasswordNeeded));
    QCOMPARE(libPassword::getPwdProtectionStaus(), 1);
}

void ClientPasswordTest::changesIt()
{
    const std::string current = "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\xA4\xC3\xB6\xC3\xBC";
    QCOMPARE(libPassword::modifyPassword("wrong!", "a", "b"), 3);
    QCOMPARE(libPassword::modifyPassword(current, "a", "b"), 1);
    QCOMPARE(libPassword::modifyPassword(current, "a", "a"), 2);
    QCOMPARE(libPassword::modifyPassword(current, "another", "another"), 0);
    QCOMPARE(libPassword::ValidatePassword("another"), 0);
    QVERIFY(libPassword::ValidatePassword(current) != 0);
}

void ClientPasswordTest::switchesProtectionOff()
{
    QCOMPARE(libPassword::modifyPwdProtectionStatus(0), 0);
    QCOMPARE(libPassword::getPwdProtectionStaus(), 0);
}

void ClientPasswordTest::mailsANewOne()
{
    Program server;
    QVERIFY(QDir(folder_.path()).mkdir("mails"));
    server.start("/usr/bin/python3", {QStringLiteral(TALO_MAIL_SERVER), folder_.filePath("mails")});
    if (!server.waitForReadyRead(20000))
        QSKIP("needs the package python3-aiosmtpd");
    const QByteArray port = server.readLine().trimmed();
    QFile configuration(folder_.filePath("talo.conf"));
    QVERIFY(configuration.open(QIODevice::WriteOnly));
    configuration.write("[Mail]\nServer=smtp://127.0.0.1:" + port +
                        "\nFrom=talo@example.org\nTo=owner@example.org\n");
    configuration.close();
    QCOMPARE(product_registration(70), 4097);
    QFile mail(folder_.filePath("mails/1.eml"));
    QVERIFY(mail.open(QIODevice::ReadOnly));
    const auto found = QRegularExpression("\r\n    ([A-Za-z2-9]{12})\r\n")
                           .match(QString::fromUtf8(mail.readAll()));
    QVERIFY(found.hasMatch());
    QCOMPARE(libPassword::ValidatePassword(found.captured(1).toStdString()), 0);
    QVERIFY(libPassword::ValidatePassword("another") != 0);
    // Another one within the minute is refused.
    QCOMPARE(product_registration(70), -1);
}

QTEST_GUILESS_MAIN(ClientPasswordTest)
#include "passwordtest.moc"
