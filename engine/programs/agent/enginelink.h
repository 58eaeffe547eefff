// What the service says on one bus.
#pragma once

#include "programs/agent/noticewords.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <functional>

namespace talo::programs
{

// The service and the bus may come and go, at any time and in any order. Never starts the service.
class EngineLink : public QObject
{
    Q_OBJECT

public:
    explicit EngineLink(const QString &address, QObject *parent = nullptr);
    void setReopenAfter(std::chrono::milliseconds pause); // of a bus that is not there
    ~EngineLink() override;

    void open();

    // Where the service runs, asks it to be told of what happens, and leads to status(). To be said
    // now and again: it may have been refused at a busy moment.
    void greet();

signals:
    void threatFound(const QString &scanType, const talo::programs::FoundThreat &threat);
    void scanEnded(const talo::programs::EndedScan &scan);
    void status(const QVariantMap &status);
    void serviceGone();

private slots:
    void receiveThreat(const QString &type, const QString &path, const QString &threat,
                       const QString &outcome);
    void receiveEnd(const QString &type, uint state, const QString &scanned, qulonglong files,
                    qulonglong threats, const QString &report);
    void ownerChanged(const QString &service, const QString &before, const QString &after);
    void lost();

private:
    void ask(const char *interface, const char *method,
             const std::function<void(const QDBusPendingCall &)> &answered);

    QString address_;
    QDBusConnection bus_;
    QObject *watcher_ = nullptr;
    QTimer reopen_;
};

} // namespace talo::programs
