// A service with a settings password, and two callers of it.
#pragma once

#include "engine/service/privatebus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTemporaryDir>

#include <memory>

// Base of the test classes: a bus and a service of each test's own.
class PasswordBench : public QObject
{
    Q_OBJECT

protected slots:
    void initTestCase();
    void init();
    void cleanup();

protected:
    void stop(); // kills it
    void start();
    void seed(); // the password "secret"
    QDBusMessage call(const char *method, const QVariantList &arguments = {});
    int code(const char *method, const QVariantList &arguments);
    bool flag(const char *method, const QVariantList &arguments = {});
    bool validate(const QDBusConnection &caller, const QByteArray &password);

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
    QDBusConnection caller_{QStringLiteral("caller")};
    QDBusConnection stranger_{QStringLiteral("stranger")};
};
