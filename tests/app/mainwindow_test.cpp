// How the main window is built and wired.
#include "app/app.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QApplication>
#include <QBoxLayout>
#include <QFile>
#include <QLabel>
#include <QScreen>
#include <QStackedWidget>
#include <QStyle>
#include <QTableWidget>
#include <QToolButton>
#include <QtTest>

#include <algorithm>
#include <memory>

using talo::test::layoutOf;
using talo::test::ScriptedEngine;

namespace
{

struct Way {
    const char *page;
    const char *signal;
    const char *slot;
};

const char *const kEdit = SIGNAL(EditConfigureScheduleScan(QString, int, int, int, int));
const char *const kEditSlot = SLOT(btnEditConfigureScheduleScanCliked(QString, int, int, int, int));

const Way kWays[] = {
    {"Home", SIGNAL(ShowScanPage()), SLOT(btnScanCliked())},
    {"Home", SIGNAL(ShowReportPage()), SLOT(btnReportClicked())},
    {"Home", SIGNAL(ShowSettingsPageForWebAndEmail()), SLOT(btnWebAndEmailSettingsClicked())},
    {"Home", SIGNAL(ShowUpdatePage()), SLOT(btnUpdateClicked())},
    {"Home", SIGNAL(ShowHelpPage()), SLOT(btnHelpClicked())},
    {"Home", SIGNAL(ShowMobileAppPage()), SLOT(btnMobileAppClicked())},
    {"Home", SIGNAL(ShowWhatsNewPage()), SLOT(btnWhatsNewClicked())},
    {"Home", SIGNAL(ShowAdvancedToolsPage()), SLOT(btnAdvancedToolsClicked())},
    {"Scan", SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
    {"Scan", SIGNAL(ShowScheduleScanPage()), SLOT(btnScheduleScanClicked())},
    {"ScheduleScan", SIGNAL(ShowScanPage()), SLOT(btnScanCliked())},
    {"ScheduleScan", SIGNAL(ShowConfigureScheduleScanPage()),
     SLOT(btnConfigureScheduleScanCliked())},
    {"ScheduleScan", kEdit, kEditSlot},
    {"ConfigureScheduleScan", SIGNAL(ShowScheduleScanPage()), SLOT(btnScheduleScanClicked())},
    {"Report", SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
    {"Update", SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
    {"MobileApp", SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
    {"WhatsNew", SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
    {"AdvancedTools", SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
    {"AdvancedTools", SIGNAL(ShowDataTheftPage()), SLOT(btnDataTheftClicked())},
    {"AdvancedTools", SIGNAL(ShowDuplicateFinderPage()), SLOT(btnDuplicateFinderClicked())},
    {"AdvancedTools", SIGNAL(ShowShredderPage()), SLOT(btnShredderClicked())},
    {"Datatheft", SIGNAL(ShowAdvacnedToolsPage()), SLOT(btnAdvancedToolsClicked())},
    {"Datatheft", SIGNAL(RefreshDashboard()), SLOT(refershDashBoard())},
    {"DuplicateFinder", SIGNAL(ShowAdvacnedToolsPage()), SLOT(btnAdvancedToolsClicked())},
    {"Shredder", SIGNAL(ShowAdvacnedToolsPage()), SLOT(btnAdvancedToolsClicked())},
};

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSlotsInOrder();
    void declaresNoSignals();
    void hasFixedSizeAndCentre();
    void stacksPagesInOrder();
    void buildsPagesInOrder();
    void connectsPagesAsListed();
    void startsOnHome();
    void laysOutSidebar();
    void sidebarButtons_data();
    void sidebarButtons();
    void socialButtons_data();
    void socialButtons();
    void laysOutCenter();
    void installsStyleSheet();
    void showsTypesOfReportsWhole();

private:
    QStackedWidget *stack() const;
    QWidget *page(const QString &className) const;

    std::unique_ptr<TaloAntivirus_Linux_App> window_;
};

void MainWindowTest::init()
{
    ScriptedEngine::instance().reset();
    window_ = std::make_unique<TaloAntivirus_Linux_App>(nullptr);
}

QStackedWidget *MainWindowTest::stack() const
{
    return window_->findChild<QWidget *>("center")->findChild<QStackedWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
}

QWidget *MainWindowTest::page(const QString &className) const
{
    for (int i = 0; i < stack()->count(); ++i) {
        if (className == stack()->widget(i)->metaObject()->className()) {
            return stack()->widget(i);
        }
    }
    return nullptr;
}

void MainWindowTest::declaresSlotsInOrder()
{
    const QStringList expected = {
        "btnHomeClicked()",
        "btnSettingsClicked()",
        "btnHelpClicked()",
        "btnScanCliked()",
        "btnUpdateClicked()",
        "btnReportClicked()",
        "btnScheduleScanClicked()",
        "btnConfigureScheduleScanCliked()",
        "btnWebAndEmailSettingsClicked()",
        "btnFacebookClicked()",
        "btnTiwtterClicked()",
        "btnGooglePlusClicked()",
        "btnEditConfigureScheduleScanCliked(QString,int,int,int,int)",
        "btnMobileAppClicked()",
        "btnWhatsNewClicked()",
        "btnAdvancedToolsClicked()",
        "btnDataTheftClicked()",
        "btnDuplicateFinderClicked()",
        "btnShredderClicked()",
        "btnApplyPwdClikced()",
        "btnCancelPwdClicked()",
        "refershDashBoard()",
        "btnForgotPwdClicked()",
    };
    QCOMPARE(talo::test::slotsOf(TaloAntivirus_Linux_App::staticMetaObject), expected);
}

void MainWindowTest::declaresNoSignals()
{
    QCOMPARE(talo::test::signalsOf(TaloAntivirus_Linux_App::staticMetaObject), QStringList());
}

void MainWindowTest::hasFixedSizeAndCentre()
{
    QCOMPARE(window_->minimumSize(), QSize(800, 450));
    QCOMPARE(window_->maximumSize(), QSize(800, 450));
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    QCOMPARE(window_->geometry(),
             QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, QSize(800, 450), available));
    QCOMPARE(window_->windowTitle(), QString());
    QCOMPARE(window_->contentsMargins(), QMargins());
    QCOMPARE(layoutOf(window_.get()), QStringList({"widget sidebar", "widget center"}));
    QCOMPARE(window_->layout()->contentsMargins(), QMargins());
    QCOMPARE(window_->layout()->spacing(), 0);
}

void MainWindowTest::stacksPagesInOrder()
{
    const QStringList expected = {"Home",
                                  "Settings",
                                  "Help",
                                  "Scan",
                                  "ScheduleScan",
                                  "ConfigureScheduleScan",
                                  "Report",
                                  "Update",
                                  "MobileApp",
                                  "WhatsNew",
                                  "AdvancedTools",
                                  "Datatheft",
                                  "DuplicateFinder",
                                  "Shredder"};
    QStringList found;
    for (int i = 0; i < stack()->count(); ++i) {
        found << stack()->widget(i)->metaObject()->className();
        QCOMPARE(stack()->widget(i)->size(), QSize(650, 420));
        QCOMPARE(stack()->widget(i)->parentWidget(), stack());
    }
    QCOMPARE(found, expected);
}

// What the pages read from the engine while they are built tells their order.
void MainWindowTest::buildsPagesInOrder()
{
    const QStringList inOrder = {"libLastFullScanDetails::GetLastFullScanDetails",
                                 "libScheduleScan::GetScheduleList", "libReports::GetReportList",
                                 "GetSigantureUpdateInfo"};
    QList<int> places;
    for (const auto &call : ScriptedEngine::instance().calls()) {
        const int place = inOrder.indexOf(QString::fromStdString(call.function));
        if (place >= 0) {
            places << place;
        }
    }
    QVERIFY(places.size() >= 2);
    QVERIFY(std::is_sorted(places.cbegin(), places.cend()));
}

// Taking a connection away tells whether it was there, and at the end whether there are others.
void MainWindowTest::connectsPagesAsListed()
{
    for (const Way &way : kWays) {
        QWidget *sender = page(way.page);
        QVERIFY2(QObject::disconnect(sender, way.signal, window_.get(), way.slot), way.signal);
    }
    for (int i = 0; i < stack()->count(); ++i) {
        QWidget *sender = stack()->widget(i);
        QVERIFY2(!QObject::disconnect(sender, nullptr, window_.get(), nullptr),
                 sender->metaObject()->className());
    }
}

void MainWindowTest::startsOnHome()
{
    QCOMPARE(stack()->currentIndex(), 0);
    QVERIFY(window_->findChild<QToolButton *>("btnHome")->isChecked());
    QVERIFY(!window_->findChild<QToolButton *>("btnSettings")->isChecked());
    QVERIFY(!window_->findChild<QToolButton *>("btnHelp")->isChecked());
}

void MainWindowTest::laysOutSidebar()
{
    auto *sidebar = window_->findChild<QWidget *>("sidebar");
    QCOMPARE(sidebar->minimumSize(), QSize(150, 450));
    QCOMPARE(sidebar->maximumSize(), QSize(150, 450));
    QCOMPARE(sidebar->contentsMargins(), QMargins());
    QCOMPARE(sidebar->layout()->contentsMargins(), QMargins());
    QCOMPARE(sidebar->layout()->spacing(), 0);
    const QString social = "row [stretch, widget btnFacebook, stretch, widget btnTiwtter, stretch, "
                           "widget btnGooglePlus, stretch]";
    QCOMPARE(layoutOf(sidebar), QStringList({"spacing 10", "widget taloicon", "spacing 10",
                                             "widget btnHome", "widget btnSettings",
                                             "widget btnHelp", "stretch", social, "spacing 10"}));
    auto *logo = sidebar->findChild<QToolButton *>("taloicon");
    QCOMPARE(logo->minimumSize(), QSize(150, 100));
    QCOMPARE(logo->maximumSize(), QSize(150, 100));
    QCOMPARE(logo->iconSize(), QSize(150, 50));
}

void MainWindowTest::sidebarButtons_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<int>("y");
    QTest::newRow("home") << "btnHome"
                          << " Home" << QByteArray(SLOT(btnHomeClicked())) << 120;
    QTest::newRow("settings") << "btnSettings"
                              << " Settings" << QByteArray(SLOT(btnSettingsClicked())) << 170;
    QTest::newRow("help") << "btnHelp"
                          << " Help" << QByteArray(SLOT(btnHelpClicked())) << 220;
}

void MainWindowTest::sidebarButtons()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, slot);
    auto *button = window_->findChild<QToolButton *>(name);
    QTEST(button->text(), "text");
    QCOMPARE(button->minimumSize(), QSize(150, 50));
    QCOMPARE(button->maximumSize(), QSize(150, 50));
    QCOMPARE(button->iconSize(), QSize(25, 25));
    QCOMPARE(button->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(button->isCheckable());
    window_->show();
    QTEST(button->y(), "y");
    QVERIFY(QObject::disconnect(button, SIGNAL(clicked(bool)), window_.get(), slot.constData()));
}

void MainWindowTest::socialButtons_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("slot");
    QTest::newRow("facebook") << "btnFacebook" << QByteArray(SLOT(btnFacebookClicked()));
    QTest::newRow("twitter") << "btnTiwtter" << QByteArray(SLOT(btnTiwtterClicked()));
    QTest::newRow("google") << "btnGooglePlus" << QByteArray(SLOT(btnGooglePlusClicked()));
}

void MainWindowTest::socialButtons()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, slot);
    auto *button = window_->findChild<QToolButton *>(name);
    QCOMPARE(button->iconSize(), QSize(20, 20));
    QCOMPARE(button->toolButtonStyle(), Qt::ToolButtonIconOnly);
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(QObject::disconnect(button, SIGNAL(clicked(bool)), window_.get(), slot.constData()));
}

