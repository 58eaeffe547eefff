#include "pages/signatureupdate.h"

#include "engine/updates.h"
#include "pages/boxes.h"
#include "pages/screencentre.h"
#include "pages/sigupdatethread.h"
#include "pages/textbutton.h"

#include <QApplication>
#include <QBoxLayout>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

SignatureUpdate *app_obj_ptr = nullptr;

namespace
{

// Final reports of the engine; every other one leaves the window as it is.
enum Status {
    Updated = 2,
    StoppedByUser = 3,
    StoppedByFault = 4,
    AlreadyLatest = 7,
    Unreachable = 8,
};

// From here on the engine no longer downloads but applies what has come.
constexpr int kLastDownloadPercentage = 80;

} // namespace

SignatureUpdate::SignatureUpdate(QWidget *parent) : QWidget(parent)
{
    setFixedSize(600, 260);
    setWindowFlags(Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint);
    setObjectName("SignatureUpdate");
    talo::centreOnScreen(this);
    createTop();
    createMiddle();
    createSigUpdateFinishMiddle();
    createBottom();
    loadStyle();

    auto *column = talo::createColumn(this);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(progressPanel_);
    column->addWidget(finishPanel_);
    column->addWidget(bottom_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);

    connect(this, SIGNAL(updateTotalSize(long long)), this, SLOT(updateTotalSizeStr(long long)));
    connect(this, SIGNAL(updateRemainingSize(long long)), this,
            SLOT(updateRemainingSizeStr(long long)));
    connect(this, SIGNAL(updateDownloadSpeed(int)), this, SLOT(updateDownloadSpeedStr(int)));
    connect(this, SIGNAL(updatePercentage(float)), this, SLOT(updatePercentageStr(float)));
    connect(this, SIGNAL(updateStatus(int)), this, SLOT(updateStatusStr(int)));
}

void SignatureUpdate::createTop()
{
    top_ = new QWidget(this);
    top_->setFixedSize(600, 80);
    top_->setContentsMargins(5, 0, 0, 0);

    auto *title = new QLabel(tr("Update"), top_);
    title->setObjectName("lblSigInfo");
    auto *details = new QLabel(
        tr("TALO Antivirus is installing the latest virus and spyware definitions."), top_);
    details->setObjectName("lblSubSigInfo");
    auto *icon = new QToolButton(top_);
    icon->setObjectName("iconUpdate");
    icon->setIconSize(QSize(40, 40));
    icon->setFocusPolicy(Qt::NoFocus);

    auto *texts = talo::createColumn();
    texts->addStretch();
    texts->addWidget(title);
    texts->addSpacing(5);
    texts->addWidget(details);
    texts->addStretch();

    auto *row = talo::createRow(top_);
    row->addWidget(icon);
    row->addSpacing(10);
    row->addLayout(texts);
    row->addSpacing(10);
}

void SignatureUpdate::createMiddle()
{
    progressPanel_ = new QWidget(this);
    progressPanel_->setObjectName("sigupdatemiddle");
    progressPanel_->setFixedSize(600, 100);
    progressPanel_->setContentsMargins(40, 0, 0, 0);

    lblStatus_ = new QLabel(tr("Please Wait! Checking for latest update."), progressPanel_);
    prg_ = new QProgressBar(progressPanel_);
    prg_->setObjectName("prg");
    prg_->setRange(0, 0);
    prg_->setTextVisible(false);
    btnStop_ = talo::createTextButton(progressPanel_, QString(), tr("STOP"));
    btnStop_->setEnabled(false);
    connect(btnStop_, SIGNAL(clicked(bool)), this, SLOT(btnStopSigUpdateClicked()));
    btnCancel_ = talo::createTextButton(progressPanel_, QString(), tr("CANCEL"));
    btnCancel_->setEnabled(false);
    connect(btnCancel_, SIGNAL(clicked(bool)), this, SLOT(btnCancelSigUpdateClicked()));

    auto *buttons = talo::createRow();
    buttons->addStretch();
    buttons->addWidget(btnStop_);
    buttons->addSpacing(10);
    buttons->addWidget(btnCancel_);
    buttons->addSpacing(50);

    auto *column = talo::createColumn(progressPanel_);
    column->addStretch();
    column->addWidget(lblStatus_);
    column->addStretch();
    column->addWidget(prg_);
    column->addStretch();
    column->addLayout(buttons);
    column->addStretch();
}

void SignatureUpdate::createSigUpdateFinishMiddle()
{
    finishPanel_ = new QWidget(this);
    finishPanel_->setObjectName("sigupdatemiddle");
    finishPanel_->setFixedSize(600, 100);

    lblOutcome_ = new QLabel(tr("Virus signature updated successfully !"), finishPanel_);
    lblOutcome_->setObjectName("lblScanStatus");
    btnFinish_ = talo::createTextButton(finishPanel_, QString(), tr("FINISH"));
    btnFinish_->hide();
    connect(btnFinish_, SIGNAL(clicked(bool)), this, SLOT(close()));

    auto *column = talo::createColumn(finishPanel_);
    column->addStretch();
    column->addWidget(lblOutcome_, 0, Qt::AlignHCenter);
    column->addStretch();
    column->addWidget(btnFinish_, 0, Qt::AlignHCenter);
    column->addStretch();
    finishPanel_->hide();
}

