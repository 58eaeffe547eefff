#include "programs/stopsignals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <unistd.h>

#include <fcntl.h>

namespace talo::programs
{

namespace
{

int wakeUp = -1;

void note(int)
{
    const int kept = errno;
    // A full pipe has been noted already.
    [[maybe_unused]] const ssize_t written = ::write(wakeUp, "x", 1);
    errno = kept;
}

void handle(void (*handler)(int))
{
    struct sigaction action {
    };
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

} // namespace

StopSignals::StopSignals(QObject *parent) : QObject(parent)
{
    if (pipe2(ends_, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // without it the signals end the program, and the scan goes on in the service
    auto *notifier = new QSocketNotifier(ends_[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &StopSignals::received);
    wakeUp = ends_[1];
    handle(note);
}

StopSignals::~StopSignals()
{
    if (ends_[0] < 0)
        return;
    handle(SIG_DFL);
    qDeleteAll(findChildren<QSocketNotifier *>());
    wakeUp = -1;
    ::close(ends_[0]);
    ::close(ends_[1]);
}

void StopSignals::received()
{
    char bytes[64];
    while (::read(ends_[0], bytes, sizeof bytes) > 0) {
    }
    emit asked();
}

} // namespace talo::programs
