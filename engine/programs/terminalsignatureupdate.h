// An update of the signatures in a terminal: one line of progress, and the outcome.
#pragma once

#include <QObject>

class SignatureUpdateThread;

namespace talo::programs
{

class Console;

// One at a time in a process: the engine's reports carry nothing to tell whose they are.
class TerminalSignatureUpdate : public QObject
{
    Q_OBJECT

public:
    // `console` must outlive the object.
    explicit TerminalSignatureUpdate(Console &console, QObject *parent = nullptr);
    ~TerminalSignatureUpdate() override;

public slots:
    void start();
    // The first time the update is asked to stop, and its end is waited for; the second time it is
    // left alone.
    void stop();

signals:
    void done(int exitCode); // 0 the signatures are the latest now, 2 they may not be
    void reported(long long total, long long remaining, float percentage, int speed, int status);

private slots:
    void show(long long total, long long remaining, float percentage, int speed, int status);
    void keepPort(int port);
    void fail(int code);
    void failOffline();
    void finish();

private:
    void end(const QString &outcome, int code);

    Console &console_;
    SignatureUpdateThread *worker_;
    int port_ = 0;
    bool running_ = false; // there is a port that can be stopped
    bool stopping_ = false;
    bool over_ = false;
};

} // namespace talo::programs
