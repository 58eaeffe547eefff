#include "app/panelwalk.h"

#include "app/app.h"
#include "pages/signatureupdate.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QPointer>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QtTest>

#include <memory>

namespace talo::test
{
namespace
{

const char kReport[] =
    "TALO Antivirus scan report\nReport: 2026-11-21 14:05:09\nType: Full Scan\nResult: Completed\n"
    "Duration: 12 min 4 s\nScanned: /\nFiles: 24700 (2.8 GB)\n    Clean: 24699 (2.8 GB)\n"
    "    Threats: 1 (12 kB)\n\n/home/user/Downloads/invoice.pdf.exe\n    Eicar-Test-Signature: "
    "moved to quarantine";

void answer(const char *function, Answer answer)
{
    ScriptedEngine::instance().answer(function, std::move(answer));
}

void fillEngine()
{
    ScriptedEngine::instance().reset();
    answer("libLastFullScanDetails::GetLastFullScanDetails", {0, {"2026-11-21 14:05:09"}});
    std::string reports;
    for (int day = 21; day > 1; --day) {
        reports += reports.empty() ? "" : ",";
        reports += "2026-11-" + std::string(day < 10 ? "0" : "") + std::to_string(day) +
                   " 14:05:09#" + (day % 2 ? "Scheduled Quick Scan" : "Full Scan");
    }
    answer("libReports::GetReportList", {0, {reports}, {20}});
    answer("libReports::GetReportData", {0, {"2026-11-21", "14:05:09", kReport, "Full Scan"}});
    answer("libScheduleScan::GetScheduleList",
           {0,
            {"Nightly1#Daily at 23:30#Quick Scan,Weekend1#Every Wednesday at 09:15#Full Scan"},
            {2}});
    answer("libScheduleScan::GetScheduleScanDetails", {0, {}, {2, 3, 9, 15}});
    answer("GetSigantureUpdateInfo", {0, {"27459", "2026-11-21", "13:40"}});
    answer("GetProductUpdateInfo", {0, {"1.0.0.0", "2026-11-20", "08:00"}});
    answer("libSettings::GetGeneralSettings", {0, {}, {1, 0}});
    answer("libSettings::GetScanActionSettings", {0, {}, {302, 304, 304, 304, 304, 304}});
    answer("libSettings::GetUpdateSettings", {0, {}, {1, 2}});
    answer("libSettings::GetDeviceControlSetting", {0, {}, {1}});
    answer("libExcludeSetting::GetExcludeScanList",
           {0,
            {"/home/user/Documents/A very long folder name/and one more below it/that ends here,"
             "/srv/backup",
             "iso,vmdk"},
            {2, 2}});
    answer("libPassword::IsPasswordExists", {0});
    answer("libPassword::getPwdProtectionStaus", {0});
    answer("libPassword::ValidatePassword", {1});
    Answer found{810, {}, {2, 5LL * 1024 * 1024}};
    found.groups = std::map<std::string, std::list<std::string>>{
        {"holiday.jpg", {"/home/user/Pictures/holiday.jpg", "/home/user/Desktop/holiday.jpg"}},
        {"report.pdf", {"/home/user/Documents/report.pdf", "/home/user/Downloads/report.pdf"}}};
    answer("libDuplicateFinder::DuplicateFinder", std::move(found));
}

class Walk
{
public:
    explicit Walk(Visit visit);
    QString go();

private:
    void visitMainPages();
    void visitScan();
    void visitSchedules();
    void visitReports();
    void visitViewer(QDialog *viewer);
    void visitUpdate();
    void visitTools();
    void visitDataTheft();
    void visitDuplicates();
    void visitShredder();
    void visitSettings();
    void visitExclusion(QDialog *dialog);
    void visitPasswords();
    void visitHelp();

    void stop(const QString &name) { visit_(name, window_.get()); }
    void go(const char *slot) { QMetaObject::invokeMethod(window_.get(), slot); }
    QWidget *page() const;
    QToolButton *named(const char *name) const;
    // The visible button of this number in an area of the page, since texts are translated.
    QToolButton *numbered(const char *area, int number) const;
    static QToolButton *numbered(QWidget *area, int number);
    void press(QWidget *button);
    // Opens a dialog or message, which is a stop, and closes it when `act` has used it.
    void modal(const QString &name, const std::function<void()> &open,
               const std::function<void(QDialog *)> &act = {});
    void modal(const QString &name, QWidget *button,
               const std::function<void(QDialog *)> &act = {});

