// Shows notices through the desktop's notification service.
#pragma once

#include "programs/agent/notice.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>

namespace talo::programs
{

// A desktop without that service keeps the notices waiting until it has one; of too many the oldest
// are given up. One notice is handed over at a time, so that they appear in order.
class Notifier : public QObject
{
    Q_OBJECT

public:
    explicit Notifier(const QDBusConnection &session, QObject *parent = nullptr);

    void show(const Notice &notice);

signals:
    void shown(const QString &group);
    // The user has clicked one of the notices.
    void clicked();

private slots:
    void actionInvoked(uint id, const QString &action);
    void notificationClosed(uint id, uint reason);
    void ownerChanged(const QString &service, const QString &before, const QString &after);

private:
    void sendNext();
    void send(const QStringList &capabilities);
    void failed(const QDBusError &error);

    QDBusConnection session_;
    QList<Notice> waiting_;
    Notice sending_;
    bool busy_ = false;
    bool desktopLost_ = false;   // while a notice was being handed over
    QHash<uint, QString> shown_; // group by the desktop's number, which other programs share
    QTimer retry_;
};

} // namespace talo::programs
