// Settings and exclusions on a bus of their own: who asks what, and what is answered.
#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QTest>

#include <unistd.h>

using namespace talo::interface;

class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersEveryGroup();
    void storesAndKeeps();
    void refusesWrongValues_data();
    void refusesWrongValues();
    void takesUpChanges();
    void keepsExclusionsInOrder();
    void judgesExclusionsByTheirBytes();
    void exportsAndImports();
    void refusesDamagedImports();
    void guardsUsbStorage();
    void refusesOtherUsers();

private:
    void start();
    void restart();
    QDBusMessage settings(const char *method, const QVariantList &arguments = {});
    QDBusMessage apply(const char *group, const SettingMap &values);
    SettingMap get(const char *group);
    int exclude(const QByteArray &text, int kind, const char *method = "Add");
    QByteArray exported();

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    QDBusConnection caller_{QStringLiteral("caller")};
};

void SettingsTest::initTestCase()
{
    registerTypes();
}

void SettingsTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(folder_->isValid() && !bus_->address().isEmpty());
    caller_ = bus_->connect("caller");
    start();
}

void SettingsTest::cleanup()
{
    service_.reset();
    bus_.reset();
    folder_.reset();
}

void SettingsTest::start()
{
    service_ = startService(*bus_, folder_->filePath("state"));
    QVERIFY(service_ != nullptr);
}

