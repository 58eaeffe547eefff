#include "client/bus.h"

#include "client/buserrors.h"
#include "interface/busaddress.h"
#include "interface/busconnection.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QCoreApplication>
#include <QDBusError>

#include <cstdlib>

namespace talo::client
{

namespace
{

constexpr char kBusService[] = "org.freedesktop.DBus";
constexpr char kBusObject[] = "/org/freedesktop/DBus";

QDBusMessage askBus(const QDBusConnection &bus, const char *method, const QVariantList &arguments)
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        QString::fromLatin1(kBusService), QString::fromLatin1(kBusObject),
        QString::fromLatin1(kBusService), QString::fromLatin1(method));
    question.setArguments(arguments);
    return bus.call(question, QDBus::Block, static_cast<int>(Bus::kPatience.count()));
}

bool servedOn(const QDBusConnection &bus)
{
    const QString service = QString::fromLatin1(interface::kService);
    const QDBusMessage owned = askBus(bus, "NameHasOwner", {service});
    if (owned.type() == QDBusMessage::ReplyMessage && owned.arguments().value(0).toBool())
        return true;
    const QDBusMessage startable = askBus(bus, "ListActivatableNames", {});
    return startable.type() == QDBusMessage::ReplyMessage &&
           startable.arguments().value(0).toStringList().contains(service);
}

QDBusMessage noAnswer()
{
    return QDBusMessage::createError(QDBusError::NoReply,
                                     QStringLiteral("the service did not answer a moment ago"));
}

} // namespace

Bus &Bus::instance()
{
    // Never destroyed: threads of the caller may still be in a call while the process ends.
    static Bus *const bus = new Bus;
    return *bus;
}

Bus::Bus()
{
    interface::registerTypes();
}

QDBusMessage Bus::message(const char *interface, const char *method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(interface::kService), QString::fromLatin1(interface::kObject),
        QString::fromLatin1(interface), QString::fromLatin1(method));
    call.setArguments(arguments);
    return call;
}

QDBusMessage Bus::call(const char *interface, const char *method, const QVariantList &arguments,
                       std::chrono::milliseconds patience)
{
    if (silent())
        return noAnswer();
    return send(message(interface, method, arguments), patience);
}

QDBusMessage Bus::callPatiently(const char *interface, const char *alive, const char *method,
                                const QVariantList &arguments)
{
    const QDBusMessage sign = call(interface, alive);
    if (sign.type() != QDBusMessage::ReplyMessage)
        return sign;
    QDBusMessage question = message(interface, method, arguments);
    question.setInteractiveAuthorizationAllowed(true);
    return send(question, kLongPatience);
}

QDBusMessage Bus::send(const QDBusMessage &question, std::chrono::milliseconds patience)
{
    const QDBusConnection bus = connection();
    if (!bus.isConnected())
        return QDBusMessage::createError(QDBusError::Disconnected,
                                         QStringLiteral("no message bus is running"));
    QDBusMessage answer = bus.call(question, QDBus::Block, static_cast<int>(patience.count()));
    if (answer.type() == QDBusMessage::ReplyMessage)
        return answer;
    if (answer.type() != QDBusMessage::ErrorMessage)
        return QDBusMessage::createError(QDBusError::Failed, bus.lastError().message());
    if (isSilence(answer)) {
        const std::lock_guard<std::mutex> lock(mutex_);
        silentUntil_ = std::chrono::steady_clock::now() + kSilence;
    } else if (is(answer, QDBusError::ServiceUnknown) || is(answer, QDBusError::Disconnected)) {
        // The service may come back on the other bus.
        forget(bus);
    }
    return answer;
}

QDBusConnection Bus::connection()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!connection_ || !connection_->isConnected())
        connection_ = connect();
    return *connection_;
}

QString Bus::place()
{
    const QString name = connection().name();
    if (name.startsWith(QLatin1String("talo-system-")))
        return QCoreApplication::translate("Bus", "system bus");
    if (name.startsWith(QLatin1String("talo-session-")))
        return QCoreApplication::translate("Bus", "session bus");
    return QCoreApplication::translate("Bus", "bus named by TALO_BUS");
}

QDBusConnection Bus::connect()
{
    const char *const wanted = std::getenv("TALO_BUS");
    if (wanted != nullptr && *wanted != '\0')
        return open(interface::busAddress(QString::fromLocal8Bit(wanted)), "named");
    QDBusConnection system = open(interface::systemBusAddress(), "system");
    if (system.isConnected() && servedOn(system))
        return system;
    const QString session = interface::sessionBusAddress();
    return session.isEmpty() ? system : open(session, "session");
}

QDBusConnection Bus::open(const QString &address, const char *purpose) const
{
    // The name is this object's own: a program and a library inside it may each have a Bus.
    const QString name = QStringLiteral("talo-%1-%2")
                             .arg(QLatin1String(purpose))
                             .arg(reinterpret_cast<quintptr>(this), 0, 16);
    QDBusConnection::disconnectFromBus(name);
    if (address.isEmpty())
        return QDBusConnection(name);
    return interface::connectToBus(address, name);
}

void Bus::forget(const QDBusConnection &connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (connection_ && connection_->name() == connection.name())
        connection_.reset();
}

bool Bus::silent() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::chrono::steady_clock::now() < silentUntil_;
}

QString Bus::explain(const QDBusMessage &error)
{
    const QString said = error.errorMessage();
    if (is(error, QDBusError::Disconnected) || is(error, QDBusError::NoServer))
        return QCoreApplication::translate(
            "Bus",
            "There is no message bus on which the TALO Antivirus service could be reached. Log in "
            "to a desktop session, or start talod on a bus and name that bus in TALO_BUS.");
    if (is(error, QDBusError::ServiceUnknown))
        return QCoreApplication::translate(
            "Bus", "The TALO Antivirus service is not running. Start talod and try again.");
    if (is(error, QDBusError::NoReply) || is(error, QDBusError::Timeout) ||
        is(error, QDBusError::TimedOut))
        return QCoreApplication::translate(
            "Bus", "The TALO Antivirus service does not answer. Try again in half a "
                   "minute; if that does not help, restart talod.");
    if (error.errorName() == QLatin1String(interface::kErrorPasswordNeeded))
        return QCoreApplication::translate("Bus", "The settings are guarded by a password: %1.")
            .arg(said);
    if (is(error, QDBusError::AccessDenied) ||
        error.errorName() == QLatin1String(interface::kErrorNotPermitted))
        return QCoreApplication::translate(
                   "Bus", "The TALO Antivirus service refused: %1. Ask an administrator, or "
                          "run the program as the user that talod runs as.")
            .arg(said);
    if (error.errorName().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn")))
        return QCoreApplication::translate(
                   "Bus", "The TALO Antivirus service could not be started: %1. The system's "
                          "log has the details.")
            .arg(said);
    if (is(error, QDBusError::UnknownMethod) || is(error, QDBusError::UnknownInterface) ||
        is(error, QDBusError::UnknownObject) || is(error, QDBusError::InvalidSignature))
        return QCoreApplication::translate(
            "Bus", "The TALO Antivirus service is of another version than this program. "
                   "Restart talod after the update.");
    return said.isEmpty() ? error.errorName() : said;
}

} // namespace talo::client
