// What guards the machine itself: has the firewall stand as the settings say.
#pragma once

#include "guard/firewall.h"
#include "guard/tablewatch.h"
#include "store/settingstable.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <QVariantMap>

#include <memory>
#include <optional>
#include <string>

namespace talo::service
{

// Lives on the service's main thread and is called there.
class GuardService : public QObject
{
    Q_OBJECT

public:
    // Only the machine's own service may change what the kernel does for everybody. Any other one
    // keeps the settings and says that it cannot enforce them.
    enum class Scope { Machine, Nothing };
    GuardService(Scope scope, const std::string &stateFolder);
    ~GuardService() override;

    // Enforces what is set, and begins to watch that it stays enforced.
    void start(const store::SettingValues &values);

    enum class Firewall { On, Off };
    struct Refusal {
        const char *error = nullptr; // one of the interface's names; null where it is done
        QString reason;
    };
    Refusal trigger(Firewall wanted);

    // What is enforced now, as the kernel has it; for the answer of GetStatus.
    QVariantMap status();

public slots:
    void changed(talo::store::Group group, const talo::store::SettingValues &values);

private:
    std::string enforce(Firewall wanted);
    void remember(Firewall wanted) const;
    void watchTables();
    void mend();
    void nameOthers();

    const Scope scope_;
    const std::string flag_; // there while the firewall is to stand after a restart
    guard::Firewall firewall_;
    Firewall wanted_ = Firewall::Off;
    std::optional<guard::TableWatch> tables_;
    std::unique_ptr<QSocketNotifier> tableNotifier_;
    QTimer mending_;
    unsigned mended_ = 0; // times since the last quiet spell
    QTimer quiet_;
};

} // namespace talo::service
