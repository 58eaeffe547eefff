// How the scan window is put together.
#include "programs/scanwindow.h"

#include "programs/elidedlabel.h"
#include "programs/scanfigures.h"
#include "programs/threattable.h"
#include "programs/words.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QToolButton>
#include <QVBoxLayout>

namespace talo::programs
{

namespace
{

QIcon kindIcon(interface::ScanKind kind)
{
    switch (kind) {
    case interface::FullScan:
        return QIcon(QStringLiteral(":/res/icon/fullscan.png"));
    case interface::QuickScan:
        return QIcon(QStringLiteral(":/res/icon/quickscan.png"));
    case interface::CustomScan:
        break;
    }
    return QIcon(QStringLiteral(":/res/icon/customscan.png"));
}

QToolButton *createButton(QWidget *parent, const char *name, const QString &text)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(QLatin1String(name));
    button->setText(text);
    button->setCursor(Qt::PointingHandCursor);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

QLabel *createText(QWidget *parent, const char *name)
{
    auto *label = new QLabel(parent);
    label->setObjectName(QLatin1String(name));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

QWidget *ScanWindow::createTop()
{
    auto *band = new QWidget(this);
    band->setObjectName(QStringLiteral("scanwindowtop"));
    band->setFixedHeight(80);

    auto *icon = new QToolButton(band);
    icon->setObjectName(QStringLiteral("iconScanWindow"));
    icon->setIconSize(QSize(40, 40));
    icon->setFocusPolicy(Qt::NoFocus);
    icon->setAttribute(Qt::WA_TransparentForMouseEvents);
    icon->ensurePolished(); // the style sheet sets one icon for all kinds
    icon->setIcon(kindIcon(request_.kind));

    auto *title = new QLabel(kindTitle(request_.kind), band);
    title->setObjectName(QStringLiteral("lblScanTitle"));
    sub_ = new ElidedLabel(band);
    sub_->setObjectName(QStringLiteral("lblScanSub"));

    auto *texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addStretch();
    texts->addWidget(title);
    texts->addSpacing(5);
    texts->addWidget(sub_);
    texts->addStretch();

    auto *layout = new QHBoxLayout(band);
    layout->setContentsMargins(10, 0, 10, 0);
    layout->setSpacing(10);
    layout->addWidget(icon);
    layout->addLayout(texts, 1);
    return band;
}

QWidget *ScanWindow::createMiddle()
{
    auto *band = new QWidget(this);
    band->setObjectName(QStringLiteral("scanwindowmiddle"));

    figures_ = new ScanFigures(band);
    threats_ = new ThreatTable(model_, band);
    summary_ = createText(band, "lblScanStatus");
    note_ = createText(band, "lblScanCaption");
    signatures_ = createText(band, "lblScanCaption");
    summary_->hide();
    note_->hide();

    auto *layout = new QVBoxLayout(band);
    layout->setContentsMargins(20, 12, 20, 12);
    layout->setSpacing(10);
    layout->addWidget(figures_);
    layout->addWidget(threats_, 1);
    layout->addWidget(summary_);
    layout->addWidget(note_);
    layout->addStretch(); // takes the table's place where there is none
    layout->addWidget(signatures_);
    return band;
}

QWidget *ScanWindow::createBottom()
{
    auto *band = new QWidget(this);
    band->setObjectName(QStringLiteral("scanwindowbottom"));
    band->setFixedHeight(60);

    pause_ = createButton(band, "btnPauseScan", Programs::tr("PAUSE"));
    stop_ = createButton(band, "btnStopScan", Programs::tr("STOP"));
    view_ = createButton(band, "btnViewScanReport", Programs::tr("VIEW REPORT"));
    close_ = createButton(band, "btnCloseScan", Programs::tr("CLOSE"));
    view_->setMinimumWidth(130);
    view_->hide();
    close_->hide();
    connect(pause_, &QToolButton::clicked, this, &ScanWindow::pauseOrResume);
    connect(stop_, &QToolButton::clicked, this, &ScanWindow::stop);
    connect(view_, &QToolButton::clicked, this, &ScanWindow::viewReport);
    connect(close_, &QToolButton::clicked, this, &ScanWindow::close);

    auto *layout = new QHBoxLayout(band);
    layout->setContentsMargins(20, 0, 20, 0);
    layout->setSpacing(10);
    layout->addStretch();
    for (QToolButton *button : {pause_, stop_, view_, close_})
        layout->addWidget(button);
    return band;
}

} // namespace talo::programs
