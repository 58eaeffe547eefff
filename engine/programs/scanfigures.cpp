#include "programs/scanfigures.h"

#include "interface/names.h"
#include "programs/elidedlabel.h"
#include "programs/format.h"
#include "programs/scanwords.h"
#include "programs/words.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace talo::programs
{

ScanFigures::ScanFigures(QWidget *parent)
    : QWidget(parent)
    , current_(new ElidedLabel(this))
    , bar_(new QProgressBar(this))
    , share_(new QLabel(this))
{
    current_->setObjectName(QStringLiteral("lblScanCurrent"));
    bar_->setObjectName(QStringLiteral("prgScan"));
    bar_->setAccessibleName(Programs::tr("Share of the scan that is done"));
    bar_->setRange(0, 0);
    bar_->setTextVisible(false); // nobody could read it on the bar's stripes
    share_->setObjectName(QStringLiteral("lblScanValue"));
    share_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    share_->ensurePolished();
    share_->setMinimumWidth(share_->fontMetrics().horizontalAdvance(QStringLiteral("100%")) + 5);

    auto *progress = new QHBoxLayout;
    progress->setSpacing(5);
    progress->addWidget(bar_, 1);
    progress->addWidget(share_);

    auto *grid = new QGridLayout;
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(6);
    files_ = addFigure(grid, 0, 0, Programs::tr("Files scanned"));
    data_ = addFigure(grid, 1, 0, Programs::tr("Data done"));
    elapsed_ = addFigure(grid, 0, 2, Programs::tr("Elapsed"));
    remaining_ = addFigure(grid, 1, 2, Programs::tr("Remaining"));
    threats_ = addFigure(grid, 0, 4, Programs::tr("Threats"));
    notScanned_ = addFigure(grid, 1, 4, Programs::tr("Not scanned"));
    for (const int values : {1, 3, 5})
        grid->setColumnStretch(values, 1);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(current_);
    layout->addLayout(progress);
    layout->addLayout(grid);
}

QLabel *ScanFigures::addFigure(QGridLayout *grid, int row, int column, const QString &caption)
{
    auto *name = new QLabel(caption, this);
    name->setObjectName(QStringLiteral("lblScanCaption"));
    auto *value = new QLabel(this);
    value->setObjectName(QStringLiteral("lblScanValue"));
    value->setTextFormat(Qt::PlainText);
    value->setAccessibleDescription(caption);
    grid->addWidget(name, row, column);
    grid->addWidget(value, row, column + 1);
    return value;
}

void ScanFigures::showProgress(const interface::ScanProgress &progress)
{
    current_->setFullText(progress.current);
    showShare(percentDone(progress));
    showNumbers(progress);
    remaining_->setText(progress.remainingMs < 0
                            ? QStringLiteral("-")
                            : formatDuration(static_cast<quint64>(progress.remainingMs)));
}

void ScanFigures::showEnd(const interface::ScanProgress &progress)
{
    current_->setFullText(QString());
    showShare(qMax(0, percentDone(progress)));
    showNumbers(progress);
    remaining_->setText(QStringLiteral("-"));
}

void ScanFigures::showShare(int percent)
{
    if (percent < 0)
        return; // the bar stays busy
    bar_->setRange(0, 100);
    bar_->setValue(percent);
    share_->setText(QStringLiteral("%1%").arg(percent));
}

void ScanFigures::showNumbers(const interface::ScanProgress &progress)
{
    files_->setText(formatCount(filesScanned(progress)));
    data_->setText(formatBytes(progress.bytesDone));
    elapsed_->setText(formatDuration(progress.elapsedMs));
    threats_->setText(formatCount(progress.threats));
    notScanned_->setText(formatCount(filesNotScanned(progress)));
}

} // namespace talo::programs
