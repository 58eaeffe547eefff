#include "pages/settingswidgets.h"

#include "pages/boxes.h"

#include <QBoxLayout>
#include <QToolButton>

namespace talo
{

QToolButton *createSwitch(QWidget *parent, const QString &name, const QString &meaning)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setCheckable(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setAccessibleName(meaning);
    return button;
}

QHBoxLayout *createLabelledRow(QWidget *label, QWidget *control, Qt::Alignment alignment)
{
    auto *row = createRow();
    row->addStretch(1);
    row->addWidget(label, 0, Qt::AlignLeft);
    row->addStretch(1);
    row->addWidget(control, 0, alignment);
    row->addStretch(1);
    return row;
}

} // namespace talo