void MainWindowTest::laysOutCenter()
{
    auto *center = window_->findChild<QWidget *>("center");
    QCOMPARE(center->minimumSize(), QSize(650, 450));
    QCOMPARE(center->maximumSize(), QSize(650, 450));
    QCOMPARE(layoutOf(center), QStringList({"widget QStackedWidget", "widget copyrights"}));
    QCOMPARE(center->layout()->contentsMargins(), QMargins());
    QCOMPARE(center->layout()->spacing(), 0);
    QCOMPARE(stack()->minimumSize(), QSize(650, 420));
    QCOMPARE(stack()->maximumSize(), QSize(650, 420));
    auto *copyrights = center->findChild<QLabel *>("copyrights");
    QCOMPARE(copyrights->minimumSize(), QSize(650, 30));
    QCOMPARE(copyrights->maximumSize(), QSize(650, 30));
    QVERIFY(!copyrights->text().isEmpty());
    QVERIFY(!copyrights->text().contains('\n'));
    window_->show();
    QCOMPARE(center->geometry(), QRect(150, 0, 650, 450));
    QCOMPARE(copyrights->geometry(), QRect(0, 420, 650, 30));
}

void MainWindowTest::installsStyleSheet()
{
    QFile sheet(":/res/style/style.qss");
    QVERIFY(sheet.open(QIODevice::ReadOnly));
    QCOMPARE(qApp->styleSheet(), QString::fromUtf8(sheet.readAll()));
    QVERIFY(!qApp->styleSheet().isEmpty());
    window_->show();
    for (const char *name : {"taloicon", "btnHome", "btnSettings", "btnHelp", "btnSecureLogo"}) {
        QVERIFY2(!window_->findChild<QToolButton *>(name)->icon().isNull(), name);
    }
}

// The widths of the columns are fixed, so the size of the letters must suit them.
void MainWindowTest::showsTypesOfReportsWhole()
{
    auto *table = page("Report")->findChild<QTableWidget *>();
    table->ensurePolished();
    QFont font("DejaVu Sans"); // the widest of those that desktops come with
    font.setPixelSize(table->font().pixelSize());
    QCOMPARE(QFontInfo(font).family(), QString("DejaVu Sans"));
    const int margin =
        table->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, table) + 1;
    const int room = table->columnWidth(1) - 1 - 2 * margin; // beside the line of the grid
    const int needed = QFontMetrics(font).horizontalAdvance("Scheduled Quick Scan");
    QVERIFY2(needed <= room, qPrintable(QString("%1 of %2").arg(needed).arg(room)));
}

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
