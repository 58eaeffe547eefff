// The pieces that pages are made of: bands as wide as a page, and words beside a picture.
#pragma once

#include <QString>
#include <Qt>

class QToolButton;
class QWidget;

namespace talo
{

// Without margins. `name` may be empty: a band without a look of its own takes that of its page.
QWidget *createBand(QWidget *parent, const QString &name, int height);

// The style sheet draws the picture by the name. It is a button for its looks alone, of no use to
// the keyboard; one of style ToolButtonIconOnly has its text for screen readers.
QToolButton *createPicture(QWidget *parent, const QString &name, int size, const QString &text,
                           Qt::ToolButtonStyle style = Qt::ToolButtonTextBesideIcon);

} // namespace talo
