#include "pages/boxes.h"

#include <QBoxLayout>

namespace talo
{
namespace
{

template <typename Box> Box *createTightBox(QWidget *owner)
{
    auto *box = new Box(owner);
    box->setContentsMargins(0, 0, 0, 0);
    box->setSpacing(0);
    return box;
}

} // namespace

QHBoxLayout *createRow(QWidget *owner)
{
    return createTightBox<QHBoxLayout>(owner);
}

QVBoxLayout *createColumn(QWidget *owner)
{
    return createTightBox<QVBoxLayout>(owner);
}

void addSpread(QHBoxLayout *row, std::initializer_list<QWidget *> widgets, Qt::Alignment alignment)
{
    row->addStretch(1);
    for (QWidget *widget : widgets) {
        row->addWidget(widget, 0, alignment);
        row->addStretch(1);
    }
}

} // namespace talo
