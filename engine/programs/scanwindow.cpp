#include "programs/scanwindow.h"

#include "programs/elidedlabel.h"
#include "programs/scanfigures.h"
#include "programs/signatures.h"
#include "programs/statusquery.h"
#include "programs/threatmodel.h"
#include "programs/threattable.h"
#include "programs/words.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace talo::programs
{

namespace
{

QString placeWords(const ScanRequest &request)
{
    switch (request.kind) {
    case interface::FullScan:
        return Programs::tr("all files and folders");
    case interface::QuickScan:
        return Programs::tr("the places where threats live and start");
    case interface::CustomScan:
        break;
    }
    return QString::fromUtf8(request.path).simplified();
}

} // namespace

ScanWindow::ScanWindow(const ScanRequest &request, client::ScanJob &job, QWidget *parent)
    : QWidget(parent)
    , request_(request)
    , job_(job)
    , status_(new StatusQuery(this))
    , model_(new ThreatModel(this))
{
    setObjectName(QStringLiteral("scanwindow"));
    setAttribute(Qt::WA_StyledBackground); // a derived widget paints none of its own
    setWindowTitle(kindTitle(request_.kind));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(createTop());
    layout->addWidget(createMiddle(), 1);
    layout->addWidget(createBottom());
    // At first as wide as most threats need to be told in full.
    setMinimumSize(600, 520);
    resize(840, 560);

    connectJob();
    showProgress(interface::ScanProgress());
    status_->ask();
}

void ScanWindow::connectJob()
{
    connect(&job_, &client::ScanJob::progressed, this, &ScanWindow::showProgress);
    connect(&job_, &client::ScanJob::threatsFound, this, &ScanWindow::addThreats);
    connect(&job_, &client::ScanJob::refused, this, &ScanWindow::showRefusal);
    connect(&job_, &client::ScanJob::ended, this, &ScanWindow::showEnd);
    connect(&job_, &client::ScanJob::failed, this, &ScanWindow::showFailure);
    connect(status_, &StatusQuery::answered, this, &ScanWindow::showSignatures);
}

void ScanWindow::showProgress(const talo::interface::ScanProgress &progress)
{
    const bool loaded = state_ == interface::Preparing && progress.state != interface::Preparing;
    state_ = progress.state;
    showState(progress);
    figures_->showProgress(progress);
    if (loaded)
        status_->ask(); // only now the service knows how many signatures there are
}

void ScanWindow::showState(const interface::ScanProgress &progress)
{
    const bool paused = progress.state == interface::Paused;
    const bool stopping = progress.state == interface::Stopping;
    pause_->setText(paused ? Programs::tr("RESUME") : Programs::tr("PAUSE"));
    pause_->setEnabled(progress.state == interface::Scanning || paused);
    stop_->setEnabled(!stopping);
    const QString place = placeWords(request_);
    if (stopping)
        sub_->setFullText(Programs::tr("Stopping..."));
    else if (paused)
        sub_->setFullText(Programs::tr("Paused: %1").arg(place));
    else if (progress.state == interface::Preparing)
        sub_->setFullText(Programs::tr("Loading the signatures..."));
    else
        sub_->setFullText(Programs::tr("Scanning %1").arg(place));
}

void ScanWindow::addThreats(const QList<talo::interface::ThreatFound> &threats)
{
    model_->append(threats);
}

void ScanWindow::showEnd(const talo::interface::ScanProgress &progress)
{
    state_ = progress.state;
    exitCode_ = programs::exitCode(progress);
    reportKey_ = progress.report;
    figures_->showEnd(progress);
    const Outcome whole = progress.threats == 0 ? Outcome::Clean : Outcome::Threats;
    const bool told = progress.state == interface::Finished && !nothingCouldBeScanned(progress);
    showSummary(told ? whole : Outcome::Unfinished, verdictSentence(progress),
                notScannedSentence(progress));
    sub_->setFullText(progress.state == interface::Finished  ? Programs::tr("The scan is done.")
                      : progress.state == interface::Stopped ? Programs::tr("The scan was stopped.")
                                                             : Programs::tr("The scan failed."));
    view_->setVisible(!reportKey_.isEmpty());
    status_->ask();
    finish();
}

void ScanWindow::showFailure(const QString &problem)
{
    const bool begun = state_ != interface::Preparing;
    state_ = interface::Failed;
    sub_->setFullText(begun ? Programs::tr("The scan was lost.")
                            : Programs::tr("The scan could not be started."));
    // Numbers of a scan whose end nobody knows would look like a result.
    figures_->hide();
    signatures_->setVisible(begun);
    showSummary(Outcome::Unfinished, problem);
    finish();
}

void ScanWindow::showRefusal(const QString &problem)
{
    QMessageBox::warning(this, QStringLiteral("TALO Antivirus"), problem);
}

void ScanWindow::showSummary(Outcome outcome, const QString &text, const QString &note)
{
    // The style sheet colours the line by its name.
    summary_->setObjectName(outcome == Outcome::Clean     ? QStringLiteral("lblScanClean")
                            : outcome == Outcome::Threats ? QStringLiteral("lblScanThreats")
                                                          : QStringLiteral("lblScanStatus"));
    summary_->style()->unpolish(summary_);
    summary_->style()->polish(summary_);
    summary_->setText(text);
    summary_->show();
    note_->setText(note);
    note_->setVisible(!note.isEmpty());
    threats_->setVisible(model_->rowCount() > 0);
}

void ScanWindow::finish()
{
    pause_->hide();
    stop_->hide();
    close_->show();
    close_->setFocus();
    if (question_ != nullptr) {
        question_->deleteLater(); // there is nothing left to decide
        question_ = nullptr;
    }
    QApplication::alert(this);
    if (isHidden())
        QApplication::quit();
}

void ScanWindow::showSignatures(const QVariantMap &status)
{
    const SignatureWords words = describeSignatures(status, QDateTime::currentDateTimeUtc());
    QString text = Programs::tr("Signatures: %1.").arg(words.inUse);
    if (!words.advice.isEmpty())
        text += QLatin1Char('\n') + words.advice;
    signatures_->setText(text);
}

void ScanWindow::pauseOrResume()
{
    // Enabled again by the progress that shows what the order did.
    pause_->setEnabled(false);
    if (state_ == interface::Paused)
        job_.resume();
    else
        job_.pause();
}

void ScanWindow::stop()
{
    stop_->setEnabled(false);
    pause_->setEnabled(false);
    sub_->setFullText(Programs::tr("Stopping..."));
    job_.stop();
}

void ScanWindow::viewReport()
{
    emit reportWanted(reportKey_);
}

void ScanWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        job_.setPace(isMinimized() ? client::ScanJob::Pace::Unwatched
                                   : client::ScanJob::Pace::Watched);
}

