// The thread on which one update of the signatures runs.
#pragma once

#include <QThread>

class SignatureUpdateThread : public QThread
{
    Q_OBJECT

public:
    using QThread::QThread;

signals:
    void sigUpdateCompleted();
    void sigUpdateRetVal(int code);   // of the operation that failed
    void sigUpdateCommPort(int port); // what sig_update_stop() takes
    void NoInternetConnection();

protected:
    void run() override;
};
