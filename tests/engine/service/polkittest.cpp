// talod on a system bus with the real polkit: who may do what, and who never may.
#include "engine/service/method.h"
#include "engine/service/systembus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "service/authority.h"
#include "support/soon.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QSet>
#include <QTest>

#include <csignal>

using namespace talo::interface;

namespace
{

constexpr uint kStranger = 65534; // has no session and no rule
constexpr uint kAllowed = 1;      // "daemon", whom the test's rule allows

constexpr char kPolkit[] = "org.freedesktop.PolicyKit1";

const QByteArray kSecret = "secret";

// Everything but reading and giving the password.
QList<Method> changes()
{
    return {
        {kScan, "Start", {2U, QByteArray("/etc/passwd")}},
        {kScan, "Pause", {1U}},
        {kScan, "Resume", {1U}},
        {kScan, "Stop", {1U}},
        {kReports, "Delete", {"2026-11-21 14:05:09"}},
        {kQuarantine, "Restore", {"0123"}},
        {kQuarantine, "Purge", {"0123"}},
        {kSettings, "Apply", {"General", settings("ScanArchives", 0)}},
        {kSettings, "Apply", {"Firewall", settings("On", 0)}},
        {kSettings, "ApplyDefault", {"General"}},
        {kSettings, "Import", {QByteArray("[General]\n")}},
        {kExclusions, "Add", {QByteArray("/tmp"), 401}},
        {kExclusions, "Remove", {QByteArray("/tmp"), 401}},
        {kSchedules, "Add", {QByteArray("night"), 1, 501, 8, 3, 0}},
        {kSchedules, "Edit", {QByteArray("night"), QByteArray("nights"), 1, 501, 8, 3, 0}},
        {kSchedules, "Remove", {QByteArray("night")}},
        {kPassword, "SetProtection", {false}},
        {kPassword, "Create", {kSecret, kSecret}},
        {kPassword, "Change", {kSecret, kSecret, kSecret}},
        {kPassword, "Reset", {}},
    };
}

QList<Method> readings()
{
    return {
        {kStatus, "GetStatus", {}},
        {kScan, "Running", {}},
        {kReports, "List", {QString(), QString()}},
        {kReports, "LastFullScan", {}},
        {kQuarantine, "List", {}},
        {kSettings, "Get", {"General"}},
        {kSettings, "Export", {}},
        {kExclusions, "List", {}},
        {kSchedules, "All", {}},
        {kPassword, "Exists", {}},
        {kPassword, "Protection", {}},
    };
}

QByteArray exported(const QDBusConnection &bus)
{
    return QDBusReply<QByteArray>(ask(bus, kSettings, "Export")).value();
}

} // namespace

class PolkitTest : public QObject
{
    Q_OBJECT

public:
    explicit PolkitTest(std::string unfit) : unfit_(std::move(unfit)) {}

private slots:
    void initTestCase();
    void cleanupTestCase();

    void isStartedByTheFirstCall();
    void onlyRootOwnsTheName();
    void everyActionIsPolkits();
    void everybodyMayRead();
    void strangersMayChangeNothing();
    void whoseProcessBecameRootIsStillAStranger();
    void polkitsYesIsEnough();
    void rootMay();
    void nobodyWaitsForPolkitsAnswerToAnother();
    void thePasswordHoldsForEverybody();
    void wrongPasswordsOfOneSlowNobodyElse();
    void withoutPolkitNobodyMay();

private:
    bool refused(const QDBusConnection &bus, const Method &method);

    std::string unfit_;
    std::unique_ptr<SystemBus> bus_;
    QDBusConnection root_{QStringLiteral("root")};
    QDBusConnection stranger_{QStringLiteral("stranger")};
    QDBusConnection allowed_{QStringLiteral("allowed")};
};

void PolkitTest::initTestCase()
{
    if (!unfit_.empty())
        QSKIP(unfit_.c_str());
    registerTypes();
    bus_ = std::make_unique<SystemBus>();
    root_ = SystemBus::connectAs(0, "root");
    stranger_ = SystemBus::connectAs(kStranger, "stranger");
    allowed_ = SystemBus::connectAs(kAllowed, "allowed");
    QVERIFY(root_.isConnected() && stranger_.isConnected() && allowed_.isConnected());
}

