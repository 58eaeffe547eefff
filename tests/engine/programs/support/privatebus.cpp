#include "engine/programs/support/privatebus.h"

#include <QFile>

namespace talo::tests
{

namespace
{

// Nothing can be started on this bus, and nothing of the machine's own configuration applies.
constexpr char kConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC
  "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

PrivateBus::PrivateBus()
{
    QFile configuration(folder_.filePath(QStringLiteral("bus.conf")));
    if (!configuration.open(QIODevice::WriteOnly))
        return;
    configuration.write(QString::fromLatin1(kConfiguration).arg(folder_.path()).toUtf8());
    configuration.close();
    daemon_.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                   QStringLiteral("--config-file=") + configuration.fileName()});
    // The address is printed once the socket listens.
    while (daemon_.waitForReadyRead(10000) && !daemon_.canReadLine()) {
    }
    address_ = QString::fromLatin1(daemon_.readLine().trimmed());
}

PrivateBus::~PrivateBus()
{
    daemon_.terminate();
    if (!daemon_.waitForFinished(5000)) {
        daemon_.kill();
        daemon_.waitForFinished();
    }
}

} // namespace talo::tests
