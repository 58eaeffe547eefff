// A message bus of the test's own, and programs started on it.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

// A program that does not outlive the test, however that ends.
class Program : public QProcess
{
public:
    // As `uid` where one is given; only root can do that.
    explicit Program(uint uid = 0) : uid_(uid) {}
    ~Program() override;

protected:
    void setupChildProcess() override;

private:
    uint uid_;
};

// Every user may connect, own any name and call anybody.
class PrivateBus
{
public:
    PrivateBus();

    QString address() const { return address_; }
    QString folder() const { return folder_.path(); }
    QDBusConnection connect(const QString &name) const;
    bool owned() const; // whether the service's name is
    void stop();

private:
    QTemporaryDir folder_;
    QString address_;
    std::unique_ptr<Program> daemon_;
};

// A path below the build tree.
QString built(const QString &path);

// Starts talod there and waits until it owns its name; null if it does not.
std::unique_ptr<Program> startService(const PrivateBus &bus, const QString &state,
                                      const QStringList &options = {});

QDBusMessage ask(const QDBusConnection &bus, const char *interface, const char *method,
                 const QVariantList &arguments = {});
