// What is compiled into the panel: fonts, icons and the style sheet.
#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QImage>
#include <QRegularExpression>
#include <QResource>
#include <QSet>
#include <QtTest>

namespace
{

const char kSheet[] = ":/res/style/style.qss";

const char *const kIcons[] = {
    "talo.png",
    "logo.png",
    "home-normal.png",
    "settings-normal.png",
    "help-normal.png",
    "home-pressed.png",
    "settings-pressed.png",
    "help-pressed.png",
    "facebook-normal.png",
    "facebook-hover.png",
    "twitter-normal.png",
    "twitter-hover.png",
    "googleplus-normal.png",
    "googleplus-hover.png",
    "scan-normal.png",
    "scan-hover.png",
    "update-normal.png",
    "update-hover.png",
    "mail-normal.png",
    "mail-hover.png",
    "report-normal.png",
    "report-hover.png",
    "green-tick.png",
    "fullscan.png",
    "quickscan.png",
    "customscan.png",
    "schedulescan.png",
    "mobileapp.png",
    "whatsnew.png",
    "advanced.png",
    "datatheft.png",
    "duplicatefinder.png",
    "shredder.png",
    "app-store.png",
    "google-play-store.png",
    "windows-app-store.png",
    "first.png",
    "second.png",
    "third.png",
    "fourth.png",
    "backward.png",
    "forward.png",
    "report.png",
    "update.png",
    "virusdb.png",
    "help.png",
    "setting.png",
    "on.png",
    "off.png",
    "warning.png",
    "radio-check.png",
    "radio-uncheck.png",
    "install-background.jpg",
};

} // namespace

class ResourcesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void bundleHoldsExactlyItsFiles();
    void iconsCanBeShown_data();
    void iconsCanBeShown();
    void fontsCanBeLoaded_data();
    void fontsCanBeLoaded();
    void onlySheetIsCompressed();
    void sheetHasItsSections();
    void sheetKeepsToPalette();
    void sheetNamesOnlyIconsThatExist();
    void sheetHasShellRules_data();
    void sheetHasShellRules();

private:
    QString sheet_;
};

void ResourcesTest::initTestCase()
{
    QFile file(kSheet);
    QVERIFY(file.open(QIODevice::ReadOnly));
    sheet_ = QString::fromUtf8(file.readAll());
}

void ResourcesTest::bundleHoldsExactlyItsFiles()
{
    QStringList expected = {":/res/font/Gotham.ttf", ":/res/font/Bangla.ttf", kSheet};
    for (const char *icon : kIcons) {
        expected << QString(":/res/icon/") + icon;
    }
    QStringList found;
    QDirIterator files(":/res", QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        found << files.next();
    }
    expected.sort();
    found.sort();
    QCOMPARE(found, expected);
}

void ResourcesTest::iconsCanBeShown_data()
{
    QTest::addColumn<QString>("path");
    for (const char *icon : kIcons) {
        QTest::newRow(icon) << QString(":/res/icon/") + icon;
    }
}

void ResourcesTest::iconsCanBeShown()
{
    QFETCH(QString, path);
    QVERIFY(!QImage(path).isNull());
}

void ResourcesTest::fontsCanBeLoaded_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("Latin") << ":/res/font/Gotham.ttf";
    QTest::newRow("Bengali") << ":/res/font/Bangla.ttf";
}

void ResourcesTest::fontsCanBeLoaded()
{
    QFETCH(QString, path);
    QVERIFY(QFontDatabase::addApplicationFont(path) != -1);
}

void ResourcesTest::onlySheetIsCompressed()
{
    QDirIterator files(":/res", QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QCOMPARE(QResource(path).compressionAlgorithm(),
                 path == kSheet ? QResource::ZlibCompression : QResource::NoCompression);
    }
}

