// The window of one update of the program, alike to that of the signatures.
#pragma once

#include "client/productupdatejob.h"

#include <QWidget>

class QHBoxLayout;
class QLabel;
class QProgressBar;
class QToolButton;

namespace talo::programs
{

class ProductUpdateWindow : public QWidget
{
    Q_OBJECT

public:
    // Shows `job`, which the owner starts and which outlives the window.
    explicit ProductUpdateWindow(client::ProductUpdateJob &job, QWidget *parent = nullptr);

    // For the program to end with; a failure until the update has come to its end.
    int exitCode() const { return exitCode_; }

private slots:
    void showProgress(const talo::client::ProgramUpdate &update);
    void showEnd(const talo::client::ProgramUpdate &update);
    void showFailure(const QString &problem);
    void stop();

private:
    QWidget *createTop();
    QWidget *createProgressPanel();
    QWidget *createFinishPanel();
    QWidget *createBottom();
    QLabel *addFigure(QWidget *band, QHBoxLayout *row, const QString &caption,
                      const QString &initial);
    void showFigures(const client::ProgramUpdate &update);
    void finish(const QString &outcome, const QString &reason);

    client::ProductUpdateJob &job_;
    int exitCode_;
    QLabel *sub_ = nullptr;
    QWidget *progress_ = nullptr;
    QWidget *finish_ = nullptr;
    QLabel *step_ = nullptr;
    QProgressBar *bar_ = nullptr;
    QToolButton *stop_ = nullptr;
    QToolButton *close_ = nullptr;
    QLabel *outcome_ = nullptr;
    QLabel *reason_ = nullptr;
    QLabel *version_ = nullptr;
    QLabel *speed_ = nullptr;
    QLabel *total_ = nullptr;
    QLabel *received_ = nullptr;
};

} // namespace talo::programs
