// Plays the desktop's web browser.
#pragma once

#include <QList>
#include <QObject>
#include <QUrl>

namespace talo::test
{

// While it lives, pages that the panel opens are noted here instead of being shown.
class Browser : public QObject
{
    Q_OBJECT

public:
    Browser();
    ~Browser() override;
    Browser(const Browser &) = delete;
    Browser &operator=(const Browser &) = delete;

    QList<QUrl> opened() const { return opened_; }

public slots:
    void open(const QUrl &url) { opened_ << url; }

private:
    QList<QUrl> opened_;
};

} // namespace talo::test
