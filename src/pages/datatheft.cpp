#include "pages/datatheft.h"

#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QToolButton>

Datatheft::Datatheft(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("mobileapp");
    createTop();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void Datatheft::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Data Theft"), 150);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowAdvacnedToolsPage()));
    top_ = header.band;
}

// Without the choice on the page there is nothing to reload.
void Datatheft::UpdateDeviceConfig() {}
