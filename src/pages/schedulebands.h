// The middle band that the list of scheduled scans and its editor have in common.
#pragma once

#include <QString>

class QVBoxLayout;
class QWidget;

namespace talo
{

struct ScheduleMiddle {
    QWidget *band;
    QVBoxLayout *column; // holds the caption; the page adds what is below it
};

ScheduleMiddle createScheduleMiddle(QWidget *page, const QString &caption);

} // namespace talo
