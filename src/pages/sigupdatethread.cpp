#include "pages/sigupdatethread.h"

#include "engine/processchecks.h"
#include "engine/updates.h"

namespace
{

constexpr int kNoConnection = -1;

}

// Success needs no word from here: the engine reports it as the last status of the run.
void SignatureUpdateThread::run()
{
    int commPort = 0;
    if (IsInternetAvailable() == kNoConnection) {
        emit NoInternetConnection();
        return;
    }
    const int prepared = initiate_sig_update(&commPort);
    if (prepared != 0) {
        emit sigUpdateRetVal(prepared);
        return;
    }
    emit sigUpdateCommPort(commPort);
    const int ended = start_sig_update(commPort);
    if (ended != 0) {
        emit sigUpdateRetVal(ended);
    }
}
