#include "pages/screencentre.h"

#include <QGuiApplication>
#include <QScreen>
#include <QStyle>
#include <QWidget>

namespace talo
{

void centreOnScreen(QWidget *window)
{
    const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
    window->setGeometry(
        QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, window->size(), free));
}

} // namespace talo
