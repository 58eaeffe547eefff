// A service that updates its signatures from a server of the test's own.
#pragma once

#include "engine/service/privatebus.h"
#include "interface/types.h"

#include <QString>

#include <memory>

class UpdateBench
{
public:
    // The bus is named in TALO_BUS, for the panel's operations.
    UpdateBench();

    bool ready() const; // bus and server are up
    QString path(const QString &name) const { return folder_.filePath(name); }

    bool startService(const QStringList &options = {});
    Program *service() { return service_.get(); }
    void killService();
    void endService();

    void serve(const QString &mode);
    // Signatures that detect the standard test file under that name, with `more` that detect
    // nothing, and newer than all that were published before.
    bool publish(const QString &name, int more = 0);
    bool publishAtOnce(const QString &name); // for a server that does not look at the time
    void stopServer();
    bool startServer();
    QStringList served() const; // the status of each answer

    // Lines of the group "Update" besides the address of the database.
    bool configure(const QStringList &lines);

    // Under which name the service detects the standard test file; empty where it does not.
    QString detected();
    QVariantMap state() const;
    QVariantMap status() const;
    QDBusConnection caller() const { return caller_; }
    QStringList leftovers() const; // of runs, in all places where they work

private:
    QTemporaryDir folder_;
    std::unique_ptr<PrivateBus> bus_;
    QDBusConnection caller_{QStringLiteral("bench")};
    std::unique_ptr<Program> service_;
    std::unique_ptr<Program> server_;
    QString port_;
};