void SettingsTest::restart()
{
    service_->terminate();
    QVERIFY(service_->waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    start();
}

QDBusMessage SettingsTest::settings(const char *method, const QVariantList &arguments)
{
    return ask(caller_, kSettings, method, arguments);
}

QDBusMessage SettingsTest::apply(const char *group, const SettingMap &values)
{
    return settings("Apply", {QString(group), QVariant::fromValue(values)});
}

SettingMap SettingsTest::get(const char *group)
{
    const QDBusReply<SettingMap> reply = settings("Get", {QString(group)});
    return reply.isValid() ? reply.value() : SettingMap();
}

int SettingsTest::exclude(const QByteArray &text, int kind, const char *method)
{
    const QDBusReply<int> reply = ask(caller_, kExclusions, method, {text, kind});
    return reply.isValid() ? reply.value() : -1;
}

QByteArray SettingsTest::exported()
{
    return settings("Export").arguments().value(0).toByteArray();
}

void SettingsTest::answersEveryGroup()
{
    QCOMPARE(get("General"), (SettingMap{{"ScanPacked", 1}, {"ScanArchives", 1}}));
    QCOMPARE(get("ScanActions"), (SettingMap{{"InfectedFirst", 301},
                                             {"InfectedSecond", 303},
                                             {"SuspectedFirst", 304},
                                             {"SuspectedSecond", 304},
                                             {"HiddenFirst", 301},
                                             {"HiddenSecond", 303}}));
    QCOMPARE(get("ExternalDrive"), (SettingMap{{"ScanOnArrival", 1}}));
    QCOMPARE(get("Firewall"), (SettingMap{{"On", 0}}));
    QCOMPARE(get("Update"), (SettingMap{{"Automatic", 1}, {"Frequency", 2}}));
    QCOMPARE(get("DeviceControl"), (SettingMap{{"Blocked", 0}}));
    for (const char *group : {"", "general", "Nonsense", "TALO Antivirus Settings"})
        for (const char *method : {"Get", "ApplyDefault"})
            QCOMPARE(settings(method, {QString(group)}).errorName(), QString(kErrorInvalid));
}

void SettingsTest::storesAndKeeps()
{
    QCOMPARE(apply("General", {{"ScanPacked", 0}}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(apply("Update", {{"Automatic", 0}, {"Frequency", 3}}).type(),
             QDBusMessage::ReplyMessage);
    QCOMPARE(apply("Firewall", {{"On", 1}}).type(), QDBusMessage::ReplyMessage);
    restart();
    QCOMPARE(get("General"), (SettingMap{{"ScanPacked", 0}, {"ScanArchives", 1}}));
    QCOMPARE(get("Update"), (SettingMap{{"Automatic", 0}, {"Frequency", 3}}));
    QCOMPARE(get("Firewall"), (SettingMap{{"On", 1}}));
    QCOMPARE(settings("ApplyDefault", {QString("Update")}).type(), QDBusMessage::ReplyMessage);
    restart();
    QCOMPARE(get("Update"), (SettingMap{{"Automatic", 1}, {"Frequency", 2}}));
    QCOMPARE(get("General"), (SettingMap{{"ScanPacked", 0}, {"ScanArchives", 1}}));
}

void SettingsTest::refusesWrongValues_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<SettingMap>("values");
    QTest::newRow("no group") << "" << SettingMap{{"ScanPacked", 0}};
    QTest::newRow("no such group") << "Everything" << SettingMap{{"ScanPacked", 0}};
    QTest::newRow("no values") << "General" << SettingMap();
    QTest::newRow("no such key") << "General" << SettingMap{{"ScanPacked", 0}, {"Frequency", 1}};
    QTest::newRow("too large") << "General" << SettingMap{{"ScanPacked", 0}, {"ScanArchives", 2}};
    QTest::newRow("negative") << "General" << SettingMap{{"ScanPacked", -1}};
    QTest::newRow("second action") << "ScanActions" << SettingMap{{"InfectedSecond", 301}};
    QTest::newRow("first action") << "ScanActions" << SettingMap{{"InfectedFirst", 305}};
    QTest::newRow("frequency") << "Update" << SettingMap{{"Automatic", 0}, {"Frequency", 4}};
}

void SettingsTest::refusesWrongValues()
{
    QFETCH(QString, group);
    QFETCH(SettingMap, values);
    const QByteArray before = exported();
    QCOMPARE(settings("Apply", {group, QVariant::fromValue(values)}).errorName(),
             QString(kErrorInvalid));
    QCOMPARE(exported(), before);
}

void SettingsTest::takesUpChanges()
{
    service_->terminate();
    QVERIFY(service_->waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
    Program service; // whose log can be read
    service.start(built("bin/talod"),
                  {"--bus", bus_->address(), "--state", folder_->filePath("state")});
    QTRY_VERIFY_WITH_TIMEOUT(bus_->owned(), kSoon);
    apply("Update", {{"Frequency", 1}});
    apply("General", {{"ScanPacked", 1}}); // as it was
    for (int time = 0; time < 3; ++time)
        QCOMPARE(settings("NotifyChange").type(), QDBusMessage::ReplyMessage);
    service.terminate();
    QVERIFY(service.waitForFinished());
    const QByteArray said = service.readAllStandardError();
    QVERIFY2(said.contains("settings Update taken up"), said);
    QCOMPARE(said.count(" taken up"), 1);
}

void SettingsTest::keepsExclusionsInOrder()
{
    QCOMPARE(exclude("/srv/b", 401), 0);
    QCOMPARE(exclude("iso", 402), 0);
    QCOMPARE(exclude("/srv/\xc3\xa4 ", 401), 0);
    QCOMPARE(exclude("Tmp", 402), 0);
    QCOMPARE(exclude("/srv/b/", 401), 702);
    QCOMPARE(exclude(".iso", 402), 701);
    QCOMPARE(exclude("srv", 401), 703);
    QCOMPARE(exclude("ISO", 402, "Remove"), 705);
    restart();
    const QDBusMessage list = ask(caller_, kExclusions, "List");
    QCOMPARE(list.arguments().value(0).toStringList(),
             (QStringList{"/srv/b", QString::fromUtf8("/srv/\xc3\xa4 ")}));
    QCOMPARE(list.arguments().value(1).toStringList(), (QStringList{"iso", "Tmp"}));
    QCOMPARE(exclude("/srv/b", 401, "Remove"), 0);
    QCOMPARE(exclude("/srv/b", 401, "Remove"), 705);
    for (const char *method : {"Add", "Remove"})
        for (const int kind : {0, -1, 400, 403})
            QCOMPARE(ask(caller_, kExclusions, method, {QByteArray("/x"), kind}).errorName(),
                     QString(kErrorInvalid));
}

void SettingsTest::judgesExclusionsByTheirBytes()
{
    QCOMPARE(exclude("/srv/\xff", 401), 703);
    QCOMPARE(exclude(QByteArray("/srv\0x", 6), 401), 703);
    QCOMPARE(exclude(QByteArray("/") + QByteArray(4096, 'x'), 401), 703);
    QCOMPARE(exclude(QByteArray(8 << 20, 'x'), 402), 703);
    QVERIFY(ask(caller_, kExclusions, "List").arguments().value(0).toStringList().isEmpty());
}

void SettingsTest::exportsAndImports()
{
    apply("ScanActions", {{"HiddenFirst", 304}});
    exclude("/srv", 401);
    const QByteArray text = exported();
    QVERIFY(text.contains("\nHiddenFirst=304\n") && text.contains("\nLocation1=/srv\n"));
    settings("ApplyDefault", {QString("ScanActions")});
    exclude("/srv", 401, "Remove");
    exclude("old", 402);
    QCOMPARE(settings("Import", {text}).arguments().value(0).toInt(), 0);
    QCOMPARE(exported(), text);
    restart();
    QCOMPARE(exported(), text);
}

void SettingsTest::refusesDamagedImports()
{
    exclude("/srv", 401);
    const QByteArray text = exported();
    for (const QByteArray &damaged :
         {QByteArray(), text.left(text.size() / 2), text + "[DeviceControl]\nBlocked=1\n",
          QByteArray(text).replace("Version=1", "Version=2"),
          QByteArray(text).replace("ScanPacked=1", "ScanPacked=2"),
          text + QByteArray(5 << 20, '\n'), QByteArray(20 << 20, '\0')}) {
        QCOMPARE(settings("Import", {damaged}).arguments().value(0).toInt(), 2);
        QCOMPARE(exported(), text);
    }
}

void SettingsTest::guardsUsbStorage()
{
    QCOMPARE(apply("DeviceControl", {{"Blocked", 1}}).errorName(), QString(kErrorPasswordNeeded));
    QCOMPARE(settings("ApplyDefault", {QString("DeviceControl")}).errorName(),
             QString(kErrorPasswordNeeded));
    QCOMPARE(get("DeviceControl"), (SettingMap{{"Blocked", 0}}));
}

void SettingsTest::refusesOtherUsers()
{
    if (geteuid() != 0)
        QSKIP("only root can call as another user");
    const QByteArray before = exported();
    QByteArray other = before;
    other.replace("ScanPacked=1", "ScanPacked=0");
    QStringList valid;
    for (const char letter : other)
        valid += QString::number(static_cast<uchar>(letter));
    const QString set = kSettings;
    const QString leaveOut = kExclusions;
    const QList<QStringList> calls{
        {set + ".Get", "string:General"},
        {set + ".Apply", "string:General", "dict:string:int32:ScanPacked,0"},
        {set + ".Apply", "string:Firewall", "dict:string:int32:On,1"},
        {set + ".Apply", "string:DeviceControl", "dict:string:int32:Blocked,1"},
        {set + ".Apply", "string:Nonsense", "dict:string:int32:x,1"},
        {set + ".ApplyDefault", "string:General"},
        {set + ".NotifyChange"},
        {set + ".Export"},
        {set + ".Import", "array:byte:" + valid.join(',')},
        {leaveOut + ".Add", "array:byte:47", "int32:401"},
        {leaveOut + ".Remove", "array:byte:47", "int32:401"},
        {leaveOut + ".List"},
    };
    for (const QStringList &call : calls) {
        Program stranger(65534);
        stranger.start("dbus-send", QStringList{"--bus=" + bus_->address(), "--print-reply",
                                                QString("--dest=") + kService, kObject} +
                                        call);
        QVERIFY(stranger.waitForFinished());
        const QByteArray said = stranger.readAllStandardError();
        QVERIFY2(said.contains(kErrorNotPermitted), call[0].toLatin1() + ": " + said);
    }
    QCOMPARE(exported(), before);
}

QTEST_GUILESS_MAIN(SettingsTest)
#include "settingstest.moc"
