// The window of one update of the signatures, from its start to its outcome.
#pragma once

#include <QWidget>

class QHBoxLayout;
class QLabel;
class QProgressBar;
class QToolButton;
class SignatureUpdateThread;

class SignatureUpdate : public QWidget
{
    Q_OBJECT

public:
    explicit SignatureUpdate(QWidget *parent = nullptr);

    // Runs an update on a thread of its own. The engine's reports go to this window from now on.
    void startSignatureUpdate();

    // Installs the panel's style sheet on the application.
    static void loadStyle();

signals:
    void updateSigInfo(); // the installed version has changed
    void updateTotalSize(long long total);
    void updateRemainingSize(long long remaining);
    void updatePercentage(float percentage);
    void updateDownloadSpeed(int speed);
    void updateStatus(int status);

public slots:
    void updateTotalSizeStr(long long total);
    void updateRemainingSizeStr(long long remaining);
    void updatePercentageStr(float percentage);
    void updateDownloadSpeedStr(int speed);
    void updateStatusStr(int status);
    void signatureUpdateComplet();
    void handleSignatureUpdateRetVal(int code);
    void btnStopSigUpdateClicked();
    void handleSigUpdateCommPort(int port);
    void btnCancelSigUpdateClicked();
    void handleNoInternetConnection();

private:
    void createTop();
    void createMiddle();
    void createSigUpdateFinishMiddle();
    void createBottom();
    QLabel *addFigure(QHBoxLayout *row, const QString &caption, const QString &initial);
    void showFinishView();
    void finish(const QString &outcome);

    int lastPercentage_ = 0;
    int commPort_ = 0; // of no run until the worker has reported one
    SignatureUpdateThread *worker_ = nullptr;
    QWidget *top_ = nullptr;
    QWidget *progressPanel_ = nullptr;
    QWidget *finishPanel_ = nullptr;
    QWidget *bottom_ = nullptr;
    QLabel *lblPercentage_ = nullptr;
    QLabel *lblRemainingSize_ = nullptr;
    QLabel *lblTotalSize_ = nullptr;
    QLabel *lblDownloadSpeed_ = nullptr;
    QProgressBar *prg_ = nullptr;
    QLabel *lblStatus_ = nullptr;
    QLabel *lblOutcome_ = nullptr;
    QToolButton *btnStop_ = nullptr;
    QToolButton *btnCancel_ = nullptr;
    QToolButton *btnFinish_ = nullptr;
};

// The window that the engine's reports go to: the one that was started last.
extern SignatureUpdate *app_obj_ptr;

// What the engine reports to, from a thread of its choice. Touches no widget: the window's signals
// carry the report to its own thread.
void engineCallBack(long long totalSize, long long remainingSize, float percentage,
                    int downloadSpeed, int status);
