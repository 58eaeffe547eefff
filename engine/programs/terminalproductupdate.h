// An update of the program in a terminal: one line of progress, and the outcome.
#pragma once

#include "client/productupdatejob.h"

#include <QObject>

namespace talo::programs
{

class Console;

class TerminalProductUpdate : public QObject
{
    Q_OBJECT

public:
    // `console` must outlive the object.
    TerminalProductUpdate(client::ProductUpdateJob::Want want, Console &console,
                          QObject *parent = nullptr);

public slots:
    void start();
    // The first time the update is asked to stop, and its end is waited for; the second time it is
    // left alone.
    void stop();

signals:
    void done(int exitCode);

private slots:
    void show(const talo::client::ProgramUpdate &update);
    void finish(const talo::client::ProgramUpdate &update);
    void fail(const QString &problem);

private:
    client::ProductUpdateJob::Want want_;
    Console &console_;
    client::ProductUpdateJob job_;
    bool stopping_ = false;
};

// From the event loop to the exit code; needs a QCoreApplication.
int runTerminalProductUpdate(client::ProductUpdateJob::Want want);

} // namespace talo::programs
