// A message bus of the test's own, gone with the object.
#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace talo::tests
{

class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    // Empty if no bus could be started.
    QString address() const { return address_; }

private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_;
};

} // namespace talo::tests
