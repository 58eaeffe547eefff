// One scan that the service does, as its client sees it: start, orders, progress and end.
#pragma once

#include "interface/names.h"
#include "interface/types.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class QDBusMessage;

namespace talo::client
{

// Nothing here waits: every call is asynchronous, so the owner's thread needs an event loop.
// Deleting the object leaves the scan to the service, which finishes it by itself.
class ScanJob : public QObject
{
    Q_OBJECT

public:
    // How often the service is asked: a window that nobody sees needs no ten looks a second.
    enum class Pace { Watched, Unwatched };

    explicit ScanJob(QObject *parent = nullptr);

    // To be called once. `path` is absolute, in the bytes that the file system has.
    void start(interface::ScanKind kind, const QByteArray &path);

    // From start() until ended() or failed().
    bool isActive() const { return active_; }
    void setPace(Pace pace);

public slots:
    // Orders may be given as soon as the job is started; the service need not have answered yet.
    void pause();
    void resume();
    void stop();

signals:
    void progressed(const talo::interface::ScanProgress &progress);
    void threatsFound(const QList<talo::interface::ThreatFound> &threats);
    // An order that the service did not carry out; the job goes on as it was.
    void refused(const QString &plainWords);

    // Exactly one of these is the last signal. ended: the service took the job to an end of some
    // kind and all its threats were announced. failed: it never began, or was lost on the way.
    void ended(const talo::interface::ScanProgress &progress);
    void failed(const QString &plainWords);

private slots:
    void poll();

private:
    using Answered = void (ScanJob::*)(const QDBusMessage &);
    void call(const char *method, const QVariantList &arguments, std::chrono::milliseconds patience,
              Answered answered);
    void order(const char *method);
    void started(const QDBusMessage &answer);
    void orderAnswered(const QDBusMessage &answer);
    void progressAnswered(const QDBusMessage &answer);
    void take(const interface::ScanProgress &progress);
    void lost(const QDBusMessage &error);
    void end(const QString &problem);
    std::chrono::milliseconds interval() const;

    QDBusConnection bus_;
    QTimer timer_;
    interface::ScanKind kind_ = interface::FullScan;
    QString owner_;                      // the bus name of the very process that has the job
    const char *waitingOrder_ = nullptr; // given before the service told the job's number
    Pace pace_ = Pace::Watched;
    uint job_ = 0;
    uint seen_ = 0; // threats that were announced
    uint state_ = interface::Preparing;
    int unanswered_ = 0; // polls in a row
    bool active_ = false;
    bool asking_ = false;
};

} // namespace talo::client
