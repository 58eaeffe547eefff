#include "pages/duplicatefinder.h"

#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QToolButton>

DuplicateFinder::DuplicateFinder(QWidget *parent) : QWidget(parent)
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

void DuplicateFinder::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Duplicate Finder"), 150);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowAdvacnedToolsPage()));
    top_ = header.band;
}
