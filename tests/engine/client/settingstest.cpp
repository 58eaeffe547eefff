// The operations for settings, exclusions and their file, as the panel calls them, against a real
// service.
#include "engine/firewall.h"
#include "engine/libexcludesetting.h"
#include "engine/libimportexportsetting.h"
#include "engine/libsettings.h"
#include "engine/notifysettingchange.h"
#include "engine/service/privatebus.h"
#include "support/soon.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using Exclude = libExcludeSetting;
using Transfer = libImportExportSetting;

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64(text.size()));
}

using Values = std::vector<int>;

// All that the panel can read, and -1 where it got nothing.
Values allValues()
{
    Values v(13, -1);
    libSettings::GetGeneralSettings(&v[0], &v[1]);
    libSettings::GetScanActionSettings(&v[2], &v[3], &v[4], &v[5], &v[6], &v[7]);
    libSettings::GetExternalDriveSettings(&v[8]);
    libSettings::GetFirewallSetting(&v[9]);
    libSettings::GetUpdateSettings(&v[10], &v[11]);
    libSettings::GetDeviceControlSetting(&v[12]);
    return v;
}

const Values kFirst{1, 1, 301, 303, 304, 304, 301, 303, 1, 0, 1, 2, 0};

struct Listed {
    std::string locations;
    std::string extensions;
    int locationCount = -1;
    int extensionCount = -1;
    int code = -1;
};

Listed listed()
{
    Listed list;
    list.code = Exclude::GetExcludeScanList(list.locations, list.extensions, &list.locationCount,
                                            &list.extensionCount);
    return list;
}

} // namespace

class ClientSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void settingsHoldAcrossARestart();
    void defaultsAreOfOneGroup();
    void valuesOutOfRangeAreRefusedAndTheOldKept();
    void usbStorageNeedsThePassword();
    void exclusionsAreListedInOrder();
    void exclusionsAreRefusedWithTheirCodes();
    void aFileMakesASecondStoreEqual();
    void anExportReplacesTheFileWholeOrNotAtAll();
    void anImportTakesARegularFileOnly();
    void aWrongFileChangesNothing();
    void withoutTheServiceNothingIsDone();

private:
    void start(const QString &state = QStringLiteral("state"));
    void stop();
    QByteArray place(const QString &name) const
    {
        return QFile::encodeName(folder_->filePath(name));
    }
    QString file() const { return folder_->filePath("Settings.ini"); }

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
};

void ClientSettingsTest::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
}

void ClientSettingsTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    start();
}

void ClientSettingsTest::cleanup()
{
    stop();
    folder_.reset();
}

void ClientSettingsTest::cleanupTestCase()
{
    bus_.reset();
}

void ClientSettingsTest::start(const QString &state)
{
    service_ = startService(*bus_, folder_->filePath(state));
    QVERIFY(service_ != nullptr);
}

void ClientSettingsTest::stop()
{
    if (!service_)
        return;
    service_->terminate();
    QVERIFY(service_->waitForFinished());
    service_.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
}

void ClientSettingsTest::settingsHoldAcrossARestart()
{
    QCOMPARE(allValues(), kFirst);
    QCOMPARE(libSettings::ApplyGeneralSettings(0, 1), 0);
    QCOMPARE(libSettings::ApplyScanActionSettings(304, 302, 303, 304, 302, 303), 0);
    QCOMPARE(libSettings::ApplyExternalDriveSettings(0), 0);
    QCOMPARE(libSettings::ApplyFirewallSetting(1), 0);
    QCOMPARE(libSettings::ApplyUpdateSettings(0, 3), 0);
    NotifySettingChange();
    const Values changed{0, 1, 304, 302, 303, 304, 302, 303, 0, 1, 0, 3, 0};
    QCOMPARE(allValues(), changed);
    stop();
    start();
    QCOMPARE(allValues(), changed);
    QCOMPARE(libSettings::GetGeneralSettings(nullptr, nullptr), 0);
}

void ClientSettingsTest::defaultsAreOfOneGroup()
{
    int (*const defaults[])() = {
        libSettings::ApplyDefaultGeneralSetting, libSettings::ApplyDefaultScanActionSetting,
        libSettings::ApplyDefaultExternalDriveSetting, libSettings::ApplyDefaultFirewallSettings,
        libSettings::ApplyDefaultUpdateSettings};
    const std::pair<std::size_t, std::size_t> groups[] = {
        {0, 2}, {2, 8}, {8, 9}, {9, 10}, {10, 12}};
    libSettings::ApplyGeneralSettings(0, 0);
    libSettings::ApplyScanActionSettings(303, 304, 303, 303, 304, 304);
    libSettings::ApplyExternalDriveSettings(0);
    libSettings::ApplyUpdateSettings(0, 0);
    Values expected = allValues();
    Values byDefault = kFirst;
    byDefault[9] = 1; // the firewall is off only until somebody says otherwise
    for (std::size_t group = 0; group < std::size(groups); ++group) {
        QCOMPARE(defaults[group](), 0);
        for (std::size_t value = groups[group].first; value < groups[group].second; ++value)
            expected[value] = byDefault[value];
        QCOMPARE(allValues(), expected);
    }
    QCOMPARE(allValues(), byDefault);
}

