// talod as the machine's guard, in a network of its own.
#include "engine/firewall.h"
#include "engine/guard/network.h"
#include "engine/libsettings.h"
#include "engine/notifysettingchange.h"
#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <unistd.h>

using namespace talo::interface;
using talo::test::Network;

class GuardTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void isOffAtFirst();
    void switchesTheFirewall();
    void followsTheSetting();
    void keepsTheFirewallOverARestart();
    void mendsWhatOthersDo();
    void namesOtherFirewalls();
    void guardsNothingUnasked();
    void restoresAtBoot();

private:
    void start(const QStringList &options = {"--guard"});
    QVariant status(const char *key);
    static bool stands();
    QByteArray log();

    std::unique_ptr<Network> network_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    QByteArray log_;
    QDBusConnection caller_{QStringLiteral("caller")};
};

void GuardTest::initTestCase()
{
    if (geteuid() != 0)
        QSKIP("only root may guard a machine");
    registerTypes();
    // One for the whole process: the engine's library keeps its connection.
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLocal8Bit());
    caller_ = bus_->connect("caller");
    QVERIFY(caller_.isConnected());
}

void GuardTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    QVERIFY(folder_->isValid());
    network_ = std::make_unique<Network>();
    QVERIFY(network_->ready());
    start();
}

void GuardTest::cleanup()
{
    service_.reset();
    network_.reset();
    folder_.reset();
}

void GuardTest::start(const QStringList &options)
{
    service_.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    log_.clear();
    service_ = std::make_unique<Program>();
    service_->setProcessChannelMode(QProcess::MergedChannels);
    service_->start(built("bin/talod"),
                    QStringList{"--bus", bus_->address(), "--state", folder_->filePath("state")} +
                        options);
    QTRY_VERIFY_WITH_TIMEOUT(bus_->owned(), 10000);
}

QVariant GuardTest::status(const char *key)
{
    const QDBusReply<QVariantMap> reply = ask(caller_, kStatus, "GetStatus");
    return reply.value().value(key);
}

bool GuardTest::stands()
{
    return Network::run("nft list table inet taloantivirus 2>&1 | grep -q 'policy drop'");
}

QByteArray GuardTest::log()
{
    log_ += service_->readAll();
    return log_;
}

void GuardTest::isOffAtFirst()
{
    QVERIFY(status("guardsMachine").toBool());
    QCOMPARE(status("firewall").toString(), QString("off"));
    QVERIFY(!stands());
}

void GuardTest::switchesTheFirewall()
{
    QCOMPARE(Firewall::TriggerFirewall(1), 0);
    QVERIFY(stands());
    QCOMPARE(status("firewall").toString(), QString("on"));
    QProcess talo;
    talo.start(built("bin/talo"), {"status"});
    QVERIFY(talo.waitForFinished());
    QVERIFY(talo.readAllStandardOutput().contains("Firewall:    on, "));
    QVERIFY(QFile::exists(folder_->filePath("state/firewall-on")));
    QCOMPARE(Firewall::TriggerFirewall(1), 0);
    QCOMPARE(Firewall::TriggerFirewall(2), 0);
    QVERIFY(!stands());
    QCOMPARE(status("firewall").toString(), QString("off"));
    QVERIFY(!QFile::exists(folder_->filePath("state/firewall-on")));
    QCOMPARE(Firewall::TriggerFirewall(2), 0);
    for (const int state : {0, 3, -1}) {
        QVERIFY(Firewall::TriggerFirewall(state) != 0);
        QCOMPARE(ask(caller_, kFirewall, "Trigger", {state}).errorName(), QString(kErrorInvalid));
    }
}

void GuardTest::followsTheSetting()
{
    QCOMPARE(libSettings::ApplyFirewallSetting(1), 0);
    QVERIFY(!stands());
    NotifySettingChange();
    QVERIFY(stands());
    QCOMPARE(libSettings::ApplyFirewallSetting(0), 0);
    NotifySettingChange();
    QVERIFY(!stands());
}

void GuardTest::keepsTheFirewallOverARestart()
{
    QCOMPARE(libSettings::ApplyFirewallSetting(1), 0);
    QCOMPARE(Firewall::TriggerFirewall(1), 0);
    service_.reset();
    QVERIFY(stands());
    QVERIFY(Network::run("nft flush ruleset"));
    start();
    QTRY_COMPARE_WITH_TIMEOUT(status("firewall").toString(), QString("on"), kSoon);
    QVERIFY(stands());
    // What was left standing against the setting goes.
    QCOMPARE(libSettings::ApplyFirewallSetting(0), 0);
    start();
    QTRY_COMPARE_WITH_TIMEOUT(status("firewall").toString(), QString("off"), kSoon);
    QVERIFY(!stands());
}

void GuardTest::mendsWhatOthersDo()
{
    QCOMPARE(Firewall::TriggerFirewall(1), 0);
    QVERIFY(Network::run("nft flush ruleset"));
    QTRY_VERIFY_WITH_TIMEOUT(stands(), kSoon);
    QTRY_VERIFY2_WITH_TIMEOUT(
        log().contains("somebody has removed the firewall's rules; they are in place"), log_,
        kSoon);
    QVERIFY(Network::run("nft insert rule inet taloantivirus input tcp dport 22 accept"));
    QTRY_VERIFY_WITH_TIMEOUT(
        !Network::run("nft list table inet taloantivirus | grep -q 'dport 22'"), kSoon);
    QTRY_VERIFY2_WITH_TIMEOUT(
        log().contains("somebody has changed the firewall's rules; they are in place"), log_,
        kSoon);
    // While it is off, what others do is no business of ours.
    QCOMPARE(Firewall::TriggerFirewall(2), 0);
    QVERIFY(Network::run("nft add table inet taloantivirus"));
    QTRY_COMPARE_WITH_TIMEOUT(status("firewall").toString(), QString("altered"), kSoon);
    QTest::qWait(300);
    QVERIFY(!stands());
}

void GuardTest::namesOtherFirewalls()
{
    QVERIFY(Network::run("nft 'add table ip filter; add chain ip filter ufw-user-input'"));
    QCOMPARE(Firewall::TriggerFirewall(1), 0);
    QCOMPARE(status("otherFirewalls").toStringList(), QStringList{"ufw"});
    QTRY_VERIFY2_WITH_TIMEOUT(log().contains("another firewall is at work, ufw"), log_, kSoon);
    QVERIFY(Network::run("nft list table ip filter | grep -q ufw-user-input"));
}

void GuardTest::guardsNothingUnasked()
{
    start({});
    QVERIFY(!status("guardsMachine").toBool());
    QCOMPARE(ask(caller_, kFirewall, "Trigger", {1}).errorName(), QString(kErrorNotPermitted));
    QVERIFY(Firewall::TriggerFirewall(1) != 0);
    QCOMPARE(libSettings::ApplyFirewallSetting(1), 0);
    NotifySettingChange();
    QVERIFY(!stands());
}

void GuardTest::restoresAtBoot()
{
    service_.reset();
    QCOMPARE(QProcess::execute(built("bin/talo-firewall-restore"), {}), 0);
    QVERIFY(stands());
}

QTEST_GUILESS_MAIN(GuardTest)
#include "guardtest.moc"
