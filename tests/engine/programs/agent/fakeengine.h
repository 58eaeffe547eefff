// The service's notices and status, played on a bus of the test's.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace talo::tests
{

// Who wants to be told.
class FakeNotices : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.taloantivirus.Engine1.Notices")

public:
    explicit FakeNotices(QObject *parent) : QDBusAbstractAdaptor(parent) {}
    const QStringList &listeners() const { return listeners_; }

public slots:
    void Listen(const QDBusMessage &message) { listeners_ << message.service(); }

private:
    QStringList listeners_;
};

class FakeEngine : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.taloantivirus.Engine1.Status")

public:
    // Whoever does not own the service's name is asked by nobody, and tells everybody.
    enum class Name { Owned, NotOwned };
    explicit FakeEngine(const QString &bus, Name name = Name::Owned);
    ~FakeEngine() override;

    void setStatus(const QVariantMap &status) { status_ = status; }
    int statusAsked() const { return asked_; }

    void tellThreat(const QString &type, const QString &path, const QString &threat,
                    const QString &outcome) const;
    void tellEnd(const QString &type, uint state, const QString &scanned, quint64 files,
                 quint64 threats, const QString &report) const;
    // Returns when what was told waits in front of whatever the listeners hear next.
    void untilHeard() const;
    // A signal of the given name with arguments that it does not have.
    void tellWrongly(const QString &signal) const;

public slots:
    Q_SCRIPTABLE QVariantMap GetStatus();

private:
    void tell(const QString &signal, const QVariantList &arguments) const;
    void send(QDBusMessage message, const QVariantList &arguments) const;

    FakeNotices *const notices_ = new FakeNotices(this);
    const Name name_;
    QDBusConnection bus_;
    QVariantMap status_;
    int asked_ = 0;
};

} // namespace talo::tests
