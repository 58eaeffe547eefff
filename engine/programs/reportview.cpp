#include "programs/reportview.h"
#include "programs/words.h"

#include "engine/libreports.h"
#include "pages/viewreport.h"

#include <QApplication>
#include <QMessageBox>

namespace talo::programs
{

void showReport(const QString &key)
{
    std::string date;
    std::string time;
    std::string text;
    std::string type;
    if (libReports::GetReportData(key.toStdString(), date, time, text, type) != 0) {
        QMessageBox::warning(QApplication::activeWindow(), QStringLiteral("TALO Antivirus"),
                             Programs::tr("The report cannot be read. It may have been deleted, "
                                          "or the scan service is not running."));
        return;
    }
    ViewReport viewer(QString::fromStdString(text), QString::fromStdString(date),
                      QString::fromStdString(time), QString::fromStdString(type), nullptr);
    viewer.exec();
}

} // namespace talo::programs
