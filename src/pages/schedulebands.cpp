#include "pages/schedulebands.h"

#include "pages/boxes.h"

#include <QBoxLayout>
#include <QToolButton>

namespace talo
{

ScheduleMiddle createScheduleMiddle(QWidget *page, const QString &caption)
{
    auto *band = new QWidget(page);
    band->setObjectName("scheduelscanmiddle");
    band->setFixedSize(650, 310);
    band->setContentsMargins(10, 0, 10, 0);

    // The name is that of the scan page's button, whose icon comes with it.
    auto *label = new QToolButton(band);
    label->setObjectName("btnScheduleScanBottom");
    label->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    label->setIconSize(QSize(25, 25));
    label->setText(caption);
    label->setFocusPolicy(Qt::NoFocus);

    auto *column = createColumn(band);
    column->addSpacing(10);
    column->addWidget(label);
    column->addSpacing(10);
    return {band, column};
}

QWidget *createScheduleBottom(QWidget *page)
{
    auto *band = new QWidget(page);
    band->setObjectName("bottomschedulescan");
    band->setFixedSize(650, 50);
    band->setContentsMargins(0, 0, 0, 0);
    return band;
}

} // namespace talo
