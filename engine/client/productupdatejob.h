// An update of the program that the service does, as its client sees it.
#pragma once

#include "interface/names.h"

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <chrono>

class QDBusMessage;

namespace talo::client
{

struct ProgramUpdate {
    interface::ProgramUpdateState state = interface::ProgramIdle;
    qulonglong total = 0; // bytes
    qulonglong received = 0;
    qulonglong speed = 0; // bytes a second
    QString version;
    QString date;
    QString notes;
    QString problem;
};

// Nothing here waits, so the owner's thread needs an event loop. Deleting the object leaves the
// update to the service.
class ProductUpdateJob : public QObject
{
    Q_OBJECT

public:
    enum class Want { Check, Install };

    explicit ProductUpdateJob(QObject *parent = nullptr);

    // To be called once. An update that runs already is followed.
    void start(Want want);

public slots:
    void stop();

signals:
    void progressed(const talo::client::ProgramUpdate &update);
    // Exactly one of these is the last signal. ended: with one of the states from Available on.
    void ended(const talo::client::ProgramUpdate &update);
    void failed(const QString &plainWords);

private slots:
    void poll();

private:
    using Answered = void (ProductUpdateJob::*)(const QDBusMessage &);
    void call(const char *method, std::chrono::milliseconds patience, Answered answered);
    void started(const QDBusMessage &answer);
    void stopAnswered(const QDBusMessage &answer);
    void progressAnswered(const QDBusMessage &answer);
    void lost(const QDBusMessage &error);
    void end(const QString &problem);

    QDBusConnection bus_;
    QTimer timer_;
    interface::ProgramUpdateState state_ = interface::ProgramIdle;
    int unanswered_ = 0; // polls in a row
    bool active_ = false;
};

} // namespace talo::client
