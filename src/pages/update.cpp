#include "pages/update.h"

#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QToolButton>

Update::Update(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    createTop();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void Update::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Update"), 170);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

// Without labels for the versions there is nothing to reload.
void Update::setUpdateStatusInfo() {}
