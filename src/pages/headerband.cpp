#include "pages/headerband.h"

#include "pages/boxes.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QLabel>
#include <QToolButton>

namespace talo
{

HeaderBand createHeaderBand(QWidget *page, const QString &title, int gap)
{
    auto *band = new QWidget(page);
    band->setObjectName("scantop");
    band->setFixedSize(650, 50);
    band->setContentsMargins(0, 0, 0, 0);

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