// What the bus has started ends with it.
void PolkitTest::cleanupTestCase()
{
    if (!bus_)
        return;
    const qint64 talod = SystemBus::ownerOf(kService);
    bus_.reset();
    if (talod != 0)
        QTRY_VERIFY_WITH_TIMEOUT(kill(static_cast<pid_t>(talod), 0) != 0, 20000);
}

bool PolkitTest::refused(const QDBusConnection &bus, const Method &method)
{
    const QDBusMessage reply = ask(bus, method.interface, method.name, method.arguments);
    if (reply.errorName() == QLatin1String(kErrorNotPermitted))
        return true;
    qWarning() << method.interface << method.name << reply;
    return false;
}

void PolkitTest::isStartedByTheFirstCall()
{
    QCOMPARE(SystemBus::ownerOf(kService), 0);
    const QDBusReply<QVariantMap> status = ask(stranger_, kStatus, "GetStatus");
    QVERIFY2(status.isValid(), qPrintable(status.error().message()));
    QCOMPARE(status.value().value("user").toUInt(), 0U);
}

void PolkitTest::onlyRootOwnsTheName()
{
    for (QDBusConnection *user : {&stranger_, &allowed_}) {
        QVERIFY(!user->registerService("org.taloantivirus.Engine1"));
        QCOMPARE(user->lastError().type(), QDBusError::AccessDenied);
    }
}

void PolkitTest::everyActionIsPolkits()
{
    QSet<QString> needed;
    for (int number = 0; number < int(talo::service::Action::kEnd); ++number)
        needed += talo::service::Authority::polkitAction(talo::service::Action(number));
    needed.remove(QString());
    QVERIFY(needed.size() > 5);
    Program pkaction;
    pkaction.start("pkaction", QStringList());
    QVERIFY(pkaction.waitForFinished());
    QSet<QString> known;
    for (const QByteArray &line : pkaction.readAllStandardOutput().split('\n'))
        if (!line.isEmpty())
            known += QString::fromLatin1(line);
    QCOMPARE(known, needed);
}

void PolkitTest::everybodyMayRead()
{
    for (const Method &method : readings()) {
        const QDBusMessage reply = ask(stranger_, method.interface, method.name, method.arguments);
        QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(reply.errorMessage()));
    }
}

void PolkitTest::strangersMayChangeNothing()
{
    const QByteArray before = exported(root_);
    QVERIFY(!before.isEmpty());
    for (const Method &method : changes())
        QVERIFY(refused(stranger_, method));
    QCOMPARE(exported(root_), before);
    QVERIFY(!QDBusReply<bool>(ask(root_, kPassword, "Exists")).value());
    // Not even with the leave to ask an administrator, where there is none to be asked.
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kObject, kExclusions, "Add");
    question.setArguments({QByteArray("/tmp"), 401});
    question.setInteractiveAuthorizationAllowed(true);
    QCOMPARE(stranger_.call(question).errorName(), QString(kErrorNotPermitted));
}

// The process that calls is root's; the connection was made by somebody else.
void PolkitTest::whoseProcessBecameRootIsStillAStranger()
{
    QCOMPARE(geteuid(), 0U);
    QCOMPARE(QDBusReply<uint>(root_.interface()->servicePid(stranger_.baseService())).value(),
             uint(getpid()));
    QVERIFY(refused(stranger_, {kExclusions, "Add", {QByteArray("/tmp"), 401}}));
}

void PolkitTest::polkitsYesIsEnough()
{
    const QDBusMessage added = ask(allowed_, kExclusions, "Add", {QByteArray("/opt"), 401});
    QVERIFY2(added.type() == QDBusMessage::ReplyMessage, qPrintable(added.errorMessage()));
    QCOMPARE(added.arguments().at(0).toInt(), 0);
    QCOMPARE(ask(allowed_, kExclusions, "List").arguments().at(0).toStringList(),
             QStringList{"/opt"});
}

void PolkitTest::rootMay()
{
    const QDBusMessage removed = ask(root_, kExclusions, "Remove", {QByteArray("/opt"), 401});
    QVERIFY2(removed.type() == QDBusMessage::ReplyMessage, qPrintable(removed.errorMessage()));
    QCOMPARE(removed.arguments().at(0).toInt(), 0);
}