void ClientSettingsTest::valuesOutOfRangeAreRefusedAndTheOldKept()
{
    for (const int wrong : {-1, 2, 300, 305, 2147483647}) {
        QVERIFY(libSettings::ApplyGeneralSettings(wrong, 0) != 0);
        QVERIFY(libSettings::ApplyGeneralSettings(0, wrong) != 0);
        QVERIFY(libSettings::ApplyScanActionSettings(303, 303, 303, 303, 303, wrong) != 0);
        QVERIFY(libSettings::ApplyScanActionSettings(wrong, 303, 303, 303, 303, 303) != 0);
        QVERIFY(libSettings::ApplyExternalDriveSettings(wrong) != 0);
        QVERIFY(libSettings::ApplyFirewallSetting(wrong) != 0);
        QVERIFY(libSettings::ApplyUpdateSettings(wrong, 0) != 0);
    }
    QVERIFY(libSettings::ApplyScanActionSettings(303, 301, 303, 303, 303, 303) != 0);
    QVERIFY(libSettings::ApplyUpdateSettings(0, 4) != 0);
    QCOMPARE(allValues(), kFirst);
}

void ClientSettingsTest::usbStorageNeedsThePassword()
{
    QVERIFY(libSettings::ApplyDeviceControlSetting(1) != 0);
    QCOMPARE(allValues(), kFirst);
}

void ClientSettingsTest::exclusionsAreListedInOrder()
{
    Listed list = listed();
    QCOMPARE(list.code, 0);
    QCOMPARE(list.locations + list.extensions, std::string());
    QCOMPARE(list.locationCount, 0);
    QCOMPARE(list.extensionCount, 0);
    QCOMPARE(Exclude::AddExcludeSettings("/srv/z ", 401), 0);
    QCOMPARE(Exclude::AddExcludeSettings("ISO", 402), 0);
    QCOMPARE(Exclude::AddExcludeSettings("/srv/\xc3\xa4", 401), 0);
    QCOMPARE(Exclude::AddExcludeSettings("bak", 402), 0);
    stop();
    start();
    list = listed();
    QCOMPARE(list.locations, std::string("/srv/z ,/srv/\xc3\xa4"));
    QCOMPARE(list.extensions, std::string("ISO,bak"));
    QCOMPARE(list.locationCount, 2);
    QCOMPARE(list.extensionCount, 2);
    QCOMPARE(Exclude::RemoveExcludeSetting("/srv/z ", 401), 0);
    QCOMPARE(Exclude::RemoveExcludeSetting("bak", 402), 0);
    list = listed();
    QCOMPARE(list.locations, std::string("/srv/\xc3\xa4"));
    QCOMPARE(list.extensions, std::string("ISO"));
    std::string locations;
    std::string extensions;
    QCOMPARE(Exclude::GetExcludeScanList(locations, extensions, nullptr, nullptr), 0);
}

void ClientSettingsTest::exclusionsAreRefusedWithTheirCodes()
{
    QCOMPARE(Exclude::AddExcludeSettings(".iso", 402), 701);
    QCOMPARE(Exclude::AddExcludeSettings("i so", 402), 701);
    QCOMPARE(Exclude::AddExcludeSettings("iso", 402), 0);
    QCOMPARE(Exclude::AddExcludeSettings("IsO", 402), 702);
    for (const char *text : {"", "srv", "/a,b", "/a\nb", "/a\xff"})
        QCOMPARE(Exclude::AddExcludeSettings(text, 401), 703);
    QCOMPARE(Exclude::AddExcludeSettings(std::string("/a\0b", 4), 401), 703);
    QCOMPARE(Exclude::AddExcludeSettings("/srv", 403), 704);
    QCOMPARE(Exclude::RemoveExcludeSetting("Iso", 402), 705);
    QCOMPARE(Exclude::RemoveExcludeSetting("iso", 401), 705);
    QCOMPARE(listed().extensionCount, 1);
    QCOMPARE(listed().locationCount, 0);
}

void ClientSettingsTest::aFileMakesASecondStoreEqual()
{
    libSettings::ApplyScanActionSettings(302, 302, 302, 303, 304, 302);
    libSettings::ApplyUpdateSettings(0, 1);
    Exclude::AddExcludeSettings("/srv/a=b", 401);
    Exclude::AddExcludeSettings("iso", 402);
    const Values values = allValues();
    const Listed list = listed();
    const QByteArray folder = QFile::encodeName(folder_->path());
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 0);
    stop();
    start("second");
    QCOMPARE(allValues(), kFirst);
    QCOMPARE(Transfer::ImportSettings(folder.constData()), 0);
    QCOMPARE(allValues(), values);
    QCOMPARE(listed().locations, list.locations);
    QCOMPARE(listed().extensions, list.extensions);
}

