// The settings password on a bus: what it takes, what it guards, and how wrong ones are slowed.
#include "engine/service/privatebus.h"
#include "engine/service/quickpassword.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusPendingCall>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QTest>
#include <QXmlStreamReader>

using namespace talo::interface;

namespace
{

struct Method {
    const char *interface;
    const char *name;
    QVariantList arguments;
};

QVariant settings(const char *key, int value)
{
    return QVariant::fromValue(SettingMap{{key, value}});
}

// Everything that changes protection or weakens it.
QList<Method> guarded()
{
    return {
        {kPassword, "SetProtection", {false}},
        {kPassword, "SetProtection", {true}},
        {kSettings, "Apply", {"General", settings("ScanArchives", 0)}},
        {kSettings, "Apply", {"ScanActions", settings("InfectedFirst", 304)}},
        {kSettings, "Apply", {"ExternalDrive", settings("ScanOnArrival", 0)}},
        {kSettings, "Apply", {"Firewall", settings("On", 0)}},
        {kSettings, "Apply", {"Update", settings("Automatic", 0)}},
        {kSettings, "Apply", {"DeviceControl", settings("Blocked", 1)}},
        {kSettings, "Apply", {"Nonsense", settings("Blocked", 1)}},
        {kSettings, "ApplyDefault", {"General"}},
        {kSettings, "ApplyDefault", {"DeviceControl"}},
        {kSettings, "Import", {QByteArray("[General]\n")}},
        {kExclusions, "Add", {QByteArray("/tmp"), 401}},
        {kExclusions, "Remove", {QByteArray("/opt"), 401}},
    };
}

// The others. Whoever adds a method must say here, too, which sort it is of.
const QStringList kOpen{
    "Status.GetStatus",
    "Scan.Start",
    "Scan.Pause",
    "Scan.Resume",
    "Scan.Stop",
    "Scan.Progress",
    "Scan.Running",
    "Reports.List",
    "Reports.Read",
    "Reports.Delete",
    "Reports.LastFullScan",
    "Quarantine.List",
    "Quarantine.Restore",
    "Quarantine.Purge",
    "Settings.Get",
    "Settings.NotifyChange",
    "Settings.Export",
    "Exclusions.List",
    "Password.Exists",
    "Password.Protection",
    "Password.Validate",
    "Password.Create",
    "Password.Change",
    "Password.Reset",
    "Updates.UpdateState",
    "Updates.PrepareSignatureUpdate",
    "Updates.StartSignatureUpdate",
    "Updates.StopSignatureUpdate",
    "Updates.SignatureUpdateProgress",
};

QString shortName(const QString &interface, const QString &method)
{
    return interface.section('.', -1) + '.' + method;
}

} // namespace

class PasswordTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void begins();
    void countsCharacters();
    void checksInItsOrder();
    void refusesProtectionWithoutPassword();
    void guardsEverythingThatChanges();
    void knowsTheSortOfEveryMethod();
    void trustsAConnectionAndNoOther();
    void endsTrustWithThePassword();
    void guardsDeviceControlAlways();
    void slowsWrongOnesAcrossRestarts();
    void answersOthersWhileItHashes();
    void limitsWhatWaits();
    void keepsPasswordsOutOfTheLog();

private:
    void start();
    void seed(); // the password "secret"
    QDBusMessage call(const char *method, const QVariantList &arguments = {});
    int code(const char *method, const QVariantList &arguments);
    bool flag(const char *method, const QVariantList &arguments = {});
    bool validate(const QDBusConnection &caller, const QByteArray &password);
    QString state();

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    QDBusConnection caller_{QStringLiteral("caller")};
    QDBusConnection stranger_{QStringLiteral("stranger")};
};

void PasswordTest::initTestCase()
{
    registerTypes();
}

void PasswordTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    QVERIFY(folder_->isValid());
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    caller_ = bus_->connect("caller");
    stranger_ = bus_->connect("stranger");
    QVERIFY(caller_.isConnected() && stranger_.isConnected());
    start();
}

void PasswordTest::cleanup()
{
    service_.reset();
    bus_.reset();
    folder_.reset();
}

void PasswordTest::start()
{
    service_.reset();
    QTRY_VERIFY(!bus_->owned());
    service_ = startService(*bus_, folder_->filePath("state"));
    QVERIFY(service_ != nullptr);
}

void PasswordTest::seed()
{
    service_.reset();
    QTRY_VERIFY(!bus_->owned());
    QVERIFY(storeQuickly(folder_->filePath("state"), "secret"));
    start();
}

QDBusMessage PasswordTest::call(const char *method, const QVariantList &arguments)
{
    return ask(caller_, kPassword, method, arguments);
}

int PasswordTest::code(const char *method, const QVariantList &arguments)
{
    const QDBusReply<int> reply = call(method, arguments);
    return reply.isValid() ? reply.value() : -1;
}

bool PasswordTest::flag(const char *method, const QVariantList &arguments)
{
    return QDBusReply<bool>(call(method, arguments)).value();
}

bool PasswordTest::validate(const QDBusConnection &caller, const QByteArray &password)
{
    return QDBusReply<bool>(ask(caller, kPassword, "Validate", {password})).value();
}

