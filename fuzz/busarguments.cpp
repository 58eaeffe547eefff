// The arguments of every method that callers on the bus have: the whole service on a bus of its
// own, asked one question for each input. An input names a method of the interface, as in
// "Schedules.Add", then a line break; the rest is decoded to what the method takes: four bytes to a
// number, a length and its bytes to a text. The last text takes what is left.
#include "target.h"

#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"
#include "service/service.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

namespace
{

using namespace talo;

// Methods by their names, with the types they take and give.
struct Method {
    QString interface;
    QString name;
    QStringList takes;
    QString gives;
};
using Methods = std::map<std::string, Method>;

Methods read(const QString &description)
{
    Methods methods;
    QXmlStreamReader xml(description);
    Method method;
    while (!xml.atEnd()) {
        xml.readNext();
        const auto attribute = [&xml](const char *name) {
            return xml.attributes().value(QLatin1String(name)).toString();
        };
        if (xml.isStartElement() && xml.name() == QLatin1String("interface"))
            method.interface = attribute("name");
        else if (xml.isStartElement() && xml.name() == QLatin1String("method"))
            method = {method.interface, attribute("name"), {}, {}};
        else if (xml.isStartElement() && xml.name() == QLatin1String("arg") &&
                 attribute("direction") == QLatin1String("in"))
            method.takes << attribute("type");
        else if (xml.isStartElement() && xml.name() == QLatin1String("arg"))
            method.gives += attribute("type");
        else if (xml.isEndElement() && xml.name() == QLatin1String("method") &&
                 method.interface.startsWith(QLatin1String(interface::kService)))
            methods[(method.interface.section(QLatin1Char('.'), -1) + QLatin1Char('.') +
                     method.name)
                        .toStdString()] = method;
    }
    fuzz::require(!xml.hasError() && methods.size() > 40);
    return methods;
}

class Bench
{
public:
    static Bench &instance()
    {
        static Bench bench;
        return bench;
    }
    ~Bench()
    {
        service_->stop();
        QDBusConnection::disconnectFromBus(client_.name());
    }

    const Methods &methods() const { return methods_; }

    QDBusMessage ask(const Method &method, const QVariantList &arguments) const
    {
        QDBusMessage question = QDBusMessage::createMethodCall(
            QString::fromLatin1(interface::kService), QString::fromLatin1(interface::kObject),
            method.interface, method.name);
        question.setArguments(arguments);
        const QDBusPendingCallWatcher answer(client_.asyncCall(question, kPatienceMs));
        QEventLoop loop;
        QObject::connect(&answer, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
        if (!answer.isFinished())
            loop.exec();
        return answer.reply();
    }
    QDBusMessage ask(const char *method, const QVariantList &arguments = {}) const
    {
        return ask(methods_.at(method), arguments);
    }

    // So that no input depends on too many before it. Whatever they have stored must survive being
    // written to a file and read again.
    void tidy()
    {
        if (++inputs_ % kInputsBetweenTidying != 0)
            return;
        const QByteArray stored = text(ask("Settings.Export"));
        fuzz::require(number(ask("Settings.Import", {stored})) == 0);
        fuzz::require(text(ask("Settings.Export")) == stored);
        fuzz::require(number(ask("Settings.Import", {fresh_})) == 0);
        const auto reports = ask("Reports.List", {QString(), QString()});
        const auto list =
            qdbus_cast<interface::ReportList>(reports.arguments().value(1).value<QDBusArgument>());
        for (const interface::ReportEntry &report : list)
            ask("Reports.Delete", {report.key});
    }

private:
    static constexpr int kPatienceMs = 8000;
    static constexpr unsigned kInputsBetweenTidying = 200;

    Bench() : client_(bus_.connect(QStringLiteral("caller")))
    {
        // Every change is logged.
        stderr = std::fopen("/dev/null", "w");
        service::Options options;
        const std::string nowhere = folder_.filePath(QStringLiteral("none")).toStdString();
        options.bus = bus_.address();
        options.state = folder_.path().toStdString();
        // A scan that is let begin finds no signatures, and so never looks at a file.
        options.signatures = options.worker = nowhere;
        options.configuration = options.powerSupplies = nowhere;
        service_ = std::make_unique<service::Service>(options);
        fuzz::require(stderr != nullptr && service_->start() == service::Done);
        const Method introspect{QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                QStringLiteral("Introspect"),
                                {},
                                QStringLiteral("s")};
        methods_ = read(ask(introspect, {}).arguments().value(0).toString());
        fresh_ = text(ask("Settings.Export"));
        fuzz::require(!fresh_.isEmpty());
    }

    static QByteArray text(const QDBusMessage &answer)
    {
        return answer.arguments().value(0).toByteArray();
    }
    static int number(const QDBusMessage &answer)
    {
        return answer.arguments().value(0, -1).toInt();
    }

    int count_ = 0;
    QCoreApplication application_{count_, nullptr};
    // In memory where there is such a folder: settings are flushed each time.
    QTemporaryDir folder_{(QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm")
                                                                     : QDir::tempPath()) +
                          QStringLiteral("/talo-fuzz-XXXXXX")};
    PrivateBus bus_;
    QDBusConnection client_;
    std::unique_ptr<service::Service> service_;
    Methods methods_;
    QByteArray fresh_;
    unsigned inputs_ = 0;
};

class Input
{
public:
    explicit Input(std::string_view bytes) : left_(bytes) {}