void ScanWindow::closeEvent(QCloseEvent *event)
{
    if (!job_.isActive())
        return;
    event->ignore();
    if (question_ == nullptr)
        askBeforeClosing();
}

void ScanWindow::askBeforeClosing()
{
    question_ = new QMessageBox(QMessageBox::Question, QStringLiteral("TALO Antivirus"),
                                Programs::tr("The scan goes on in the background. Its report "
                                             "will be in the list."),
                                QMessageBox::NoButton, this);
    auto *goOn = question_->addButton(Programs::tr("LET IT GO ON"), QMessageBox::AcceptRole);
    auto *stopIt =
        question_->addButton(Programs::tr("STOP THE SCAN"), QMessageBox::DestructiveRole);
    auto *keep = question_->addButton(Programs::tr("KEEP THE WINDOW"), QMessageBox::RejectRole);
    goOn->setObjectName(QStringLiteral("btnLetScanGoOn"));
    stopIt->setObjectName(QStringLiteral("btnStopScanAndClose"));
    keep->setObjectName(QStringLiteral("btnKeepScanWindow"));
    // The style sheet's smallest width, made for OK and NO, would cut these texts off.
    for (QAbstractButton *button : {goOn, stopIt, keep}) {
        button->ensurePolished();
        button->setMinimumWidth(button->fontMetrics().horizontalAdvance(button->text()) + 30);
    }
    question_->setDefaultButton(goOn);
    question_->setEscapeButton(keep);
    question_->setAttribute(Qt::WA_DeleteOnClose);
    connect(question_, &QMessageBox::buttonClicked, this, &ScanWindow::answerClosing);
    // Not exec(): the scan may end while the question stands, and takes it back then.
    question_->open();
}

void ScanWindow::answerClosing(QAbstractButton *choice)
{
    const QMessageBox::ButtonRole role = question_->buttonRole(choice);
    question_ = nullptr;
    if (role == QMessageBox::AcceptRole) {
        QApplication::quit();
    } else if (role == QMessageBox::DestructiveRole) {
        // The end of the scan ends the program.
        hide();
        stop();
    }
}

} // namespace talo::programs