void PolkitTest::nobodyWaitsForPolkitsAnswerToAnother()
{
    const auto polkit = static_cast<pid_t>(SystemBus::ownerOf(kPolkit));
    QVERIFY(polkit > 0);
    QCOMPARE(kill(polkit, SIGSTOP), 0);
    QDBusMessage question =
        QDBusMessage::createMethodCall(kService, kObject, kSettings, "ApplyDefault");
    question.setArguments({"General"});
    QList<QDBusPendingCall> waiting;
    for (int number = 0; number < 9; ++number)
        waiting.append(allowed_.asyncCall(question));
    waiting.last().waitForFinished();
    const QString ninth = waiting.last().reply().errorName();
    const QDBusMessage reading = ask(stranger_, kStatus, "GetStatus");
    const QDBusMessage roots = ask(root_, kSettings, "ApplyDefault", {"General"});
    const bool early = waiting.first().isFinished();
    QCOMPARE(kill(polkit, SIGCONT), 0);
    QCOMPARE(ninth, QString(kErrorLimit));
    QCOMPARE(reading.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(roots.type(), QDBusMessage::ReplyMessage);
    QVERIFY(!early);
    for (int number = 0; number < 8; ++number) {
        waiting[number].waitForFinished();
        QCOMPARE(waiting[number].reply().type(), QDBusMessage::ReplyMessage);
    }
}

void PolkitTest::thePasswordHoldsForEverybody()
{
    QCOMPARE(QDBusReply<int>(ask(allowed_, kPassword, "Create", {kSecret, kSecret})).value(), 0);
    QCOMPARE(ask(allowed_, kPassword, "SetProtection", {true}).type(), QDBusMessage::ReplyMessage);
    for (const QDBusConnection &user : {root_, allowed_})
        QCOMPARE(ask(user, kSettings, "ApplyDefault", {"General"}).errorName(),
                 QString(kErrorPasswordNeeded));
    // And where polkit says no, the password does not help.
    QVERIFY(QDBusReply<bool>(ask(stranger_, kPassword, "Validate", {kSecret})).value());
    QVERIFY(refused(stranger_, {kSettings, "ApplyDefault", {"General"}}));
    QVERIFY(QDBusReply<bool>(ask(allowed_, kPassword, "Validate", {kSecret})).value());
    QCOMPARE(ask(allowed_, kPassword, "SetProtection", {false}).type(), QDBusMessage::ReplyMessage);
}

void PolkitTest::wrongPasswordsOfOneSlowNobodyElse()
{
    for (int wrong = 0; wrong < 3; ++wrong)
        ask(stranger_, kPassword, "Validate", {QByteArray("wrong!")});
    QDBusMessage question =
        QDBusMessage::createMethodCall(kService, kObject, kPassword, "Validate");
    // Long texts are known to be wrong without hashing: what takes time here are the waits alone.
    const QByteArray tooLong(20, 'x');
    question.setArguments({tooLong});
    QDBusPendingCall slowed = stranger_.asyncCall(question);
    QVERIFY(!QDBusReply<bool>(ask(root_, kPassword, "Validate", {tooLong})).value());
    QVERIFY(!slowed.isFinished());
    slowed.waitForFinished();
}

// The last one: polkit does not come back.
void PolkitTest::withoutPolkitNobodyMay()
{
    const auto polkit = static_cast<pid_t>(SystemBus::ownerOf(kPolkit));
    QVERIFY(polkit > 0);
    QVERIFY(SystemBus::removePolkit());
    QCOMPARE(kill(polkit, SIGKILL), 0);
    QTRY_COMPARE_WITH_TIMEOUT(SystemBus::ownerOf(kPolkit), 0, kSoon);
    for (const Method &method : changes())
        for (const QDBusConnection &user : {stranger_, allowed_})
            QVERIFY(refused(user, method));
    for (const Method &method : readings())
        QCOMPARE(ask(stranger_, method.interface, method.name, method.arguments).type(),
                 QDBusMessage::ReplyMessage);
    QCOMPARE(ask(root_, kSettings, "ApplyDefault", {"General"}).type(), QDBusMessage::ReplyMessage);
}

int main(int argc, char *argv[])
{
    const std::string unfit = SystemBus::prepare();
    QCoreApplication application(argc, argv);
    PolkitTest test(unfit);
    return QTest::qExec(&test, argc, argv);
}

#include "polkittest.moc"
