#include "programs/windowrun.h"

#include "client/scanjob.h"
#include "pages/screencentre.h"
#include "programs/reportview.h"
#include "programs/scanwindow.h"

#include <QApplication>
#include <QFile>
#include <QFont>
#include <QIcon>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace talo::programs
{

namespace
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
}

void dress(QApplication &application)
{
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

} // namespace

int runScanWindow(int &argc, char **argv, const ScanRequest &request)
{
    leaveStarter();
    // Saves some 50 MB that a window without 3D has no use for.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION"))
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    // At the end of a session the scan goes on by itself; no question may hold up the logout.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    QApplication application(argc, argv);
    dress(application);

    client::ScanJob job;
    ScanWindow window(request, job);
    QObject::connect(&window, &ScanWindow::reportWanted, &window, &showReport);
    talo::centreOnScreen(&window);
    window.show();
    job.start(request.kind, request.path);
    QApplication::exec();
    return window.exitCode();
}

} // namespace talo::programs
