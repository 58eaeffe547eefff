#include "pages/configureschedulescan.h"

#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QToolButton>

ConfigureScheduleScan::ConfigureScheduleScan(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("configureschedulescan");
    createTop();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void ConfigureScheduleScan::createTop()
{
    const talo::HeaderBand header =
        talo::createHeaderBand(this, tr("Configure Schedule Scan"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowScheduleScanPage()));
    top_ = header.band;
}

// Without fields there is nothing to clear or to fill.
void ConfigureScheduleScan::clearAllDataFields() {}

void ConfigureScheduleScan::setAllDataFieldsToEdit(QString /*name*/, int /*type*/, int /*weekday*/,
                                                   int /*hour*/, int /*minute*/)
{
}