void ClientSettingsTest::anExportReplacesTheFileWholeOrNotAtAll()
{
    const QByteArray folder = place("exports");
    QVERIFY(QDir().mkpath(folder));
    const QString target = folder + "/Settings.ini";
    QVERIFY(QFile::link("/etc/passwd", target));
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 0);
    // The link was replaced, not followed.
    QVERIFY(!QFileInfo(target).isSymLink());
    QVERIFY(content(target).startsWith("[TALO Antivirus Settings]\n"));
    libSettings::ApplyUpdateSettings(0, 0);
    QCOMPARE(Transfer::ExportSettings((folder + "/").constData()), 0);
    QVERIFY(content(target).contains("\nFrequency=0\n"));
    const auto names = [&] {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    };
    QCOMPARE(names(), QStringList{"Settings.ini"});

    // A path that the panel has lengthened already, and other places that are none.
    for (const QByteArray &wrong :
         {folder + "/Settings.ini", folder + "/missing", QByteArray(), QByteArray("/proc")})
        QCOMPARE(Transfer::ExportSettings(wrong.constData()), 1);
    QCOMPARE(Transfer::ExportSettings(nullptr), 1);
    QVERIFY(QFile::remove(target) && QDir().mkpath(target + "/full"));
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 1);
    QCOMPARE(names(), QStringList{"Settings.ini"});
}

void ClientSettingsTest::anImportTakesARegularFileOnly()
{
    const QByteArray folder = QFile::encodeName(folder_->path());
    const auto import = [&] { return Transfer::ImportSettings(folder.constData()); };
    QCOMPARE(Transfer::ImportSettings(nullptr), 1);
    QCOMPARE(Transfer::ImportSettings(""), 1);
    QCOMPARE(Transfer::ImportSettings("/no/such/folder"), 1);
    QCOMPARE(import(), 1);
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 0);
    QCOMPARE(import(), 0);
    QCOMPARE(Transfer::ImportSettings((folder + "/Settings.ini").constData()), 1);
    QVERIFY(QFile::rename(file(), folder_->filePath("elsewhere")));
    QVERIFY(QFile::link("elsewhere", file()));
    QCOMPARE(import(), 1);
    QVERIFY(QFile::remove(file()));
    QCOMPARE(mkfifo(place("Settings.ini").constData(), 0600), 0);
    QCOMPARE(import(), 1); // and at once
    QVERIFY(QFile::remove(file()));
    QVERIFY(QDir().mkpath(file()));
    QCOMPARE(import(), 1);
}

void ClientSettingsTest::aWrongFileChangesNothing()
{
    const QByteArray folder = QFile::encodeName(folder_->path());
    Exclude::AddExcludeSettings("iso", 402);
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 0);
    const QByteArray good = content(file());
    const QByteArray wrong[] = {
        QByteArray(),
        good.left(good.size() - 3),
        good + "[Password]\nPassword=secret\n",
        QByteArray(good).replace("Version=1", "Version=2"),
        QByteArray(good)
            .replace("ScanPacked=1", "ScanPacked=0")
            .replace("Frequency=2", "Frequency=9"),
        good + QByteArray(4 << 20, '\n'),
        QByteArray(64 << 20, 'x'),
    };
    for (const QByteArray &text : wrong) {
        write(file(), text);
        QCOMPARE(Transfer::ImportSettings(folder.constData()), 2);
        QCOMPARE(allValues(), kFirst);
        QCOMPARE(listed().extensions, std::string("iso"));
    }
}

void ClientSettingsTest::withoutTheServiceNothingIsDone()
{
    const QByteArray folder = QFile::encodeName(folder_->path());
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 0);
    const QByteArray before = content(file());
    stop();
    QCOMPARE(allValues(), Values(13, -1));
    int value = 7;
    QVERIFY(libSettings::GetFirewallSetting(&value) != 0);
    QCOMPARE(value, 7);
    QVERIFY(libSettings::ApplyGeneralSettings(1, 1) != 0);
    QVERIFY(libSettings::ApplyDefaultUpdateSettings() != 0);
    QCOMPARE(Exclude::AddExcludeSettings("/srv", 401), 704);
    QCOMPARE(Exclude::RemoveExcludeSetting("/srv", 401), 704);
    const Listed list = listed();
    QCOMPARE(list.code, 704);
    QCOMPARE(list.locationCount + list.extensionCount, 0);
    NotifySettingChange();
    QCOMPARE(Transfer::ExportSettings(folder.constData()), 1);
    QCOMPARE(Transfer::ImportSettings(folder.constData()), 3);
    QCOMPARE(content(file()), before);
    QVERIFY(Firewall::TriggerFirewall(1) != 0);
}

QTEST_GUILESS_MAIN(ClientSettingsTest)
#include "settingstest.moc"
