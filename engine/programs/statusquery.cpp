#include "programs/statusquery.h"

#include "client/asynccall.h"
#include "client/bus.h"
#include "interface/names.h"

#include <QDBusReply>

namespace talo::programs
{

void StatusQuery::ask()
{
    client::callAsync(client::Bus::instance().connection(),
                      client::Bus::message(interface::kStatus, "GetStatus"), client::Bus::kPatience,
                      this, [this](const QDBusMessage &answer) {
                          // Empty where the answer is an error, or of another form.
                          emit answered(QDBusReply<QVariantMap>(answer).value());
                      });
}

} // namespace talo::programs
