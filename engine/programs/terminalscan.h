// Scans in a terminal: one after the other, each with its threats, its progress and its summary.
#pragma once

#include "client/scanjob.h"
#include "programs/scanrequest.h"
#include "programs/scanwords.h"
#include "programs/statusquery.h"

#include <QList>
#include <QObject>

namespace talo::programs
{

class Console;

class TerminalScan : public QObject
{
    Q_OBJECT

public:
    // `console` must outlive the object.
    TerminalScan(QList<ScanRequest> requests, Console &console, QObject *parent = nullptr);

public slots:
    void start();
    // The first time the running scan is asked to stop, and its end is waited for; the second time
    // it is left alone.
    void stop();

signals:
    // The worst of the scans' exit codes: a failure weighs more than a threat.
    void done(int exitCode);

private slots:
    void showThreats(const QList<talo::interface::ThreatFound> &threats);
    void showProgress(const talo::interface::ScanProgress &progress);
    void noteEnd(const talo::interface::ScanProgress &progress);
    void showProblem(const QString &problem);
    void showRefusal(const QString &problem);
    void showSummary(const QVariantMap &status);

private:
    void startNext();
    void next(ExitCode code);

    QList<ScanRequest> requests_;
    Console &console_;
    client::ScanJob *job_ = nullptr;
    StatusQuery *status_;
    ScanRequest current_;
    interface::ScanProgress end_;
    int worst_ = NoThreats;
    bool stopping_ = false;
};

} // namespace talo::programs
