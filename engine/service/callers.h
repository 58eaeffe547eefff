// Connections that something is remembered of: that the settings password was given on them, or
// that they want to be told of what happens.
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QSet>
#include <QString>

namespace talo::service
{

// Callers are unique bus names, which a bus never gives twice. One that leaves the bus is
// forgotten. Lives on the service's main thread.
class Callers : public QObject
{
    Q_OBJECT

public:
    explicit Callers(const QDBusConnection &bus);

    bool contains(const QString &caller) const { return callers_.contains(caller); }
    QDBusConnection bus() const { return watcher_.connection(); }
    const QSet<QString> &all() const { return callers_; }
    void add(const QString &caller);
    // After the password was replaced the old one is worth nothing; the caller who replaced it by
    // giving it stays.
    void forgetAllBut(const QString &caller);

private:
    void forget(const QString &caller);

    QDBusServiceWatcher watcher_;
    QSet<QString> callers_;
};

} // namespace talo::service
