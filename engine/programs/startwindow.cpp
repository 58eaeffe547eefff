#include "programs/startwindow.h"

#include "language/language.h"

#include <QApplication>
#include <QFile>
#include <QFont>
#include <QIcon>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace talo::programs
{

// The starter's pipes may fill up or break; Qt and what it loads write there as they like.
void leaveStarter()
{
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nowhere >= 0) {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(nowhere, descriptor);
        if (nowhere > STDERR_FILENO)
            ::close(nowhere);
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    // Closing the starter's terminal, or an interrupt typed there, is not meant for the window.
    ::setsid();
    std::signal(SIGHUP, SIG_IGN);
    // Saves some 50 MB that a window without 3D has no use for.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION"))
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    // As the panel: on a dense screen letters and boxes grow alike.
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // At the end of a session the work goes on by itself; no question may hold up the logout.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
}

void dress(QApplication &application)
{
    useUserLanguage();
    QCoreApplication::setApplicationName(QStringLiteral("TALO Antivirus"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("TALO Antivirus"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/res/icon/talo.png")));
    QFont font(QStringLiteral("Gotham")); // as the panel asks for it
    font.setStyleStrategy(QFont::PreferAntialias);
    QApplication::setFont(font);
    QFile sheet(QStringLiteral(":/res/style/style.qss"));
    if (sheet.open(QIODevice::ReadOnly))
        application.setStyleSheet(QString::fromUtf8(sheet.readAll()));
}

} // namespace talo::programs
