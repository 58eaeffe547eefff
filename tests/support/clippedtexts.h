// Whether the texts of a window are whole.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace talo::test
{

struct Measured {
    int measured = 0;       // how many texts
    QStringList complaints; // those that are clipped, cut or covered; each begins with the stop
};

// Measures the texts of labels, buttons, boxes, headers and cells of a visible window against the
// room they have. Only paths may be shortened.
Measured measureTexts(const QString &stop, QWidget *window);

} // namespace talo::test
