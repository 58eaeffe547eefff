#include "scanloop.h"

#include "engine.h"
#include "scan/workerprotocol.h"

#ifdef TALO_SCAN_FAULTS
#include "faults.h"
#endif

#include <unistd.h>

namespace talo::worker
{

namespace protocol = scan::protocol;

void scanUntilClosed(int socket, Engine &engine)
{
    if (!protocol::send(socket, protocol::Ready{}, 0))
        return;
    for (;;) {
        protocol::Packet packet;
        protocol::Scan request;
        int file = -1;
        if (protocol::receive(socket, packet, 0, protocol::Descriptors::Accept, &file) !=
                protocol::Receive::Message ||
            !packet.read(request) || file < 0)
            return;
#ifdef TALO_SCAN_FAULTS
        provokeFault(file, socket);
#endif
        const Judgement judgement = engine.judge(file, request.size, request.options);
        close(file);
        protocol::Verdict verdict;
        verdict.id = request.id;
        verdict.outcome = judgement.outcome;
        verdict.leaving = judgement.unsound ? 1 : 0;
        verdict.detail.set(judgement.detail);
        if (!protocol::send(socket, verdict, 0) || judgement.unsound)
            return;
    }
}

} // namespace talo::worker
