#include "app/panelwalk.h"

#include "app/panelwalksteps.h"
#include "pages/signatureupdate.h"
#include "support/scriptedengine.h"

#include <QDialog>
#include <QDir>
#include <QTableWidget>
#include <QTextEdit>
#include <QToolButton>

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

void walkMainPages(PanelWalkSteps &walk)
{
    walk.stop("home");
    walk.go("btnMobileAppClicked");
    walk.stop("mobileapp");
    walk.go("btnWhatsNewClicked");
    for (const char *slide : {"whatsnew-1", "whatsnew-1-again", "whatsnew-2", "whatsnew-3"}) {
        walk.stop(slide);
        QMetaObject::invokeMethod(walk.page(), "changeImg");
    }
    walk.stop("whatsnew-4");
}

void walkScan(PanelWalkSteps &walk)
{
    walk.go("btnScanCliked");
    for (const char *slide : {"scan-full", "scan-quick", "scan-custom", "scan-schedule"}) {
        walk.stop(slide);
        walk.press(walk.named("btnRightNav"));
    }
    answer("IsProcessRunning", {0});
    walk.modal("scan-running", walk.named("btnFullScanBottom"));
    answer("IsProcessRunning", {-2});
    walk.modal("scan-limit", walk.named("btnFullScanBottom"));
    // First, for a visit may choose something in the chooser.
    walk.modal("", walk.named("btnCustomScanBottom"),
               [&](QDialog *chooser) { walk.modal("scan-nopath", walk.numbered(chooser, 0)); });
    walk.modal("scan-chooser", walk.named("btnCustomScanBottom"));
}

void walkSchedules(PanelWalkSteps &walk)
{
    const auto button = [&](int number) { return walk.numbered("bottomschedulescan", number); };
    walk.go("btnScheduleScanClicked");
    walk.stop("schedules");
    walk.select(-1);
    walk.modal("schedules-select", button(0));
    walk.modal("schedules-select-edit", button(1));
    walk.select(0);
    walk.modal("schedules-removed", button(0));
    walk.press(button(2));
    walk.stop("schedule-add");
    walk.modal("schedule-noname", button(1));
    walk.page()->findChild<QTextEdit *>()->setPlainText("Monthly1");
    for (const int refusal : {602, 603, 605, 606}) {
        answer("libScheduleScan::AddScheduleScan", {refusal});
        walk.modal(QString("schedule-refused-%1").arg(refusal), button(1));
    }
    answer("libScheduleScan::AddScheduleScan", {0});
    walk.modal("schedule-added", button(1));
    walk.go("btnScheduleScanClicked");
    walk.select(1);
    walk.press(button(1));
    walk.stop("schedule-edit");
    walk.modal("schedule-edited", button(1));
}

void walkReports(PanelWalkSteps &walk)
{
    const auto table = [&] { return walk.page()->findChild<QTableWidget *>(); };
    const auto view = [&] { emit table()->cellClicked(0, 2); };
    walk.go("btnReportClicked");
    walk.stop("reports");
    walk.modal("reports-calendar", walk.named("btnCalIcon"));
    walk.select(-1);
    walk.modal("reports-select", walk.numbered("bottomschedulescan", 0));
    walk.modal("report-viewer", view, [&](QDialog *viewer) {
        QToolButton *save = walk.numbered(viewer, 0);
        walk.modal("", save, [&](QDialog *chooser) {
            walk.modal("report-nofolder", walk.numbered(chooser, 0));
        });
        walk.modal("report-chooser", save);
        walk.modal("", save, [&](QDialog *chooser) {
            walk.choose(chooser, QDir::currentPath());
            walk.modal("report-saved", walk.numbered(chooser, 0));
        });
    });
    answer("libReports::GetReportData", {201});
    walk.modal("report-corrupted", view);
    walk.select(0);
    walk.modal("report-deleted", walk.numbered("bottomschedulescan", 0));
    answer("libReports::GetReportList", {205});
    walk.modal("reports-wrong-range", walk.named("btnApplyRptFilter"));
    answer("libReports::GetReportList", {204});
    walk.modal("reports-none", walk.named("btnApplyRptFilter"));
    walk.stop("reports-empty");
}

void walkUpdate(PanelWalkSteps &walk)
{
    walk.go("btnUpdateClicked");
    walk.stop("update");
    answer("IsProductUpdateRunning", {0});
    const auto buttons = walk.page()->findChildren<QToolButton *>("btnUpdateWidgets");
    walk.modal("update-running", buttons.first());
    walk.modal("update-running-program", buttons.last());
}

void walkHelp(PanelWalkSteps &walk)
{
    walk.go("btnHelpClicked");
    walk.stop("help-about");
    for (const char *tab : {"btnFaq", "btnLiveChat", "btnEmail"}) {
        walk.press(walk.named(tab));
        walk.stop(QString("help-%1").arg(tab).remove("btn").toLower());
    }
}

} // namespace

QString walkPanel(const Visit &visit)
{
    fillEngine();
    PanelWalkSteps walk(visit);
    walkMainPages(walk);
    walkScan(walk);
    walkSchedules(walk);
    walkReports(walk);
    walkUpdate(walk);
    walkTools(walk);
    walkSettings(walk);
    walkPasswords(walk);
    walkHelp(walk);
    return walk.fault();
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
