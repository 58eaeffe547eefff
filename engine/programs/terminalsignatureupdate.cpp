#include "programs/terminalsignatureupdate.h"

#include "engine/updates.h"
#include "pages/sigupdatethread.h"
#include "programs/console.h"
#include "programs/words.h"

#include <array>

namespace talo::programs
{

namespace
{

constexpr int kDone = 0;
constexpr int kNotDone = 2;

TerminalSignatureUpdate *receiver = nullptr;

// Called by the engine on a thread of its choice; the signal is queued to the receiver's.
void report(long long total, long long remaining, float percentage, int speed, int status)
{
    emit receiver->reported(total, remaining, percentage, speed, status);
}

struct Outcome {
    int status;
    const char *text; // as the window has it
    int code;
};

constexpr std::array<Outcome, 5> kOutcomes{{
    {2, QT_TRANSLATE_NOOP("Programs", "Virus signature updated successfully !"), kDone},
    {3, QT_TRANSLATE_NOOP("Programs", "Virus signature update stopped."), kNotDone},
    {4, QT_TRANSLATE_NOOP("Programs", "Virus signature update stopped."), kNotDone},
    {7, QT_TRANSLATE_NOOP("Programs", "You already have latest virus signature."), kDone},
    {8, QT_TRANSLATE_NOOP("Programs", "Update server is unreachable, Try again !"), kNotDone},
}};

} // namespace

TerminalSignatureUpdate::TerminalSignatureUpdate(Console &console, QObject *parent)
    : QObject(parent), console_(console), worker_(new SignatureUpdateThread(this))
{
    connect(this, &TerminalSignatureUpdate::reported, this, &TerminalSignatureUpdate::show);
    connect(worker_, &SignatureUpdateThread::sigUpdateCommPort, this,
            &TerminalSignatureUpdate::keepPort);
    connect(worker_, &SignatureUpdateThread::sigUpdateRetVal, this, &TerminalSignatureUpdate::fail);
    connect(worker_, &SignatureUpdateThread::NoInternetConnection, this,
            &TerminalSignatureUpdate::failOffline);
    connect(worker_, &QThread::finished, this, &TerminalSignatureUpdate::finish);
}

TerminalSignatureUpdate::~TerminalSignatureUpdate()
{
    register_callback(nullptr);
    worker_->wait();
    receiver = nullptr;
}

void TerminalSignatureUpdate::start()
{
    receiver = this;
    register_callback(report);
    console_.progress(Programs::tr("Checking for the latest update..."));
    worker_->start();
}

void TerminalSignatureUpdate::stop()
{
    if (stopping_ || !running_) {
        end(Programs::tr("Not waiting for the update to stop."), kNotDone);
        return;
    }
    stopping_ = true;
    sig_update_stop(port_);
}

void TerminalSignatureUpdate::keepPort(int port)
{
    port_ = port;
    running_ = true;
}

void TerminalSignatureUpdate::show(long long total, long long remaining, float percentage,
                                   int speed, int status)
{
    for (const Outcome &outcome : kOutcomes) {
        if (outcome.status == status) {
            end(Programs::tr(outcome.text), outcome.code);
            return;
        }
    }
    if (!over_)
        console_.progress(Programs::tr("Updating signatures: %1 %, %2 of %3 KB, %4 KB/s")
                              .arg(static_cast<double>(percentage), 0, 'f', 1)
                              .arg(total - remaining)
                              .arg(total)
                              .arg(speed)
                              .left(console_.width() - 1));
}

void TerminalSignatureUpdate::fail(int)
{
    end(Programs::tr("Virus signature update stopped, Try again !"), kNotDone);
}

void TerminalSignatureUpdate::failOffline()
{
    end(Programs::tr("You do not have any working Internet Connection !"), kNotDone);
}

// An outcome has been told by now, unless the engine told none.
void TerminalSignatureUpdate::finish()
{
    fail(0);
}

void TerminalSignatureUpdate::end(const QString &outcome, int code)
{
    if (over_)
        return;
    over_ = true;
    if (code == kDone)
        console_.line(outcome);
    else
        console_.problem(outcome);
    emit done(code == kDone && !console_.flush() ? kNotDone : code);
}

} // namespace talo::programs
