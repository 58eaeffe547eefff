// The part of the scan window that tells how far a scan is: current file, bar and numbers.
#pragma once

#include "interface/types.h"

#include <QWidget>

class QGridLayout;
class QLabel;
class QProgressBar;

namespace talo::programs
{

class ElidedLabel;

class ScanFigures : public QWidget
{
    Q_OBJECT

public:
    explicit ScanFigures(QWidget *parent = nullptr);

    void showProgress(const interface::ScanProgress &progress);
    // The bar says no more than the numbers, and the current file is none.
    void showEnd(const interface::ScanProgress &progress);

private:
    QLabel *addFigure(QGridLayout *grid, int row, int column, const QString &caption);
    void showShare(int percent); // -1 while unknown
    void showNumbers(const interface::ScanProgress &progress);

    ElidedLabel *current_;
    QProgressBar *bar_;
    QLabel *share_;
    QLabel *files_;
    QLabel *data_;
    QLabel *elapsed_;
    QLabel *remaining_;
    QLabel *threats_;
    QLabel *notScanned_;
};

} // namespace talo::programs
