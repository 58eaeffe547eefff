#include "client/productupdatejob.h"

#include "client/asynccall.h"
#include "client/bus.h"

#include <QDBusArgument>
#include <QDBusMessage>

namespace talo::client
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kInterval{200};
constexpr milliseconds kPollPatience{5000};
// An administrator may be asked for a password first.
constexpr milliseconds kStartPatience{150000};
// A package restarts the service in the middle of its installation.
constexpr int kMostUnanswered = 300;

ProgramUpdate readProgress(const QVariantMap &values)
{
    const auto number = [&values](const char *key) {
        return values.value(QLatin1String(key)).toULongLong();
    };
    const auto text = [&values](const char *key) {
        return values.value(QLatin1String(key)).toString();
    };
    ProgramUpdate update;
    const qulonglong state = number("state");
    update.state = state <= interface::ProgramNoSource
                       ? static_cast<interface::ProgramUpdateState>(state)
                       : interface::ProgramFailed;
    update.total = number("total");
    update.received = number("received");
    update.speed = number("speed");
    update.version = text("version");
    update.date = text("date");
    update.notes = text("notes");
    update.problem = text("problem");
    return update;
}

} // namespace

ProductUpdateJob::ProductUpdateJob(QObject *parent) : QObject(parent), bus_(QString())
{
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &ProductUpdateJob::poll);
}

void ProductUpdateJob::start(Want want)
{
    active_ = true;
    bus_ = Bus::instance().connection();
    call(want == Want::Check ? "CheckProgram" : "UpdateProgram", kStartPatience,
         &ProductUpdateJob::started);
}

void ProductUpdateJob::stop()
{
    if (active_)
        call("StopProgramUpdate", kPollPatience, &ProductUpdateJob::stopAnswered);
}

void ProductUpdateJob::call(const char *method, milliseconds patience, Answered answered)
{
    QDBusMessage message = Bus::message(interface::kProductUpdate, method);
    message.setInteractiveAuthorizationAllowed(true);
    callAsync(bus_, message, patience, this, [this, answered](const QDBusMessage &answer) {
        if (active_)
            (this->*answered)(answer);
    });
}

void ProductUpdateJob::started(const QDBusMessage &answer)
{
    const bool runsAlready = answer.type() == QDBusMessage::ErrorMessage &&
                             answer.errorName() == QLatin1String(interface::kErrorRunning);
    if (answer.type() != QDBusMessage::ReplyMessage && !runsAlready)
        end(Bus::explain(answer));
    else
        poll();
}

// The next look at the progress tells what came of it.
void ProductUpdateJob::stopAnswered(const QDBusMessage &) {}

void ProductUpdateJob::poll()
{
    timer_.stop();
    call("ProgramUpdateProgress", kPollPatience, &ProductUpdateJob::progressAnswered);
}

void ProductUpdateJob::progressAnswered(const QDBusMessage &answer)
{
    if (answer.type() != QDBusMessage::ReplyMessage) {
        lost(answer);
        return;
    }
    unanswered_ = 0;
    if (answer.signature() != QLatin1String("a{sv}")) {
        end(tr("The TALO Antivirus service is of another version than this program. "
               "Restart talod after the update."));
        return;
    }
    const ProgramUpdate update = readProgress(qdbus_cast<QVariantMap>(answer.arguments().at(0)));
    const bool restarted =
        state_ != interface::ProgramIdle && update.state == interface::ProgramIdle;
    state_ = update.state;
    if (restarted) {
        end(tr("The TALO Antivirus service was restarted before the update was done. "
               "Start the update again."));
    } else if (update.state >= interface::ProgramAvailable) {
        active_ = false;
        emit ended(update);
    } else {
        emit progressed(update);
        timer_.start(kInterval);
    }
}

void ProductUpdateJob::lost(const QDBusMessage &error)
{
    if (state_ == interface::ProgramInstalling && ++unanswered_ < kMostUnanswered)
        timer_.start(kInterval);
    else
        end(Bus::explain(error));
}

void ProductUpdateJob::end(const QString &problem)
{
    active_ = false;
    timer_.stop();
    emit failed(problem);
}

} // namespace talo::client
