// The settings password on a bus: what it takes, what it guards, and how wrong ones are slowed.
#include "engine/service/privatebus.h"
#include "engine/service/quickpassword.h"
#include "interface/names.h"
#include "interface/types.h"
#include "store/database.h"
#include "store/statement.h"

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
        {kFirewall, "Trigger", {1}},
        {kFirewall, "Trigger", {2}},
        {kExclusions, "Add", {QByteArray("/tmp"), 401}},
        {kExclusions, "Remove", {QByteArray("/opt"), 401}},
        {kSchedules, "Add", {QByteArray("night"), 1, 501, 8, 3, 0}},
        {kSchedules, "Edit", {QByteArray("noon"), QByteArray("noons"), 3, 501, 8, 12, 0}},
        {kSchedules, "Remove", {QByteArray("noon")}},
    };
}

// The others. A method that is not named here must be refused without the password.
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
    "Schedules.Details",
    "Schedules.All",
    "ProductUpdate.CheckProgram",
    "ProductUpdate.UpdateProgram",
    "ProductUpdate.StopProgramUpdate",
    "ProductUpdate.ProgramUpdateProgress",
    "Updates.UpdateState",
    "Updates.SignatureUpdateProgress",
    "Updates.PrepareSignatureUpdate",
    "Updates.StartSignatureUpdate",
    "Updates.StopSignatureUpdate",
};

// Those of them that do something, if nothing that the password guards. The rest only reads.
const QStringList kActing{
    "Scan.Start",
    "Scan.Pause",
    "Scan.Resume",
    "Scan.Stop",
    "Reports.Delete",
    "Quarantine.Restore",
    "Quarantine.Purge",
    "Settings.NotifyChange",
    "Password.Validate",
    "Password.Create",
    "Password.Change",
    "Password.Reset",
    "Updates.PrepareSignatureUpdate",
    "Updates.StartSignatureUpdate",
    "Updates.StopSignatureUpdate",
};

struct Described {
    QString interface;
    QString name;
    QStringList types; // of the arguments
    QString shortName() const { return interface.section('.', -1) + '.' + name; }
};

// Every method of the service, as it describes itself.
QList<Described> methodsIn(const QString &description)
{
    QList<Described> methods;
    QString interface;
    bool inMethod = false;
    QXmlStreamReader xml(description);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        if (xml.name() == QLatin1String("interface"))
            interface = attributes.value("name").toString();
        if (xml.name() == QLatin1String("method") || xml.name() == QLatin1String("signal"))
            inMethod =
                xml.name() == QLatin1String("method") && interface.startsWith("org.taloantivirus.");
        if (inMethod && xml.name() == QLatin1String("method"))
            methods.append({interface, attributes.value("name").toString(), {}});
        if (inMethod && xml.name() == QLatin1String("arg") &&
            attributes.value("direction") != QLatin1String("out"))
            methods.last().types += attributes.value("type").toString();
    }
    return methods;
}

// Some value of each type; an invalid one for a type that no method has taken yet.
QVariantList someArguments(const QStringList &types)
{
    const QHash<QString, QVariant> values{
        {"s", QString()},
        {"ay", QByteArray()},
        {"b", true},
        {"i", 0},
        {"u", 0U},
        {"x", qlonglong(0)},
        {"t", qulonglong(0)},
        {"as", QStringList()},
        {"a{si}", QVariant::fromValue(SettingMap())},
    };
    QVariantList arguments;
    for (const QString &type : types)
        arguments += values.value(type);
    return arguments;
}

// Every row of every table of the store, which no service has open.
QString stored(const QString &folder)
{
    std::string failure;
    const auto database = talo::store::Database::open(folder.toStdString(), failure);
    if (!database)
        return QString();
    using talo::store::Statement;
    const auto texts = [&database](const std::string &sql) {
        QStringList rows;
        Statement statement(*database, sql.c_str());
        while (statement.step() == Statement::Step::Row)
            rows += QString::fromStdString(statement.text(0));
        return rows;
    };
    QString all;
    for (const QString &table :
         texts("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
        const QStringList columns =
            texts(QString("SELECT 'quote(\"' || name || '\")' FROM pragma_table_info('%1')")
                      .arg(table)
                      .toStdString());
        const QStringList rows = texts(QString("SELECT %1 FROM \"%2\" ORDER BY 1")
                                           .arg(columns.join(" || ',' || "), table)
                                           .toStdString());
        all += table + ":\n" + rows.join('\n') + '\n';
    }
    return all;
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
    void leavesTheStoreAsItIs();
    void trustsAConnectionAndNoOther();
    void endsTrustWithThePassword();
    void guardsDeviceControlAlways();
    void slowsWrongOnesAcrossRestarts();
    void answersOthersWhileItHashes();
    void limitsWhatWaits();
    void keepsPasswordsOutOfTheLog();

private:
    void stop(); // kills it
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

void PasswordTest::stop()
{
    service_.reset();
    QTRY_VERIFY(!bus_->owned());
}

void PasswordTest::start()
{
    stop();
    service_ = startService(*bus_, folder_->filePath("state"));
    QVERIFY(service_ != nullptr);
}

void PasswordTest::seed()
{
    stop();
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

// Whatever methods the service has: without the password none changes what is stored.
void PasswordTest::leavesTheStoreAsItIs()
{
    QCOMPARE(QDBusReply<int>(ask(caller_, kExclusions, "Add", {QByteArray("/opt"), 401})).value(),
             0);
    QCOMPARE(ask(caller_, kSettings, "Apply", {"Update", settings("Frequency", 3)}).type(),
             QDBusMessage::ReplyMessage);
    seed();
    QCOMPARE(call("SetProtection", {true}).type(), QDBusMessage::ReplyMessage);
    stop();
    const QString before = stored(folder_->filePath("state"));
    QVERIFY2(before.contains("'/opt'") && before.contains("$argon2"), qPrintable(before));
    start();

    const QDBusReply<QString> description =
        ask(stranger_, "org.freedesktop.DBus.Introspectable", "Introspect");
    const QList<Described> methods = methodsIn(description.value());
    QVERIFY(methods.size() > kOpen.size());
    for (const Described &method : methods) {
        const QString name = method.shortName();
        if (kActing.contains(name))
            continue;
        const QVariantList arguments = someArguments(method.types);
        for (const QVariant &argument : arguments)
            QVERIFY2(argument.isValid(), qPrintable("say some value of its types: " + name));
        const QDBusMessage reply = ask(stranger_, method.interface.toLatin1().constData(),
                                       method.name.toLatin1().constData(), arguments);
        QVERIFY2(kOpen.contains(name) || reply.errorName() == QLatin1String(kErrorPasswordNeeded),
                 qPrintable(name + ": " + reply.errorName()));
    }
    // With values that would be taken, if only the password had been given.
    for (const Method &method : guarded())
        QCOMPARE(ask(stranger_, method.interface, method.name, method.arguments).errorName(),
                 QString(kErrorPasswordNeeded));
    const QDBusReply<int> created =
        ask(stranger_, kPassword, "Create", {QByteArray("another"), QByteArray("another")});
    QCOMPARE(created.value(), 3);
    QVERIFY(QDBusReply<int>(ask(stranger_, kPassword, "Reset")).value() != 4097);
    stop();
    QCOMPARE(stored(folder_->filePath("state")), before);
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