    Visit visit_;
    QString fault_;
    std::unique_ptr<TaloAntivirus_Linux_App> window_;
};

Walk::Walk(Visit visit) : visit_(std::move(visit))
{
    fillEngine();
    window_ = std::make_unique<TaloAntivirus_Linux_App>(nullptr);
    window_->show();
}

QString Walk::go()
{
    if (!QTest::qWaitForWindowActive(window_.get()))
        return "the panel does not become the active window";
    visitMainPages();
    visitScan();
    visitSchedules();
    visitReports();
    visitUpdate();
    visitTools();
    visitSettings();
    visitPasswords();
    visitHelp();
    return fault_;
}

QWidget *Walk::page() const
{
    const auto *center = window_->findChild<QWidget *>("center");
    return center->findChild<QStackedWidget *>(QString(), Qt::FindDirectChildrenOnly)
        ->currentWidget();
}

QToolButton *Walk::named(const char *name) const
{
    for (QToolButton *button : page()->findChildren<QToolButton *>(name))
        if (button->isVisible())
            return button;
    return nullptr;
}

QToolButton *Walk::numbered(QWidget *area, int number)
{
    QList<QToolButton *> visible;
    for (QToolButton *button : area->findChildren<QToolButton *>())
        if (button->isVisible() && button->focusPolicy() != Qt::NoFocus)
            visible << button;
    return visible.value(number);
}

QToolButton *Walk::numbered(const char *area, int number) const
{
    for (QWidget *candidate : page()->findChildren<QWidget *>(area))
        if (QToolButton *button = numbered(candidate, number))
            return button;
    return nullptr;
}

void Walk::press(QWidget *button)
{
    if (!click(button) && fault_.isEmpty())
        fault_ = "a button cannot be pressed";
}

void Walk::modal(const QString &name, const std::function<void()> &open,
                 const std::function<void(QDialog *)> &act)
{
    QWidget *before = QApplication::activeModalWidget();
    bool met = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, window_.get(), [&] {
        const QPointer<QDialog> dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (met || !dialog || dialog == before || !dialog->isVisible())
            return;
        met = true;
        timer.stop();
        visit_(name, dialog);
        if (act)
            act(dialog);
        if (dialog && dialog->isVisible())
            dialog->reject();
    });
    timer.start(5);
    open();
    if (!QTest::qWaitFor([&] { return met; }) && fault_.isEmpty())
        fault_ = "nothing came for " + name;
}

void Walk::modal(const QString &name, QWidget *button, const std::function<void(QDialog *)> &act)
{
    modal(
        name, [&] { press(button); }, act);
}

void Walk::visitMainPages()
{
    stop("home");
    go("btnMobileAppClicked");
    stop("mobileapp");
    go("btnWhatsNewClicked");
    for (const char *slide : {"whatsnew-1", "whatsnew-1-again", "whatsnew-2", "whatsnew-3"}) {
        stop(slide);
        QMetaObject::invokeMethod(page(), "changeImg");
    }
    stop("whatsnew-4");
}

void Walk::visitScan()
{
    go("btnScanCliked");
    for (const char *slide : {"scan-full", "scan-quick", "scan-custom", "scan-schedule"}) {
        stop(slide);
        press(named("btnRightNav"));
    }
    answer("IsProcessRunning", {-2});
    modal("scan-limit", named("btnFullScanBottom"));
    modal("scan-chooser", named("btnCustomScanBottom"));
}

void Walk::visitSchedules()
{
    go("btnScheduleScanClicked");
    stop("schedules");
    modal("schedules-select", numbered("bottomschedulescan", 0));
    press(numbered("bottomschedulescan", 2));
    stop("schedule-add");
    modal("schedule-noname", numbered("bottomschedulescan", 1));
    go("btnScheduleScanClicked");
    page()->findChild<QTableWidget *>()->selectRow(1);
    press(numbered("bottomschedulescan", 1));
    stop("schedule-edit");
    modal("schedule-edited", numbered("bottomschedulescan", 1));
}

void Walk::visitReports()
{
    go("btnReportClicked");
    stop("reports");
    modal("reports-calendar", named("btnCalIcon"));
    modal("reports-select", numbered("bottomschedulescan", 0));
    auto *table = page()->findChild<QTableWidget *>();
    modal(
        "report-viewer", [=] { emit table->cellClicked(0, 2); },
        [this](QDialog *viewer) { visitViewer(viewer); });
}

void Walk::visitViewer(QDialog *viewer)
{
    QToolButton *save = numbered(viewer, 0);
    modal("report-chooser", save,
          [this](QDialog *chooser) { modal("report-nofolder", numbered(chooser, 0)); });
}

void Walk::visitUpdate()
{
    go("btnUpdateClicked");
    stop("update");
    answer("IsProductUpdateRunning", {0});
    modal("update-running", named("btnUpdateWidgets"));
}

void Walk::visitTools()
{
    go("btnAdvancedToolsClicked");
    stop("tools");
    visitDataTheft();
    visitDuplicates();
    visitShredder();
}

void Walk::visitDataTheft()
{
    go("btnDataTheftClicked");
    stop("datatheft");
    modal("datatheft-password", numbered("datatheftbottom", 0));
    answer("libPassword::IsPasswordExists", {-1});
    go("btnDataTheftClicked");
    stop("datatheft-nopassword");
    modal("datatheft-create", numbered("datatheftbottom", 0));
    answer("libPassword::IsPasswordExists", {0});
}

void Walk::visitDuplicates()
{
    go("btnDuplicateFinderClicked");
    stop("duplicates");
    modal("duplicates-chooser", numbered("DuplicateFinderbottom", 0), [&](QDialog *chooser) {
        if (!clickPath(chooser->findChild<QTreeView *>(), QDir::currentPath()))
            fault_ = "the folder cannot be chosen";
        press(numbered(chooser, 0));
    });
    modal("duplicates-found", numbered("DuplicateFinderbottom", 1));
    page()->findChild<QTreeWidget *>()->expandAll();
    stop("duplicates-results");
}

void Walk::visitShredder()
{
    go("btnShredderClicked");
    stop("shredder");
    modal("shredder-chooser", numbered("DuplicateFinderbottom", 0), [&](QDialog *chooser) {
        if (!clickPath(chooser->findChild<QTreeView *>(), QCoreApplication::applicationFilePath()))
            fault_ = "the file cannot be chosen";
        press(numbered(chooser, 0));
    });
    stop("shredder-list");
    modal("shredder-select", numbered("DuplicateFinderbottom", 2));
}

void Walk::visitSettings()
{
    go("btnSettingsClicked");
    stop("settings-general");
    press(named("btnScanActions"));
    stop("settings-actions");
    press(named("btnExternalDrive"));
    stop("settings-drive");
    press(named("btnExcludeScanList"));
    stop("settings-exclusions");
    modal("settings-exclusion", named("btnApplyGeneral"),
          [this](QDialog *dialog) { visitExclusion(dialog); });
    press(named("btnWebAndEmailSettings"));
    stop("settings-web");
    modal("settings-applied", named("btnApplyFirewall"));
    press(named("btnUpdateSettings"));
    stop("settings-update");

    QToolButton *importExport = page()->findChildren<QToolButton *>("btnImportExport").last();
    modal("settings-importexport", importExport,
          [this](QDialog *dialog) { modal("settings-chooser", numbered(dialog, 1)); });
}

void Walk::visitExclusion(QDialog *dialog)
{
    modal("settings-exclusion-empty", numbered(dialog, 1));
    dialog->findChild<QComboBox *>()->setCurrentIndex(1);
    visit_("settings-exclusion-location", dialog);
}

void Walk::visitPasswords()
{
    QToolButton *manage = page()->findChildren<QToolButton *>("btnImportExport").first();
    modal("password-manage", manage, [this](QDialog *dialog) {
        modal("password-change", numbered(dialog, 2));
        modal("password-reset", numbered(dialog, 1));
    });
    answer("libPassword::IsPasswordExists", {-1});
    modal("password-manage-none", manage,
          [this](QDialog *dialog) { modal("password-create", numbered(dialog, 1)); });
    answer("libPassword::IsPasswordExists", {0});
    answer("libPassword::getPwdProtectionStaus", {1});
    go("btnHomeClicked");
    modal(
        "password-gate", [this] { go("btnSettingsClicked"); },
        [this](QDialog *dialog) { modal("password-wrong", numbered(dialog, 1)); });
}

void Walk::visitHelp()
{
    go("btnHelpClicked");
    stop("help-about");
    for (const char *tab : {"btnFaq", "btnLiveChat", "btnEmail"}) {
        press(named(tab));
        stop(QString("help-%1").arg(tab).remove("btn").toLower());
    }
}

} // namespace

QString walkPanel(const Visit &visit)
{
    return Walk(visit).go();
}

void walkSignatureUpdate(const Visit &visit)
{
    SignatureUpdate window(nullptr);
    window.show();
    emit window.updateTotalSize(48213);
    emit window.updateRemainingSize(12040);
    emit window.updateDownloadSpeed(2150);
    emit window.updatePercentage(41.0F);
    emit window.updatePercentage(75.0F);
    visit("signatureupdate", &window);
    emit window.updateStatus(2);
    visit("signatureupdate-done", &window);
}

} // namespace talo::test
