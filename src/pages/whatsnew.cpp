#include "pages/whatsnew.h"

#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QLabel>
#include <QTimer>
#include <QToolButton>

namespace
{

constexpr int kSlideMilliseconds = 3000;
constexpr int kSlides = 4;
const char *const kSlideImages[kSlides] = {":/res/icon/first.png", ":/res/icon/second.png",
                                           ":/res/icon/third.png", ":/res/icon/fourth.png"};

} // namespace

WhatsNew::WhatsNew(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("whatsnew");
    createTop();
    createMiddle();
    startShow();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addWidget(middle_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void WhatsNew::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Whats New"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

void WhatsNew::createMiddle()
{
    middle_ = talo::createBand(this, "scheduelscanmiddle", 370);

    auto *sentence =
        new QLabel(tr("TALO Antivirus secure your computer from the emerging threats."), middle_);
    sentence->setObjectName("lblWhatsNew");
    slide_ = new QLabel(middle_);
    slide_->setPixmap(QPixmap(kSlideImages[0]));

    auto *column = talo::createColumn(middle_);
    column->addStretch(1);
    column->addWidget(sentence, 0, Qt::AlignHCenter);
    column->addStretch(1);
    column->addWidget(slide_);
    column->addStretch(1);
}

void WhatsNew::startShow()
{
    auto *timer = new QTimer(this);
    timer->setInterval(kSlideMilliseconds);
    connect(timer, SIGNAL(timeout()), this, SLOT(changeImg()));
    timer->start();
}

// The first tick shows the first slide again, so that it stays twice as long after the start.
void WhatsNew::changeImg()
{
    slide_->setPixmap(QPixmap(kSlideImages[nextSlide_ - 1]));
    ++nextSlide_;
    if (nextSlide_ > kSlides) {
        nextSlide_ = 1;
    }
}
