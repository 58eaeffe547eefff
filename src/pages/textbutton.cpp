#include "pages/textbutton.h"

#include <QToolButton>

namespace talo
{

QToolButton *createTextButton(QWidget *parent, const QString &name, const QString &text)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setText(text);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

} // namespace talo
