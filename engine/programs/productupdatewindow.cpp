#include "programs/productupdatewindow.h"

#include "pages/boxes.h"
#include "pages/textbutton.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/productupdatewords.h"

#include <QBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

namespace talo::programs
{

namespace
{

constexpr int kNotDone = 2;

} // namespace

ProductUpdateWindow::ProductUpdateWindow(client::ProductUpdateJob &job, QWidget *parent)
    : QWidget(parent), job_(job), exitCode_(kNotDone)
{
    setFixedSize(600, 260);
    setObjectName(QStringLiteral("SignatureUpdate")); // the look is the same

    auto *column = talo::createColumn(this);
    column->addWidget(createTop());
    column->addStretch(1);
    column->addWidget(createProgressPanel());
    column->addWidget(createFinishPanel());
    column->addWidget(createBottom());
    column->addStretch(1);

    connect(&job_, &client::ProductUpdateJob::progressed, this, &ProductUpdateWindow::showProgress);
    connect(&job_, &client::ProductUpdateJob::ended, this, &ProductUpdateWindow::showEnd);
    connect(&job_, &client::ProductUpdateJob::failed, this, &ProductUpdateWindow::showFailure);
}

QWidget *ProductUpdateWindow::createTop()
{
    auto *band = new QWidget(this);
    band->setFixedSize(600, 80);
    band->setContentsMargins(5, 0, 0, 0);
    auto *icon = new QToolButton(band);
    icon->setObjectName(QStringLiteral("iconUpdate"));
    icon->setIconSize(QSize(40, 40));
    icon->setFocusPolicy(Qt::NoFocus);
    auto *title = new QLabel(tr("Update"), band);
    title->setObjectName(QStringLiteral("lblSigInfo"));
    sub_ = new QLabel(tr("TALO Antivirus is installing its latest release."), band);
    sub_->setObjectName(QStringLiteral("lblSubSigInfo"));

    auto *texts = talo::createColumn();
    texts->addStretch();
    texts->addWidget(title);
    texts->addSpacing(5);
    texts->addWidget(sub_);
    texts->addStretch();
    auto *row = talo::createRow(band);
    row->addWidget(icon);
    row->addSpacing(10);
    row->addLayout(texts);
    row->addStretch();
    return band;
}

QWidget *ProductUpdateWindow::createProgressPanel()
{
    progress_ = new QWidget(this);
    progress_->setObjectName(QStringLiteral("sigupdatemiddle"));
    progress_->setFixedSize(600, 100);
    progress_->setContentsMargins(40, 0, 0, 0);
    step_ = new QLabel(tr("Looking for a newer release ..."), progress_);
    bar_ = new QProgressBar(progress_);
    bar_->setObjectName(QStringLiteral("prg"));
    bar_->setRange(0, 0);
    bar_->setTextVisible(false);
    stop_ = talo::createTextButton(progress_, QString(), tr("STOP"));
    connect(stop_, &QToolButton::clicked, this, &ProductUpdateWindow::stop);

    auto *buttons = talo::createRow();
    buttons->addStretch();
    buttons->addWidget(stop_);
    buttons->addSpacing(50);
    auto *column = talo::createColumn(progress_);
    column->addStretch();
    column->addWidget(step_);
    column->addStretch();
    column->addWidget(bar_);
    column->addStretch();
    column->addLayout(buttons);
    column->addStretch();
    return progress_;
}

QWidget *ProductUpdateWindow::createFinishPanel()
{
    finish_ = new QWidget(this);
    finish_->setObjectName(QStringLiteral("sigupdatemiddle"));
    finish_->setFixedSize(600, 100);
    outcome_ = new QLabel(finish_);
    outcome_->setObjectName(QStringLiteral("lblScanStatus"));
    reason_ = new QLabel(finish_);
    reason_->setTextFormat(Qt::PlainText);
    close_ = talo::createTextButton(finish_, QString(), tr("FINISH"));
    connect(close_, &QToolButton::clicked, this, &QWidget::close);

    auto *column = talo::createColumn(finish_);
    column->addStretch();
    column->addWidget(outcome_, 0, Qt::AlignHCenter);
    column->addStretch();
    column->addWidget(reason_, 0, Qt::AlignHCenter);
    column->addStretch();
    column->addWidget(close_, 0, Qt::AlignHCenter);
    column->addStretch();
    finish_->hide();
    return finish_;
}

QWidget *ProductUpdateWindow::createBottom()
{
    auto *band = new QWidget(this);
    band->setObjectName(QStringLiteral("sigupdatebottom"));
    band->setFixedSize(600, 80);
    auto *first = talo::createRow();
    first->addSpacing(30);
    version_ = addFigure(band, first, tr("New Release"), QStringLiteral("-"));
    speed_ = addFigure(band, first, tr("Download Speed"), QStringLiteral("-"));
    auto *second = talo::createRow();
    second->addSpacing(30);
    total_ = addFigure(band, second, tr("Total Size"), QStringLiteral("-"));
    received_ = addFigure(band, second, tr("Downloaded"), QStringLiteral("-"));
    auto *column = talo::createColumn(band);
    column->addLayout(first);
    column->addLayout(second);
    return band;
}

QLabel *ProductUpdateWindow::addFigure(QWidget *band, QHBoxLayout *row, const QString &caption,
                                       const QString &initial)
{
    auto *name = new QLabel(caption, band);
    name->setFixedSize(150, 20);
    auto *value = new QLabel(initial, band);
    value->setTextFormat(Qt::PlainText);
    value->setFixedSize(150, 20);
    row->addWidget(name, 1);
    row->addStretch();
    row->addWidget(value, 2);
    row->addStretch();
    return value;
}

void ProductUpdateWindow::showFigures(const client::ProgramUpdate &update)
{
    const QString none = QStringLiteral("-");
    const QString version = printable(update.version);
    version_->setText(version.isEmpty() ? none : version);
    total_->setText(update.total == 0 ? none : formatBytes(update.total));
    received_->setText(update.received == 0 ? none : formatBytes(update.received));
    speed_->setText(update.speed == 0 ? none : tr("%1/s").arg(formatBytes(update.speed)));
}

void ProductUpdateWindow::showProgress(const talo::client::ProgramUpdate &update)
{
    showFigures(update);
    step_->setText(updateStep(update));
    // Only the download has a length that is known.
    const bool measured = update.state == interface::ProgramDownloading && update.total > 0;
    bar_->setRange(0, measured ? 100 : 0);
    if (measured)
        bar_->setValue(percentDownloaded(update));
    // An installation that has begun is better brought to its end.
    stop_->setEnabled(update.state != interface::ProgramInstalling);
}

void ProductUpdateWindow::showEnd(const talo::client::ProgramUpdate &update)
{
    exitCode_ = updateExitCode(update);
    showFigures(update);
    finish(updateOutcome(update), updateReason(update));
}

void ProductUpdateWindow::showFailure(const QString &problem)
{
    finish(tr("The program was not updated."), printableLines(problem));
}

// A package tool may have said much: its last line is the one that tells why, the rest is there to
// be read beside it.
void ProductUpdateWindow::finish(const QString &outcome, const QString &reason)
{
    const QString last = reason.section(QLatin1Char('\n'), -1);
    outcome_->setText(outcome);
    reason_->setText(reason_->fontMetrics().elidedText(last, Qt::ElideMiddle, 560));
    reason_->setToolTip(reason.toHtmlEscaped());
    reason_->setVisible(!reason.isEmpty());
    progress_->hide();
    finish_->show();
    close_->setFocus();
}

void ProductUpdateWindow::stop()
{
    stop_->setEnabled(false);
    job_.stop();
}

} // namespace talo::programs
