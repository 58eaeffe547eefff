// What the settings password guards, and whom the service trusts once it was given.
#include "engine/service/method.h"
#include "engine/service/passwordbench.h"
#include "interface/names.h"
#include "interface/types.h"
#include "store/database.h"
#include "store/statement.h"

#include <QDBusReply>
#include <QTest>
#include <QXmlStreamReader>

using namespace talo::interface;

namespace
{

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
    "Notices.Listen",
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

class PasswordGuardTest : public PasswordBench
{
    Q_OBJECT

private slots:
    void guardsEverythingThatChanges();
    void leavesTheStoreAsItIs();
    void trustsAConnectionAndNoOther();
    void endsTrustWithThePassword();
    void guardsDeviceControlAlways();

private:
    QString state();
};

// All that the guarded methods could change.
QString PasswordGuardTest::state()
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

void PasswordGuardTest::guardsEverythingThatChanges()
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
void PasswordGuardTest::leavesTheStoreAsItIs()
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

void PasswordGuardTest::trustsAConnectionAndNoOther()
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

void PasswordGuardTest::endsTrustWithThePassword()
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

void PasswordGuardTest::guardsDeviceControlAlways()
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

QTEST_GUILESS_MAIN(PasswordGuardTest)
#include "passwordguardtest.moc"
