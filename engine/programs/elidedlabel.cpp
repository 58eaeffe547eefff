#include "programs/elidedlabel.h"

#include <QEvent>
#include <QFontMetrics>

namespace talo::programs
{

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    // Names of files are not markup.
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString &text)
{
    if (text == fullText_)
        return;
    fullText_ = text;
    elide();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        elide();
}

void ElidedLabel::elide()
{
    const QString shown =
        fontMetrics().elidedText(fullText_, Qt::ElideMiddle, contentsRect().width());
    setText(shown);
    // Escaped, because a tool tip takes markup for what it is.
    setToolTip(shown == fullText_ ? QString() : fullText_.toHtmlEscaped());
}

} // namespace talo::programs
