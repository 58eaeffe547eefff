#include "programs/talo/service.h"

#include "client/bus.h"
#include "programs/console.h"
#include "programs/printable.h"
#include "programs/words.h"

namespace talo::programs
{

std::optional<QVariantList> askService(const char *interface, const char *method,
                                       const QVariantList &arguments, const char *signature)
{
    const QDBusMessage answer = client::Bus::instance().call(interface, method, arguments);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        Console().problem(printable(client::Bus::explain(answer)));
        return std::nullopt;
    }
    if (answer.signature() != QLatin1String(signature)) {
        Console().problem(Programs::tr("The TALO Antivirus service is of another version than "
                                       "this program. Restart talod after the update."));
        return std::nullopt;
    }
    return answer.arguments();
}

} // namespace talo::programs
