// The settings password on a bus: what it takes, and how wrong ones are slowed.
#include "engine/service/passwordbench.h"
#include "interface/names.h"
#include "support/soon.h"

#include <QDBusPendingCall>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QTest>

using namespace talo::interface;

class PasswordTest : public PasswordBench
{
    Q_OBJECT

private slots:
    void begins();
    void countsCharacters();
    void checksInItsOrder();
    void refusesProtectionWithoutPassword();
    void slowsWrongOnesAcrossRestarts();
    void answersOthersWhileItHashes();
    void limitsWhatWaits();
    void keepsPasswordsOutOfTheLog();
};

void PasswordTest::begins()
{
    QVERIFY(!flag("Exists"));
    QVERIFY(!flag("Protection"));
    QVERIFY(!flag("Validate", {QByteArray()}));
    QCOMPARE(code("Change", {QByteArray(), QByteArray("secret"), QByteArray("secret")}), 3);
    QCOMPARE(code("Create", {QByteArray("secret"), QByteArray("secret")}), 0);
    QVERIFY(flag("Exists"));
    QVERIFY(!flag("Protection"));
    // To have created it is not to have given it.
    QCOMPARE(ask(caller_, kSettings, "ApplyDefault", {"DeviceControl"}).errorName(),
             QString(kErrorPasswordNeeded));
    start();
    QVERIFY(flag("Exists"));
    QVERIFY(flag("Validate", {QByteArray("secret")}));
}

void PasswordTest::countsCharacters()
{
    const QByteArray lock = "\xF0\x9F\x94\x92";
    for (const QByteArray &text : {lock.repeated(5), lock.repeated(16), QByteArray("12345"),
                                   QByteArray(16, 'x'), QByteArray("secret\xC3")})
        QCOMPARE(code("Create", {text, text}), 2);
    QVERIFY(!flag("Exists"));
    QCOMPARE(code("Create", {lock.repeated(15), lock.repeated(15)}), 0);
    QVERIFY(flag("Validate", {lock.repeated(15)}));
    QCOMPARE(code("Change", {lock.repeated(15), lock.repeated(6), lock.repeated(6)}), 0);
    QVERIFY(flag("Validate", {lock.repeated(6)}));
}

void PasswordTest::checksInItsOrder()
{
    seed();
    const QByteArray first = "secret";
    QCOMPARE(code("Create", {QByteArray("a"), QByteArray("b")}), 1);
    QCOMPARE(code("Create", {QByteArray("a"), QByteArray("a")}), 2);
    QCOMPARE(code("Create", {first, first}), 3);
    QCOMPARE(code("Change", {QByteArray("wrong!"), QByteArray("a"), QByteArray("b")}), 3);
    QCOMPARE(code("Change", {first, QByteArray("a"), QByteArray("b")}), 1);
    QCOMPARE(code("Change", {first, QByteArray("a"), QByteArray("a")}), 2);
    QVERIFY(flag("Validate", {first}));
}

void PasswordTest::refusesProtectionWithoutPassword()
{
    QCOMPARE(call("SetProtection", {true}).errorName(), QString(kErrorNotFound));
    QVERIFY(!flag("Protection"));
    QCOMPARE(call("SetProtection", {false}).type(), QDBusMessage::ReplyMessage);
}

void PasswordTest::slowsWrongOnesAcrossRestarts()
{
    seed();
    QElapsedTimer timer;
    timer.start();
    for (int wrong = 0; wrong < 5; ++wrong)
        QVERIFY(!validate(caller_, "wrong!"));
    QVERIFY2(timer.elapsed() >= 250 + 500 + 1000 + 2000,
             qPrintable(QString::number(timer.elapsed())));

    // The fifth takes four seconds, which begin anew with the service.
    timer.restart();
    start();
    QVERIFY(validate(caller_, "secret"));
    QVERIFY2(timer.elapsed() >= 4000, qPrintable(QString::number(timer.elapsed())));

    // A right one ends it, also over the next start.
    QVERIFY(!validate(caller_, "wrong!"));
    QVERIFY(validate(caller_, "secret"));
    timer.restart();
    QVERIFY(validate(caller_, "secret"));
    QVERIFY2(timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
}

void PasswordTest::answersOthersWhileItHashes()
{
    QCOMPARE(code("Create", {QByteArray("secret"), QByteArray("secret")}), 0);
    QDBusMessage question =
        QDBusMessage::createMethodCall(kService, kObject, kPassword, "Validate");
    question.setArguments({QByteArray("secret")});
    QDBusPendingCall first = caller_.asyncCall(question);
    QDBusPendingCall second = caller_.asyncCall(question);
    int answered = 0;
    while (!second.isFinished()) {
        const QDBusReply<bool> protection = ask(stranger_, kPassword, "Protection");
        QVERIFY(protection.isValid());
        ++answered;
        QCoreApplication::processEvents();
    }
    // Were the answers held up by a check, there would be one for each.
    QVERIFY2(answered > 10, qPrintable(QString::number(answered)));
    first.waitForFinished();
    QVERIFY(QDBusReply<bool>(second.reply()).value());
    QVERIFY(QDBusReply<bool>(first.reply()).value());
}

void PasswordTest::limitsWhatWaits()
{
    QCOMPARE(code("Create", {QByteArray("secret"), QByteArray("secret")}), 0);
    QDBusMessage question =
        QDBusMessage::createMethodCall(kService, kObject, kPassword, "Validate");
    question.setArguments({QByteArray("secret")});
    QList<QDBusPendingCall> calls;
    for (int number = 0; number < 7; ++number)
        calls.append(caller_.asyncCall(question));
    int right = 0;
    int refused = 0;
    for (QDBusPendingCall &pending : calls) {
        pending.waitForFinished();
        right += QDBusReply<bool>(pending.reply()).value() ? 1 : 0;
        refused += pending.reply().errorName() == QLatin1String(kErrorLimit) ? 1 : 0;
    }
    QCOMPARE(right, 4);
    QCOMPARE(refused, 3);
}

void PasswordTest::keepsPasswordsOutOfTheLog()
{
    service_.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    Program service;
    service.start(built("bin/talod"),
                  {"--bus", bus_->address(), "--state", folder_->filePath("state")});
    QTRY_VERIFY_WITH_TIMEOUT(bus_->owned(), 10000);
    QCOMPARE(code("Create", {QByteArray("Kp7secret"), QByteArray("Kp7secret")}), 0);
    QVERIFY(!flag("Validate", {QByteArray("Kp7wrong")}));
    QCOMPARE(code("Change",
                  {QByteArray("Kp7secret"), QByteArray("Kp7another"), QByteArray("Kp7another")}),
             0);
    service.terminate();
    QVERIFY(service.waitForFinished());
    const QByteArray log = service.readAllStandardError() + service.readAllStandardOutput();
    QVERIFY2(log.contains("gave a wrong settings password"), log);
    QVERIFY2(log.contains("changed the settings password"), log);
    QVERIFY2(!log.contains("Kp7"), log);
}

QTEST_GUILESS_MAIN(PasswordTest)
#include "passwordtest.moc"