// All that the guarded methods could change.
QString PasswordTest::state()
{
    QString all = QVariant(flag("Protection")).toString();
    for (const char *group :
         {"General", "ScanActions", "ExternalDrive", "Firewall", "Update", "DeviceControl"}) {
        const QDBusReply<SettingMap> reply = ask(caller_, kSettings, "Get", {group});
        const SettingMap values = reply.value();
        for (auto value = values.begin(); value != values.end(); ++value)
            all += ' ' + value.key() + '=' + QString::number(value.value());
    }
    const QDBusMessage exclusions = ask(caller_, kExclusions, "List");
    for (const QVariant &list : exclusions.arguments())
        all += ' ' + list.toStringList().join(',');
    return all;
}

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

void PasswordTest::guardsEverythingThatChanges()
{
    QCOMPARE(QDBusReply<int>(ask(caller_, kExclusions, "Add", {QByteArray("/opt"), 401})).value(),
             0);
    seed();
    QCOMPARE(call("SetProtection", {true}).type(), QDBusMessage::ReplyMessage);
    const QString before = state();
    const auto allRefused = [this] {
        for (const Method &method : guarded()) {
            const QDBusMessage reply =
                ask(stranger_, method.interface, method.name, method.arguments);
            if (reply.errorName() != QLatin1String(kErrorPasswordNeeded)) {
                qWarning() << method.interface << method.name << method.arguments << reply;
                return false;
            }
        }
        return true;
    };
    QVERIFY(allRefused());
    // A wrong one changes nothing about that, nor does another connection's right one.
    QVERIFY(!validate(stranger_, "wrong!"));
    QVERIFY(validate(caller_, "secret"));
    QVERIFY(allRefused());
    QCOMPARE(state(), before);
    QVERIFY(before.startsWith("true ScanArchives=1"));

    const QDBusMessage applied =
        ask(caller_, kSettings, "Apply", {"General", settings("ScanArchives", 0)});
    QVERIFY2(applied.type() == QDBusMessage::ReplyMessage, qPrintable(applied.errorMessage()));
    QVERIFY(state() != before);
    QCOMPARE(call("SetProtection", {false}).type(), QDBusMessage::ReplyMessage);
    // Without protection the password guards nothing but itself and the access to USB storage.
    QCOMPARE(QDBusReply<int>(ask(stranger_, kExclusions, "Add", {QByteArray("/tmp"), 401})).value(),
             0);
}

void PasswordTest::knowsTheSortOfEveryMethod()
{
    QStringList known = kOpen;
    for (const Method &method : guarded())
        known += shortName(method.interface, method.name);
    const QDBusReply<QString> description =
        ask(caller_, "org.freedesktop.DBus.Introspectable", "Introspect");
    QVERIFY(description.isValid());
    QXmlStreamReader xml(description.value());
    QString interface;
    int methods = 0;
    while (!xml.atEnd()) {
        if (!xml.readNextStartElement() && xml.tokenType() != QXmlStreamReader::StartElement)
            continue;
        const QString name = xml.attributes().value("name").toString();
        if (xml.name() == QLatin1String("interface"))
            interface = name;
        if (xml.name() != QLatin1String("method") || !interface.startsWith("org.taloantivirus."))
            continue;
        ++methods;
        QVERIFY2(known.contains(shortName(interface, name)), qPrintable(interface + '.' + name));
    }
    QVERIFY(methods >= kOpen.size());
}

void PasswordTest::trustsAConnectionAndNoOther()
{
    seed();
    QCOMPARE(call("SetProtection", {true}).type(), QDBusMessage::ReplyMessage);
    const auto apply = [](const QDBusConnection &bus) {
        return ask(bus, kSettings, "ApplyDefault", {"General"});
    };
    QCOMPARE(apply(caller_).errorName(), QString(kErrorPasswordNeeded));
    QVERIFY(validate(caller_, "secret"));
    QCOMPARE(apply(caller_).type(), QDBusMessage::ReplyMessage);
    // A wrong one later takes nothing away; a new connection of the same program has nothing.
    QVERIFY(!validate(caller_, "wrong!"));
    QCOMPARE(apply(caller_).type(), QDBusMessage::ReplyMessage);
    caller_ = QDBusConnection(QString());
    caller_ = bus_->connect("caller");
    QCOMPARE(apply(caller_).errorName(), QString(kErrorPasswordNeeded));
    // Nor does a connection outlive the service that trusted it.
    QVERIFY(validate(caller_, "secret"));
    start();
    QCOMPARE(apply(caller_).errorName(), QString(kErrorPasswordNeeded));
}

void PasswordTest::endsTrustWithThePassword()
{
    seed();
    QCOMPARE(call("SetProtection", {true}).type(), QDBusMessage::ReplyMessage);
    QVERIFY(validate(caller_, "secret"));
    QVERIFY(validate(stranger_, "secret"));
    QCOMPARE(code("Change", {QByteArray("secret"), QByteArray("another"), QByteArray("another")}),
             0);
    QCOMPARE(ask(caller_, kSettings, "ApplyDefault", {"General"}).type(),
             QDBusMessage::ReplyMessage);
    QCOMPARE(ask(stranger_, kSettings, "ApplyDefault", {"General"}).errorName(),
             QString(kErrorPasswordNeeded));
}

void PasswordTest::guardsDeviceControlAlways()
{
    const auto block = [this] {
        return ask(caller_, kSettings, "Apply", {"DeviceControl", settings("Blocked", 1)});
    };
    QCOMPARE(block().errorName(), QString(kErrorPasswordNeeded));
    seed();
    QCOMPARE(block().errorName(), QString(kErrorPasswordNeeded));
    QVERIFY(validate(caller_, "secret"));
    QCOMPARE(block().type(), QDBusMessage::ReplyMessage);
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
    QTRY_VERIFY(!bus_->owned());
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
