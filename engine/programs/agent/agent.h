// Tells the user of this session what happens while no window shows it.
#pragma once

#include "programs/agent/dailystamp.h"
#include "programs/agent/noticewords.h"
#include "programs/agent/notifier.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

namespace talo::programs
{

class EngineLink;

class Agent : public QObject
{
    Q_OBJECT

public:
    // `buses`: addresses where the service may be.
    Agent(const QDBusConnection &session, const QStringList &buses, const QString &stampFile);

private:
    // What a scan has found so far.
    struct Finds {
        int number = 0; // tells it from earlier scans of its type
        int count = 0;
        QList<FoundThreat> latest;
    };

    void listen(EngineLink *link);
    void tellThreat(const QString &scanType, const FoundThreat &threat);
    void tellEnd(const EndedScan &scan);
    void tellSignatures(const QVariantMap &status);
    void noteShown(const QString &group);
    static void openPanel();

    Notifier notifier_;
    DailyStamp signaturesTold_;
    QHash<QString, Finds> running_; // by the type of the scan
    int scans_ = 0;
    QTimer hourly_;
};

} // namespace talo::programs
