// The window of one scan: what it does now, what it found, and how it ended.
#pragma once

#include "client/scanjob.h"
#include "programs/scanrequest.h"
#include "programs/scanwords.h"

#include <QPointer>
#include <QVariantMap>
#include <QWidget>

class QAbstractButton;
class QLabel;
class QMessageBox;
class QToolButton;

namespace talo::programs
{

class ElidedLabel;
class ScanFigures;
class StatusQuery;
class ThreatModel;
class ThreatTable;

class ScanWindow : public QWidget
{
    Q_OBJECT

public:
    // Shows `job`, which the owner starts and which outlives the window.
    ScanWindow(const ScanRequest &request, client::ScanJob &job, QWidget *parent = nullptr);

    // For the program to end with; a failure until the scan has come to its end.
    ExitCode exitCode() const { return exitCode_; }

signals:
    void reportWanted(const QString &key);

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private slots:
    void showProgress(const talo::interface::ScanProgress &progress);
    void addThreats(const QList<talo::interface::ThreatFound> &threats);
    void showEnd(const talo::interface::ScanProgress &progress);
    void showFailure(const QString &problem);
    void showRefusal(const QString &problem);
    void showSignatures(const QVariantMap &status);
    void pauseOrResume();
    void stop();
    void viewReport();
    void answerClosing(QAbstractButton *choice);

private:
    enum class Outcome { Clean, Threats, Unfinished };

    QWidget *createTop();
    QWidget *createMiddle();
    QWidget *createBottom();
    void connectJob();
    void askBeforeClosing();
    void showState(const interface::ScanProgress &progress);
    void showSummary(Outcome outcome, const QString &text, const QString &note = QString());
    void finish();

    ScanRequest request_;
    client::ScanJob &job_;
    StatusQuery *status_;
    ThreatModel *model_;
    ExitCode exitCode_ = ScanFailed;
    uint state_ = interface::Preparing;
    QString reportKey_;

    ElidedLabel *sub_ = nullptr;
    ScanFigures *figures_ = nullptr;
    ThreatTable *threats_ = nullptr;
    QLabel *summary_ = nullptr;
    QLabel *note_ = nullptr;
    QLabel *signatures_ = nullptr;
    QToolButton *pause_ = nullptr;
    QToolButton *stop_ = nullptr;
    QToolButton *view_ = nullptr;
    QToolButton *close_ = nullptr;
    QPointer<QMessageBox> question_;
};

} // namespace talo::programs