    std::string line()
    {
        const std::size_t end = std::min(left_.find('\n'), left_.size());
        std::string line = take(end);
        take(1);
        return line;
    }

    QVariant value(const QString &type, bool last)
    {
        if (type == QLatin1String("ay"))
            return QByteArray::fromStdString(text(last));
        if (type == QLatin1String("s"))
            return QString::fromStdString(text(last));
        if (type == QLatin1String("i"))
            return number();
        if (type == QLatin1String("u"))
            return static_cast<uint>(number());
        if (type == QLatin1String("b"))
            return take(1) > std::string(1, '\x7F');
        fuzz::require(type == QLatin1String("a{si}")); // else teach it here
        interface::SettingMap map;
        while (!left_.empty()) {
            const QString key = QString::fromStdString(text(false));
            map[key] = number();
        }
        return QVariant::fromValue(map);
    }

private:
    std::string take(std::size_t count)
    {
        std::string taken(left_.substr(0, count));
        left_.remove_prefix(taken.size());
        return taken;
    }
    std::string text(bool last)
    {
        const std::string length = last ? std::string() : take(1);
        return take(last             ? left_.size()
                    : length.empty() ? 0
                                     : static_cast<unsigned char>(length.front()));
    }
    int number()
    {
        int number = 0;
        const std::string bytes = take(sizeof number);
        std::memcpy(&number, bytes.data(), bytes.size());
        return number;
    }

    std::string_view left_;
};

// A password that is stored would have all that follows wait for its hash and for the pauses after
// wrong ones.
bool storesPassword(const Method &method, const QVariantList &arguments)
{
    return method.name == QLatin1String("Create") && arguments.at(0) == arguments.at(1);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(fuzz::textOf(data, size));
    Bench &bench = Bench::instance();
    // A name that is none is as good as its neighbour's.
    auto found = bench.methods().lower_bound(input.line());
    if (found == bench.methods().end())
        --found;
    const Method &method = found->second;
    QVariantList arguments;
    for (int at = 0; at < method.takes.size(); ++at)
        arguments << input.value(method.takes.at(at), at + 1 == method.takes.size());
    if (storesPassword(method, arguments))
        return 0;
    const QDBusMessage answer = bench.ask(method, arguments);
    // What it promises, or a refusal of our own; never silence, nor an error of the bus.
    if (answer.type() == QDBusMessage::ReplyMessage)
        fuzz::require(answer.signature() == method.gives);
    else
        fuzz::require(answer.errorName().startsWith(QLatin1String("org.taloantivirus.Error.")) &&
                      !answer.errorMessage().isEmpty());
    bench.tidy();
    return 0;
}
