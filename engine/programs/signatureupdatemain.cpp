// TaloAntivirus_Signature_Update: one update of the signatures in the panel's own window, or in the
// terminal without a display.
#include "engine/processchecks.h"
#include "language/language.h"
#include "pages/signatureupdate.h"
#include "programs/console.h"
#include "programs/display.h"
#include "programs/startwindow.h"
#include "programs/stopsignals.h"
#include "programs/terminalrun.h"
#include "programs/terminalsignatureupdate.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

using namespace talo::programs;

constexpr int kDone = 0;
constexpr int kNotDone = 2;
constexpr char kUsage[] = QT_TRANSLATE_NOOP(
    "Programs", "Usage: TaloAntivirus_Signature_Update\n"
                "\n"
                "Updates the virus signatures, in a window where there is a display.\n"
                "Exit status: 0 they are the latest now, 2 they may not be.\n");

// The outcome, for the exit code alone: the window says it in words.
class Verdict : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    int code = kNotDone;

public slots:
    void take(int status)
    {
        constexpr int kUpdated = 2;
        constexpr int kAlreadyLatest = 7;
        if (status == kUpdated || status == kAlreadyLatest)
            code = kDone;
    }
};

int runWindow(int &argc, char **argv)
{
    leaveStarter();
    QApplication application(argc, argv);
    dress(application);
    auto *window = new SignatureUpdate; // lives as long as the engine may report to it
    Verdict verdict;
    QObject::connect(window, &SignatureUpdate::updateStatus, &verdict, &Verdict::take);
    window->show();
    window->startSignatureUpdate();
    QApplication::exec();
    return verdict.code;
}

int runTerminal(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    talo::useUserLanguage();
    useUtf8();
    Console console;
    // Left to the end of the process, like its worker, which may be waiting for the service still.
    auto *update = new TerminalSignatureUpdate(console);
    const StopSignals signalsOfUser;
    QObject::connect(&signalsOfUser, &StopSignals::asked, update, &TerminalSignatureUpdate::stop);
    QObject::connect(update, &TerminalSignatureUpdate::done, &QCoreApplication::exit);
    QTimer::singleShot(0, update, &TerminalSignatureUpdate::start);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    ignoreBrokenPipes();
    if (argc > 1) {
        const bool help = argc == 2 && std::strcmp(argv[1], "--help") == 0;
        sayBeforeStart(argv, help ? stdout : stderr, kUsage);
        return help ? kDone : kNotDone;
    }
    if (IsTaloAVRunning("TaloAntivirus_S") == 0) {
        sayBeforeStart(argv, stderr,
                       QT_TRANSLATE_NOOP("Programs", "Signature Update is already running.\n"));
        return kNotDone;
    }
    const int code = findDisplay() ? runWindow(argc, argv) : runTerminal(argc, argv);
    // The worker may still be waiting for the service, which finishes the update by itself.
    std::fflush(nullptr);
    std::_Exit(code);
}

#include "signatureupdatemain.moc"
