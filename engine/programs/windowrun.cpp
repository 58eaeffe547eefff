#include "programs/windowrun.h"

#include "client/scanjob.h"
#include "pages/screencentre.h"
#include "programs/reportview.h"
#include "programs/scanwindow.h"
#include "programs/startwindow.h"

#include <QApplication>

namespace talo::programs
{

int runScanWindow(int &argc, char **argv, const ScanRequest &request)
{
    leaveStarter();
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
