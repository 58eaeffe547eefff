#include "app/app.h"
#include "engine/processchecks.h"
#include "language/language.h"

#include <QApplication>
#include <QDebug>
#include <QFontDatabase>
#include <QIcon>

#include <cstdlib>

int main(int argc, char *argv[])
{
    // One panel a user. Asked before anything is set up: a second start leaves no trace.
    if (IsTaloAVRunning("TaloAntivirus") == 0) {
        qDebug() << "Product instace is already running";
        std::exit(0);
    }

    // Qt's X11 plugin loads an OpenGL driver at start that a panel of plain widgets never draws
    // with; without it the process is about 50 MiB smaller. A user's own choice stands.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION")) {
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    }

    // All sizes are in pixels; a dense screen is to have them doubled, letters and boxes alike.
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    QApplication::addLibraryPath("../lib");
    QApplication::setApplicationDisplayName("TALO Antivirus");
    talo::useUserLanguage();
    QApplication::setWindowIcon(QIcon(":/res/icon/talo.png"));

    // The bundle holds the font as Gotham.ttf, so this path finds nothing: the panel takes an
    // installed font of that family where there is one, and the desktop's own otherwise.
    if (QFontDatabase::addApplicationFont(":/res/font/gotham.ttf") == -1) {
        QFont font("Gotham", -1, -1, false);
        font.setStyleStrategy(QFont::PreferAntialias);
        QApplication::setFont(font);
    }

    int code = 0;
    {
        TaloAntivirus_Linux_App window(nullptr);
        window.show();
        code = QApplication::exec();
    }
    // A search or an update may still be running on a thread of its own. Closing the panel is how
    // it is cancelled, and nothing that it uses may be taken apart before it.
    std::_Exit(code);
}
