// Has the firewall stand as it is set, and puts it back when somebody takes it away.
#pragma once

#include "guard/firewall.h"
#include "guard/tablewatch.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talo::service
{

// Lives on the service's main thread and is called there.
class FirewallGuard : public QObject
{
    Q_OBJECT

public:
    explicit FirewallGuard(const std::string &stateFolder);
    ~FirewallGuard() override;

    enum class Wanted { On, Off };
    // Begins to watch. Whoever stands in the way is named in the log.
    void start(Wanted wanted);

    // Says why it could not be done; empty for done.
    std::string enforce(Wanted wanted);

    // As the kernel has it now.
    guard::Firewall::State state() { return firewall_.state(); }
    std::vector<std::string> others() { return firewall_.others(); }

private:
    void remember(Wanted wanted) const;
    void watchTables();
    void mend();
    void nameOthers();

    const std::string flag_; // there while the firewall is to stand after a restart
    guard::Firewall firewall_;
    Wanted wanted_ = Wanted::Off;
    std::optional<guard::TableWatch> tables_;
    std::unique_ptr<QSocketNotifier> tableNotifier_;
    QTimer mending_;
    unsigned mended_ = 0; // times since the last quiet spell
    QTimer quiet_;
};

} // namespace talo::service
