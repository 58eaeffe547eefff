#include "pages/schedulescan.h"

#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QToolButton>

ScheduleScan::ScheduleScan(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("schedulescan");
    createTop();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void ScheduleScan::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Schedule Scan"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowScanPage()));
    top_ = header.band;
}

// Without a table there is nothing to reload.
void ScheduleScan::fillAllSchTabelData() {}
