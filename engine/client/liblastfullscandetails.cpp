#include "engine/liblastfullscandetails.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

#include <QDBusReply>

namespace
{

constexpr std::size_t kBufferSize = 100;

} // namespace

void libLastFullScanDetails::GetLastFullScanDetails(char *buffer)
{
    using namespace talo;
    client::copyText(buffer, kBufferSize, std::string());
    client::guarded(0, [&] {
        const QDBusReply<QString> when =
            client::Bus::instance().call(interface::kReports, "LastFullScan");
        if (when.isValid())
            client::copyText(buffer, kBufferSize, when.value().toStdString());
        return 0;
    });
}
