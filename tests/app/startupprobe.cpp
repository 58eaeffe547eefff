// Preloaded into the panel's own program, tells how it started: a JSON object on standard output
// once the event loop runs, then the loop is left with the code in TALO_PROBE_EXIT.
// TALO_PROBE_RESOURCES names a resource file to register before anything is read from the bundle.
#include <QApplication>
#include <QFont>
#include <QIcon>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QResource>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace
{

QJsonObject describe()
{
    QJsonArray windows;
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible()) {
            windows.append(window->metaObject()->className());
        }
    }
    const QFont font = QApplication::font();
    return {{"windows", windows},
            {"family", font.family()},
            {"strategy", int(font.styleStrategy())},
            {"weight", font.weight()},
            {"italic", font.italic()},
            {"displayName", QGuiApplication::applicationDisplayName()},
            {"hasIcon", !QApplication::windowIcon().pixmap(32, 32).isNull()},
            {"libraryPaths", QJsonArray::fromStringList(QCoreApplication::libraryPaths())},
            {"styleLength", qApp->styleSheet().size()}};
}

void report()
{
    std::puts(QJsonDocument(describe()).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    QCoreApplication::exit(qEnvironmentVariableIntValue("TALO_PROBE_EXIT"));
}

void start()
{
    const QString resources = qEnvironmentVariable("TALO_PROBE_RESOURCES");
    if (!resources.isEmpty()) {
        QResource::registerResource(resources);
    }
    QTimer::singleShot(0, report);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(start)