void ResourcesTest::sheetHasItsSections()
{
    for (const char *section : {"Sidebar Style", "Center Style", "Copyright Style"}) {
        const QRegularExpression banner(QString("/\\*[\\s-]*%1[\\s-]*\\*/").arg(section));
        QVERIFY2(banner.match(sheet_).hasMatch(), section);
    }
    QVERIFY(!sheet_.contains(QChar('\0')));
}

void ResourcesTest::sheetKeepsToPalette()
{
    const QSet<QString> palette = {"#282d31", "#0271b8", "#f0f9ff", "#f4f9ff", "#37b1fb", "#35affa",
                                   "#8f8f91", "#fe8c15", "#26c025", "#ff8c00", "#f2f2f2"};
    // Within a rule's braces, where a name of a widget cannot be mistaken for a colour.
    QRegularExpressionMatchIterator rules = QRegularExpression("\\{([^}]*)\\}").globalMatch(sheet_);
    int colours = 0;
    while (rules.hasNext()) {
        QRegularExpressionMatchIterator found =
            QRegularExpression("#[0-9A-Fa-f]{3,8}\\b").globalMatch(rules.next().captured(1));
        while (found.hasNext()) {
            const QString colour = found.next().captured(0);
            QVERIFY2(palette.contains(colour.toLower()), qPrintable(colour));
            ++colours;
        }
    }
    QVERIFY(colours > 0);
}

void ResourcesTest::sheetNamesOnlyIconsThatExist()
{
    QRegularExpressionMatchIterator found =
        QRegularExpression("url\\(([^)]*)\\)").globalMatch(sheet_);
    QVERIFY(found.hasNext());
    while (found.hasNext()) {
        const QString path = found.next().captured(1).remove('"').trimmed();
        QVERIFY2(QFile::exists(path), qPrintable(path));
    }
}

void ResourcesTest::sheetHasShellRules_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QString>("holds");
    for (const char *rule : {"#sidebar|#282D31",
                             "#center|white",
                             "#copyrights|12px",
                             "#taloicon|logo.png",
                             "#btnFacebook|facebook-normal.png",
                             "#btnFacebook:hover|facebook-hover.png",
                             "#btnTiwtter|twitter-normal.png",
                             "#btnGooglePlus:hover|googleplus-hover.png",
                             "#dlgManagePwd|white",
                             "#lblValidatePwd|#0271b8",
                             "#btnForgotPwd|underline",
                             "#btnForgotPwd QToolButton:hover|#0271b8",
                             "#btnApplyPwdForValidate|100px",
                             "#homemiddle QToolButton|#37B1FB",
                             "#homemiddle QToolButton:hover|#35AFFA",
                             "#lblSecureInfo|#26C025",
                             "#btnScan|scan-normal.png",
                             "#btnScan:hover|scan-hover.png",
                             "#btnShredder|duplicatefinder.png",
                             "#btnFullScanBottom|fullscan.png",
                             "#btnLeftNav|backward.png",
                             "#btnRightNav|forward.png",
                             "#scanmiddle|#f2f2f2",
                             "QHeaderView::section|#0271b8",
                             "QProgressBar::chunk|10px"}) {
        const QStringList parts = QString(rule).split('|');
        QTest::newRow(rule) << parts[0] << parts[1];
    }
}

void ResourcesTest::sheetHasShellRules()
{
    QFETCH(QString, selector);
    QFETCH(QString, holds);
    QString bare = sheet_;
    bare.remove(QRegularExpression("/\\*.*?\\*/", QRegularExpression::DotMatchesEverythingOption));
    QString declarations;
    for (const QString &rule : bare.split('}', Qt::SkipEmptyParts)) {
        QStringList selectors = rule.section('{', 0, 0).simplified().split(',');
        for (QString &each : selectors) {
            each = each.trimmed();
        }
        if (selectors.contains(selector)) {
            declarations += rule.section('{', 1).remove(' ');
        }
    }
    QVERIFY2(declarations.contains(holds, Qt::CaseInsensitive), qPrintable(declarations));
}

QTEST_MAIN(ResourcesTest)
#include "resources_test.moc"
