#include "pages/scan.h"

#include "engine/liblastfullscandetails.h"
#include "engine/processchecks.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/messages.h"
#include "pages/startprogram.h"

#include <QBoxLayout>
#include <QDialog>
#include <QFileSystemModel>
#include <QGridLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>

// Everything that tells one kind of scan from the others. Its slide button and its band button
// share a name, and with it an icon of the style sheet.
struct Scan::Kind {
    const char *slideName;
    const char *buttonName;
    const char *title;
    const char *details;
    const char *start; // what a click on either button leads to
};

namespace
{

// Answers of IsProcessRunning(); any other value lets the scan start.
constexpr int kAlreadyRunning = 0;
constexpr int kLimitReached = -2;

// What the scan programs expect as their second argument.
const char kFullScanType[] = "1";
const char kCustomScanType[] = "2";
const char kQuickScanType[] = "3";

QToolButton *createArrow(QWidget *band, const QString &name, const QString &meaning)
{
    auto *arrow = new QToolButton(band);
    arrow->setObjectName(name);
    arrow->setIconSize(QSize(30, 30));
    arrow->setCursor(Qt::PointingHandCursor);
    arrow->setAccessibleName(meaning);
    return arrow;
}

} // namespace

const std::array<Scan::Kind, Scan::kKinds> &Scan::kinds()
{
    static const std::array<Kind, kKinds> kinds{{
        {"objFullScanSlide", "btnFullScanBottom", QT_TR_NOOP("Full Scan"),
         QT_TR_NOOP("Scan your PC for all available files and folders."), SLOT(startFullScan())},
        {"objQuickScanSlide", "btnQuickScanBottom", QT_TR_NOOP("Quick Scan"),
         QT_TR_NOOP("Checks your PC for threat activity in it's processes, \n"
                    "critical files, and other susceptible areas."),
         SLOT(startQuickScan())},
        {"objCustomScanSlide", "btnCustomScanBottom", QT_TR_NOOP("Custom Scan"),
         QT_TR_NOOP("Multiple scanning options that checks your entire\n"
                    "PC or only specific areas like your critical system\n"
                    "files and folders."),
         SLOT(startCustomScan())},
        {"objScheduleScanSlide", "btnScheduleScanBottom", QT_TR_NOOP("Schedule Scan"),
         QT_TR_NOOP("Configure date and time when you want the scan\n"
                    "to begin."),
         SIGNAL(ShowScheduleScanPage())},
    }};
    return kinds;
}

Scan::Scan(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("scan");
    createTop();
    createMiddle();
    createBottom();
    showSlide(0);
    createLastFullScanInfo();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(lblLastFullScanInfo_, 0, Qt::AlignRight);
    column->addWidget(middle_);
    column->addWidget(bottom_);
    setContentsMargins(0, 0, 0, 0);
}

void Scan::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Choose Scan Type"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

void Scan::createMiddle()
{
    middle_ = talo::createBand(this, "scanmiddle", 150);

    QToolButton *left = createArrow(middle_, "btnLeftNav", tr("Previous scan type"));
    connect(left, SIGNAL(clicked(bool)), this, SLOT(btnLeftNavClicked()));
    QToolButton *right = createArrow(middle_, "btnRightNav", tr("Next scan type"));
    connect(right, SIGNAL(clicked(bool)), this, SLOT(btnRightNavClicked()));

    slides_ = new QStackedWidget(middle_);
    slides_->setFixedSize(500, 150);
    for (const Kind &kind : kinds()) {
        slides_->addWidget(createSlide(kind));
    }

    auto *row = talo::createRow(middle_);
    row->addSpacing(10);
    row->addWidget(left);
    row->addStretch(1);
    row->addWidget(slides_);
    row->addStretch(1);
    row->addWidget(right);
    row->addSpacing(10);
}

QWidget *Scan::createSlide(const Kind &kind)
{
    auto *slide = new QWidget(slides_);
    slide->setObjectName(kind.slideName);

    auto *button = new QToolButton(slide);
    button->setObjectName(kind.buttonName);
    button->setFixedSize(70, 70);
    button->setIconSize(QSize(70, 70));
    button->setCursor(Qt::PointingHandCursor);
    button->setAccessibleName(tr(kind.title));
    connect(button, SIGNAL(clicked(bool)), this, kind.start);

    auto *title = new QLabel(tr(kind.title), slide);
    title->setObjectName("lblScanInfo");
    auto *details = new QLabel(tr(kind.details), slide);
    details->setObjectName("lblSubScanInfo");

    auto *texts = talo::createColumn();
    texts->addStretch(1);
    texts->addWidget(title);
    texts->addSpacing(5);
    texts->addWidget(details);
    texts->addStretch(1);

    auto *row = talo::createRow(slide);
    row->addStretch(1);
    row->addWidget(button);
    row->addStretch(1);
    row->addLayout(texts);
    row->addStretch(1);
    return slide;
}