void SignatureUpdate::createBottom()
{
    bottom_ = new QWidget(this);
    bottom_->setObjectName("sigupdatebottom");
    bottom_->setFixedSize(600, 80);

    auto *first = talo::createRow();
    first->addSpacing(30);
    lblPercentage_ = addFigure(first, tr("Percentage"), "0 %");
    lblDownloadSpeed_ = addFigure(first, tr("Download Speed"), "0 KB/s");
    auto *second = talo::createRow();
    second->addSpacing(30);
    lblTotalSize_ = addFigure(second, tr("Total Size"), "0 KB");
    lblRemainingSize_ = addFigure(second, tr("Remaining Size"), "0 KB");

    auto *column = talo::createColumn(bottom_);
    column->addLayout(first);
    column->addLayout(second);
}

QLabel *SignatureUpdate::addFigure(QHBoxLayout *row, const QString &caption, const QString &initial)
{
    auto *name = new QLabel(caption, bottom_);
    name->setFixedSize(150, 20);
    auto *value = new QLabel(initial, bottom_);
    value->setFixedSize(150, 20);
    row->addWidget(name, 1);
    row->addStretch();
    row->addWidget(value, 2);
    row->addStretch();
    return value;
}

void SignatureUpdate::loadStyle()
{
    QFile sheet(":/res/style/style.qss");
    if (sheet.open(QIODevice::ReadOnly)) {
        qApp->setStyleSheet(QString::fromUtf8(sheet.readAll()));
    }
}

void engineCallBack(long long totalSize, long long remainingSize, float percentage,
                    int downloadSpeed, int status)
{
    emit app_obj_ptr->updateTotalSize(totalSize);
    emit app_obj_ptr->updateRemainingSize(remainingSize);
    emit app_obj_ptr->updatePercentage(percentage);
    emit app_obj_ptr->updateDownloadSpeed(downloadSpeed);
    emit app_obj_ptr->updateStatus(status);
}

// The worker has no parent: it goes on when the window is closed, until the engine returns.
void SignatureUpdate::startSignatureUpdate()
{
    app_obj_ptr = this;
    register_callback(engineCallBack);
    worker_ = new SignatureUpdateThread;
    connect(worker_, SIGNAL(sigUpdateCompleted()), this, SLOT(signatureUpdateComplet()));
    connect(worker_, SIGNAL(sigUpdateRetVal(int)), this, SLOT(handleSignatureUpdateRetVal(int)));
    connect(worker_, SIGNAL(sigUpdateCommPort(int)), this, SLOT(handleSigUpdateCommPort(int)));
    connect(worker_, SIGNAL(NoInternetConnection()), this, SLOT(handleNoInternetConnection()));
    worker_->start(QThread::InheritPriority);
}

void SignatureUpdate::handleSigUpdateCommPort(int port)
{
    commPort_ = port;
}

// There is something to stop only once the engine has told how much there is to do.
void SignatureUpdate::updateTotalSizeStr(long long total)
{
    lblTotalSize_->setText(tr("%1 KB").arg(total));
    if (total > 0) {
        btnStop_->setEnabled(true);
        btnCancel_->setEnabled(true);
    }
}

void SignatureUpdate::updateRemainingSizeStr(long long remaining)
{
    lblRemainingSize_->setText(tr("%1 KB").arg(remaining));
}

void SignatureUpdate::updateDownloadSpeedStr(int speed)
{
    if (speed > 0) {
        lblDownloadSpeed_->setText(tr("%1 KB/s").arg(speed));
    }
}

// The whole hundred is left to the final status: until that has come the update is not done.
void SignatureUpdate::updatePercentageStr(float percentage)
{
    if (!(percentage > 1.0F) || lastPercentage_ > 100 || percentage == 100.0F) {
        return;
    }
    // One report may be a leap of the engine's; the second shows that there is progress to follow.
    if (lastPercentage_ >= 1) {
        prg_->setRange(0, 100);
    }
    lblPercentage_->setText(QString::number(double(percentage), 'f', 1) + " %");
    lastPercentage_ = int(percentage);
    lblStatus_->setText(lastPercentage_ <= kLastDownloadPercentage
                            ? tr("Downloading update in progress...")
                            : tr("Applying update in progress..."));
    if (lastPercentage_ != 100) {
        prg_->setValue(lastPercentage_);
    }
}

void SignatureUpdate::updateStatusStr(int status)
{
    switch (status) {
    case Updated:
        emit updateSigInfo();
        finish(tr("Virus signature updated successfully !"));
        break;
    case StoppedByUser:
    case StoppedByFault:
        finish(tr("Virus signature update stopped."));
        break;
    case AlreadyLatest:
        finish(tr("You already have latest virus signature."));
        break;
    case Unreachable:
        finish(tr("Update server is unreachable, Try again !"));
        break;
    default:
        return;
    }
    lblDownloadSpeed_->setText(tr("0 KB/s"));
}

void SignatureUpdate::signatureUpdateComplet()
{
    finish(tr("Virus signature updated successfully !"));
}

void SignatureUpdate::handleSignatureUpdateRetVal(int)
{
    finish(tr("Virus signature update stopped, Try again !"));
}

void SignatureUpdate::handleNoInternetConnection()
{
    finish(tr("You do not have any working Internet Connection !"));
}

void SignatureUpdate::finish(const QString &outcome)
{
    showFinishView();
    lblOutcome_->setText(outcome);
}

void SignatureUpdate::showFinishView()
{
    finishPanel_->show();
    progressPanel_->hide();
    btnCancel_->hide();
    btnStop_->hide();
    btnFinish_->show();
    prg_->hide();
}

// The outcome's text is the engine's to choose by its report; without one it stays as it is.
void SignatureUpdate::btnStopSigUpdateClicked()
{
    if (sig_update_stop(commPort_) == 0) {
        showFinishView();
    }
}

void SignatureUpdate::btnCancelSigUpdateClicked()
{
    sig_update_stop(commPort_);
    close();
}
