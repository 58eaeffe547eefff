// The texts in which the panel gets its lists of reports and schedules. The first byte is the
// number of entries that the engine claims there are.
#include "target.h"

#include "engine/libreports.h"
#include "engine/libschedulescan.h"
#include "pages/report.h"
#include "pages/schedulescan.h"

#include <QApplication>
#include <QTableWidget>

namespace
{

std::string answer;
int answeredCount = 0;

} // namespace

int libReports::GetReportList(std::string &list, std::string, std::string, int *count)
{
    list = answer;
    *count = answeredCount;
    return 0;
}

int libReports::GetReportData(std::string, std::string &, std::string &, std::string &,
                              std::string &)
{
    return 203;
}

int libReports::DeleteReport(std::string)
{
    return 203;
}

int libReports::SaveReport(std::string, std::string)
{
    return 207;
}

int libScheduleScan::GetScheduleList(std::string &list, int *count)
{
    list = answer;
    *count = answeredCount;
    return 0;
}

int libScheduleScan::RemoveScheduleScan(const char *)
{
    return 604;
}

int libScheduleScan::GetScheduleScanDetails(const char *, int *, int *, int *, int *)
{
    return 604;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int count = 1;
    static char name[] = "panellists";
    static char *arguments[] = {name, nullptr};
    new QApplication(count, arguments); // never destroyed: neither are the pages
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    if (size == 0)
        return 0;
    static auto *const report = new Report;
    static auto *const schedules = new ScheduleScan;
    answer = fuzz::textOf(data + 1, size - 1);
    answeredCount = *data;
    report->fillAllReportTabelData();
    schedules->fillAllSchTabelData();
    fuzz::require(report->findChild<QTableWidget *>()->rowCount() == answeredCount);
    return 0;
}
