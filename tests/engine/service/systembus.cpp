#include "engine/service/systembus.h"

#include "interface/busconnection.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QTest>

#include <array>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr char kPolicies[] = "/usr/share/dbus-1/system.d";
constexpr char kServices[] = "/usr/share/dbus-1/system-services";
constexpr char kActions[] = "/usr/share/polkit-1/actions";
constexpr char kRules[] = "/etc/polkit-1/rules.d";
constexpr char kPolkitFile[] = "/org.freedesktop.PolicyKit1.service";

std::string read(const std::string &path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

bool write(const std::string &path, const std::string &content)
{
    std::ofstream file(path);
    file << content;
    file.close();
    return file.good() && chmod(path.c_str(), 0644) == 0;
}

bool cover(const char *folder)
{
    return mount("talo-test", folder, "tmpfs", 0, "mode=0755") == 0;
}

bool fill(const std::string &polkitPolicy, const std::string &polkitService)
{
    const std::string packaging = TALO_PACKAGING;
    std::string service = read(packaging + "/dbus/org.taloantivirus.Engine1.service");
    const std::string installed = "/usr/local/taloantivirus/bin/talod --bus system";
    const std::size_t at = service.find(installed);
    if (at == std::string::npos)
        return false;
    service.replace(at, installed.size(),
                    TALO_BUILD_FOLDER "/bin/talod --bus system --state /run/talo-state");
    return write(std::string(kPolicies) + "/org.freedesktop.PolicyKit1.conf", polkitPolicy) &&
           write(std::string(kServices) + kPolkitFile, polkitService) &&
           write(std::string(kPolicies) + "/org.taloantivirus.Engine1.conf",
                 read(packaging + "/dbus/org.taloantivirus.Engine1.conf")) &&
           write(std::string(kServices) + "/org.taloantivirus.Engine1.service", service) &&
           write(std::string(kActions) + "/org.taloantivirus.policy",
                 read(packaging + "/polkit/org.taloantivirus.policy")) &&
           // Stands for a session at the machine, of which there is none here.
           write(
               std::string(kRules) + "/10-test.rules",
               "polkit.addRule(function(action, subject) {\n"
               "    if (action.id.indexOf('org.taloantivirus.') == 0 && subject.user == 'daemon')\n"
               "        return polkit.Result.YES;\n"
               "});\n");
}

} // namespace

std::string SystemBus::prepare()
{
    if (geteuid() != 0)
        return "needs root, for a system bus of its own";
    const std::string polkitPolicy =
        read(std::string(kPolicies) + "/org.freedesktop.PolicyKit1.conf");
    const std::string polkitService = read(std::string(kServices) + kPolkitFile);
    if (polkitPolicy.empty() || polkitService.empty())
        return "needs the packages dbus and polkitd";
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return "needs a mount namespace";
    for (const char *folder : {"/run", kPolicies, kServices, kActions, kRules})
        if (!cover(folder))
            return std::string("cannot cover ") + folder;
    if (std::filesystem::exists("/etc/dbus-1/system.d") && !cover("/etc/dbus-1/system.d"))
        return "cannot cover /etc/dbus-1/system.d";
    if (mkdir("/run/dbus", 0755) != 0 || chmod("/run/dbus", 0755) != 0)
        return "cannot make /run/dbus";
    return fill(polkitPolicy, polkitService) ? "" : "cannot set up the bus";
}

SystemBus::SystemBus()
{
    daemon_ = std::make_unique<Program>();
    daemon_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    daemon_->start("dbus-daemon",
                   {"--system", "--nofork", "--nopidfile", "--nosyslog", "--print-address=1"});
    daemon_->waitForReadyRead(10000);
}

QDBusConnection SystemBus::connectAs(uint user, const QString &name)
{
    QDBusConnection::disconnectFromBus(name);
    if (seteuid(user) != 0)
        return QDBusConnection(QString());
    const QDBusConnection connection =
        talo::interface::connectToBus("unix:path=/run/dbus/system_bus_socket", name);
    return seteuid(0) == 0 ? connection : QDBusConnection(QString());
}

qint64 SystemBus::ownerOf(const QString &service)
{
    const QDBusConnection bus = connectAs(0, "owner");
    const QDBusReply<uint> pid = bus.interface()->servicePid(service);
    return pid.isValid() ? pid.value() : 0;
}

bool SystemBus::removePolkit()
{
    if (unlink((std::string(kServices) + kPolkitFile).c_str()) != 0)
        return false;
    const QDBusConnection bus = connectAs(0, "owner");
    return bus.interface()->call("ReloadConfig").type() == QDBusMessage::ReplyMessage;
}
