#include "pages/schedulebands.h"

#include "pages/band.h"
#include "pages/boxes.h"

#include <QBoxLayout>
#include <QToolButton>

namespace talo
{

ScheduleMiddle createScheduleMiddle(QWidget *page, const QString &caption)
{
    QWidget *band = createBand(page, "scheduelscanmiddle", 310);
    band->setContentsMargins(10, 0, 10, 0);

    // The name is that of the scan page's button, whose icon comes with it.
    QToolButton *label = createPicture(band, "btnScheduleScanBottom", 25, caption);

    auto *column = createColumn(band);
    column->addSpacing(10);
    column->addWidget(label);
    column->addSpacing(10);
    return {band, column};
}

} // namespace talo
