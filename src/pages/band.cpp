#include "pages/band.h"

#include <QToolButton>

namespace talo
{

QWidget *createBand(QWidget *parent, const QString &name, int height)
{
    auto *band = new QWidget(parent);
    band->setObjectName(name);
    band->setFixedSize(650, height);
    band->setContentsMargins(0, 0, 0, 0);
    return band;
}

QToolButton *createPicture(QWidget *parent, const QString &name, int size, const QString &text,
                           Qt::ToolButtonStyle style)
{
    auto *picture = new QToolButton(parent);
    picture->setObjectName(name);
    picture->setToolButtonStyle(style);
    picture->setIconSize(QSize(size, size));
    picture->setText(text);
    picture->setFocusPolicy(Qt::NoFocus);
    return picture;
}

} // namespace talo
