// TaloAntivirus_Product_Update: one update of the program in a window, or in the terminal without a
// display.
#include "client/productupdatejob.h"
#include "engine/processchecks.h"
#include "language/language.h"
#include "pages/screencentre.h"
#include "programs/display.h"
#include "programs/productupdatewindow.h"
#include "programs/startwindow.h"
#include "programs/terminalproductupdate.h"
#include "programs/terminalrun.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

namespace
{

using namespace talo::programs;
using talo::client::ProductUpdateJob;

constexpr char kUsage[] = QT_TRANSLATE_NOOP(
    "Programs",
    "Usage: TaloAntivirus_Product_Update\n"
    "\n"
    "Installs the latest release of TALO Antivirus; in a window where there is a display.\n"
    "Exit status: 0 the latest release is installed, 2 it may not be.\n");
constexpr int kNotDone = 2;

int runWindow(int &argc, char **argv)
{
    leaveStarter();
    QApplication application(argc, argv);
    dress(application);
    ProductUpdateJob job;
    ProductUpdateWindow window(job);
    talo::centreOnScreen(&window);
    window.show();
    job.start(ProductUpdateJob::Want::Install);
    QApplication::exec();
    return window.exitCode();
}

} // namespace

int main(int argc, char **argv)
{
    ignoreBrokenPipes();
    if (argc > 1) {
        const bool help = argc == 2 && std::strcmp(argv[1], "--help") == 0;
        sayBeforeStart(argv, help ? stdout : stderr, kUsage);
        return help ? 0 : kNotDone;
    }
    if (IsTaloAVRunning("TaloAntivirus_P") == 0) {
        sayBeforeStart(argv, stderr,
                       QT_TRANSLATE_NOOP("Programs", "Product Update is already running.\n"));
        return kNotDone;
    }
    if (findDisplay())
        return runWindow(argc, argv);
    const QCoreApplication application(argc, argv);
    talo::useUserLanguage();
    useUtf8();
    return runTerminalProductUpdate(ProductUpdateJob::Want::Install);
}
