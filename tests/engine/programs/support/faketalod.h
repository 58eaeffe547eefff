// A service that answers as the test says, on a thread of its own so that it also answers clients
// that block.
#pragma once

#include "interface/names.h"
#include "interface/types.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QThread>
#include <QVariantMap>

#include <mutex>

namespace talo::tests
{

class FakeTalod : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit FakeTalod(const QString &busAddress);
    ~FakeTalod() override;

    // As if the process had been killed.
    void die();

    // Answers the calls of a method with an error.
    void refuse(const QString &method, const QString &errorName, const QString &text);
    // Takes the calls of a method and never answers.
    void keepSilent(const QString &method);

    void setProgress(const interface::ScanProgress &progress);
    // All threats so far; a client gets them in pages of at most 100.
    void setThreats(const QList<interface::ThreatFound> &threats);
    void setStatus(const QVariantMap &status);
    // Key, and the whole text that is read.
    void setReports(const QList<interface::ReportEntry> &reports, const QString &text);
    void setQuarantine(const interface::QuarantineList &objects);
    // What a method answers that the service has no idea of otherwise.
    void answerWith(const QString &method, const QVariantList &values);
    // A stop leaves the job stopping instead of stopped.
    void setIgnoresStop(bool ignores);

    // Names of the methods that were called, in order.
    QStringList calls() const;
    int callsOf(const QString &method) const;
    QByteArray startedPath() const;
    uint startedKind() const;
    QStringList listedRange() const; // of the reports asked for last

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    QVariantList answer(const QString &method, const QVariantList &arguments);
    QVariantList report(const QString &method, const QVariantList &arguments);
    QVariantList progressFrom(uint first);

    mutable std::mutex mutex_;
    QThread thread_;
    QString name_;
    interface::ScanProgress progress_;
    QList<interface::ThreatFound> threats_;
    QVariantMap status_;
    interface::ReportList reports_;
    interface::QuarantineList quarantine_;
    QString reportText_;
    QMap<QString, QStringList> refusals_;
    QMap<QString, QVariantList> answers_;
    QStringList silent_;
    QStringList calls_;
    QByteArray startedPath_;
    QStringList listedRange_;
    uint startedKind_ = 0;
    bool ignoresStop_ = false;
};

} // namespace talo::tests
