#include "pages/headerband.h"

#include "pages/band.h"
#include "pages/boxes.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QLabel>
#include <QToolButton>

namespace talo
{

HeaderBand createHeaderBand(QWidget *page, const QString &title, int gap)
{
    QWidget *band = createBand(page, "scantop", 50);

    auto *back = new QToolButton(band);
    back->setText(QCoreApplication::translate("HeaderBand", " < BACK "));
    back->setCursor(Qt::PointingHandCursor);

    auto *row = createRow(band);
    row->addSpacing(10);
    row->addWidget(back);
    row->addSpacing(gap);
    row->addWidget(new QLabel(title, band), 0, Qt::AlignHCenter);
    row->addStretch(1);
    return {band, back};
}

} // namespace talo
