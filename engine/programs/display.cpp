#include "programs/display.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>

#include <xcb/xcb.h>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace talo::programs
{

namespace
{

bool x11Answers()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool waylandListens()
{
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    if (name.isEmpty())
        return false;
    const QByteArray path = name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return false;
    const bool listens =
        ::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(socket);
    return listens;
}

bool qtKnowsWayland()
{
    const QDir plugins(QLibraryInfo::location(QLibraryInfo::PluginsPath) +
                       QLatin1String("/platforms"));
    return !plugins.entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty();
}

} // namespace

bool findDisplay()
{
    if (x11Answers())
        return true;
    if (!waylandListens() || !qtKnowsWayland())
        return false;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "wayland");
    return true;
}

} // namespace talo::programs
