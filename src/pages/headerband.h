// The band across the top of a page: the way back and the page's title.
#pragma once

#include <QString>

class QToolButton;
class QWidget;

namespace talo
{

struct HeaderBand {
    QWidget *band;
    QToolButton *back; // the page connects clicked(bool) to the signal that leads back
};

// Builds the band as a child of `page`. `gap` is the space between the button and the title.
HeaderBand createHeaderBand(QWidget *page, const QString &title, int gap);

} // namespace talo
