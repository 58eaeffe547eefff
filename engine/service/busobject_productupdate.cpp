// The bus object's methods for updates of the program.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/productupdateservice.h"

namespace talo::service
{

void BusObject::beginProgramUpdate(update::ProductUpdate::Want want)
{
    whenPermitted(Action::UpdateProgram, [this, want](const Call &call) {
        if (rooms_.program.begin(want))
            call.answer();
        else
            call.refuse(interface::kErrorRunning,
                        QStringLiteral("an update of the program is already running"));
    });
}

void BusObject::CheckProgram()
{
    beginProgramUpdate(update::ProductUpdate::Want::Check);
}

void BusObject::UpdateProgram()
{
    beginProgramUpdate(update::ProductUpdate::Want::Install);
}

bool BusObject::StopProgramUpdate()
{
    whenPermitted(Action::UpdateProgram,
                  [this](const Call &call) { call.answer({rooms_.program.stop()}); });
    return false;
}

QVariantMap BusObject::ProgramUpdateProgress()
{
    return permitted(Action::ReadStatus) ? rooms_.program.progress() : QVariantMap();
}

} // namespace talo::service