void Scan::createBottom()
{
    bottom_ = talo::createBand(this, "", 150);

    band_ = new QGridLayout(bottom_);
    band_->setContentsMargins(0, 0, 0, 0);
    band_->setSpacing(0);
    for (int i = 0; i < kKinds; ++i) {
        bandButtons_[i] = createBandButton(kinds()[i]);
    }
}

QToolButton *Scan::createBandButton(const Kind &kind)
{
    auto *button = new QToolButton(bottom_);
    button->setObjectName(kind.buttonName);
    button->setFixedSize(120, 70);
    button->setIconSize(QSize(50, 50));
    button->setText(tr(kind.title));
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setCursor(Qt::PointingHandCursor);
    connect(button, SIGNAL(clicked(bool)), this, kind.start);
    return button;
}

void Scan::createLastFullScanInfo()
{
    lblLastFullScanInfo_ = new QLabel(this);
    lblLastFullScanInfo_->setObjectName("lblLastFullScanInfo");

    char buffer[100] = {};
    libLastFullScanDetails::GetLastFullScanDetails(buffer);
    const QString when = QString::fromUtf8(buffer, int(qstrnlen(buffer, sizeof buffer)));
    if (!when.trimmed().isEmpty()) {
        lblLastFullScanInfo_->setText(tr("Last full scan on : ") + when + " ");
    }
}

void Scan::btnLeftNavClicked()
{
    const int current = slides_->currentIndex();
    showSlide(current == 0 ? slides_->count() - 1 : current - 1);
}

void Scan::btnRightNavClicked()
{
    const int current = slides_->currentIndex();
    showSlide(current == slides_->count() - 1 ? 0 : current + 1);
}

// The band offers the kinds that are not on the slide, in cyclic order after the slide's own.
void Scan::showSlide(int index)
{
    slides_->setCurrentIndex(index);
    for (QToolButton *button : bandButtons_) {
        band_->removeWidget(button);
        button->hide();
    }
    for (int column = 1; column < kKinds; ++column) {
        QToolButton *button = bandButtons_[(index + column) % kKinds];
        band_->addWidget(button, 0, column);
        button->show();
    }
    orderForTab(index);
}

// The Tab key is to go as the eye does; the widgets' own order is that of the kinds.
void Scan::orderForTab(int index)
{
    QWidget *last = findChild<QWidget *>("btnLeftNav");
    const auto follow = [&last](QWidget *next) {
        setTabOrder(last, next);
        last = next;
    };
    follow(slides_->currentWidget()->findChild<QToolButton *>());
    follow(findChild<QWidget *>("btnRightNav"));
    for (int column = 1; column < kKinds; ++column) {
        follow(bandButtons_[(index + column) % kKinds]);
    }
}

void Scan::startFullScan()
{
    startUnlessRunning("FullScan", tr("Full Scan"), kFullScanType);
}

void Scan::startQuickScan()
{
    startUnlessRunning("QuickScan", tr("Quick Scan"), kQuickScanType);
}

void Scan::startUnlessRunning(const char *program, const QString &title, const char *type)
{
    switch (IsProcessRunning(program)) {
    case kAlreadyRunning:
        talo::showWarning(this, tr("%1 is already running.").arg(title));
        break;
    case kLimitReached:
        warnOfLimit(title);
        break;
    default:
        startProgram(program, {"/", type});
    }
}

void Scan::warnOfLimit(const QString &title)
{
    talo::showWarning(this, tr("%1 stopped, Maximum limit of scan launch is reached.").arg(title));
}

void Scan::startCustomScan()
{
    chooser_ =
        talo::createFileSystemChooser(tr("Select folder for Custom Scan"),
                                      QDir::AllEntries | QDir::AllDirs | QDir::NoDotAndDotDot);
    connect(chooser_.ok, SIGNAL(clicked()), this, SLOT(executeCustomScan()));
    connect(chooser_.tree, SIGNAL(clicked(QModelIndex)), this, SLOT(selectedItem(QModelIndex)));
    talo::runFileSystemChooser(chooser_);
}

void Scan::selectedItem(QModelIndex index)
{
    customPath_ = chooser_.model->filePath(index);
}

// Several custom scans may run at once, each on a path of its own.
void Scan::executeCustomScan()
{
    chooser_.dialog->accept();
    if (customPath_.isEmpty()) {
        talo::showWarning(this, tr("Kindly select path for custom scan."));
    } else if (IsProcessRunning("CustomScan") == kLimitReached) {
        warnOfLimit(tr("Custom Scan"));
    } else {
        startProgram("CustomScan",
                     {QString::fromUtf8(customPath_.toLocal8Bit().constData()), kCustomScanType});
    }
    customPath_.clear();
}
