// A label of one line that leaves out the middle of a text that does not fit, and shows the whole
// as a tool tip.
#pragma once

#include <QLabel>

namespace talo::programs
{

class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    void setFullText(const QString &text);
    QString fullText() const { return fullText_; }
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void elide();

    QString fullText_;
};

} // namespace talo::programs
