#include "programs/terminalproductupdate.h"

#include "programs/console.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/productupdatewords.h"
#include "programs/stopsignals.h"
#include "programs/words.h"

#include <QCoreApplication>
#include <QTimer>

namespace talo::programs
{

namespace
{

constexpr int kNotDone = 2;

QString progressText(const client::ProgramUpdate &update)
{
    if (update.state != interface::ProgramDownloading)
        return updateStep(update);
    return Programs::tr("%1 %2 %, %3 of %4, %5/s")
        .arg(updateStep(update), QString::number(percentDownloaded(update)),
             formatBytes(update.received), formatBytes(update.total), formatBytes(update.speed));
}

} // namespace

TerminalProductUpdate::TerminalProductUpdate(client::ProductUpdateJob::Want want, Console &console,
                                             QObject *parent)
    : QObject(parent), want_(want), console_(console)
{
    connect(&job_, &client::ProductUpdateJob::progressed, this, &TerminalProductUpdate::show);
    connect(&job_, &client::ProductUpdateJob::ended, this, &TerminalProductUpdate::finish);
    connect(&job_, &client::ProductUpdateJob::failed, this, &TerminalProductUpdate::fail);
}

void TerminalProductUpdate::start()
{
    job_.start(want_);
}

void TerminalProductUpdate::stop()
{
    if (stopping_) {
        fail(Programs::tr("Not waiting for the update to stop."));
        return;
    }
    stopping_ = true;
    job_.stop();
}

void TerminalProductUpdate::show(const talo::client::ProgramUpdate &update)
{
    console_.progress(progressText(update).left(console_.width() - 1));
}

void TerminalProductUpdate::finish(const talo::client::ProgramUpdate &update)
{
    const int code = updateExitCode(update);
    if (code != 0) {
        console_.problem(updateOutcome(update));
        if (!updateReason(update).isEmpty())
            console_.problem(updateReason(update));
        emit done(code);
        return;
    }
    console_.line(updateOutcome(update));
    if (update.state == interface::ProgramAvailable && !update.notes.isEmpty())
        console_.line(printableLines(update.notes));
    emit done(console_.flush() ? code : kNotDone);
}

void TerminalProductUpdate::fail(const QString &problem)
{
    console_.problem(printable(problem));
    emit done(kNotDone);
}

int runTerminalProductUpdate(client::ProductUpdateJob::Want want)
{
    Console console;
    TerminalProductUpdate update(want, console);
    const StopSignals signalsOfUser;
    QObject::connect(&signalsOfUser, &StopSignals::asked, &update, &TerminalProductUpdate::stop);
    QObject::connect(&update, &TerminalProductUpdate::done, &QCoreApplication::exit);
    QTimer::singleShot(0, &update, &TerminalProductUpdate::start);
    return QCoreApplication::exec();
}

} // namespace talo::programs
