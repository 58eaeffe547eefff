// The bus object's methods for updates.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/updateservice.h"

namespace talo::service
{

namespace
{

const char *errorName(UpdateService::Refusal refusal)
{
    switch (refusal) {
    case UpdateService::Refusal::AlreadyRunning:
        return interface::kErrorRunning;
    case UpdateService::Refusal::NoSource:
        return interface::kErrorNoSource;
    case UpdateService::Refusal::Failed:
    case UpdateService::Refusal::None:
        break;
    }
    return interface::kErrorFailed;
}

QString noSuchRun()
{
    return QStringLiteral("there is no such update, or it is too late");
}

} // namespace

QVariantMap BusObject::UpdateState()
{
    return permitted(Action::ReadUpdates) ? rooms_.updates.state() : QVariantMap();
}

uint BusObject::PrepareSignatureUpdate()
{
    whenPermitted(Action::UpdateSignatures, [this](const Call &call) {
        const UpdateService::Prepared prepared = rooms_.updates.prepare();
        if (prepared.refusal == UpdateService::Refusal::None)
            call.answer({prepared.handle});
        else
            call.refuse(errorName(prepared.refusal), prepared.reason);
    });
    return 0;
}

void BusObject::controlUpdate(uint handle, bool (UpdateService::*what)(uint))
{
    whenPermitted(Action::UpdateSignatures,
                  [&updates = rooms_.updates, handle, what](const Call &call) {
                      if ((updates.*what)(handle))
                          call.answer();
                      else
                          call.refuse(interface::kErrorNotFound, noSuchRun());
                  });
}

void BusObject::StartSignatureUpdate(uint handle)
{
    controlUpdate(handle, &UpdateService::start);
}

void BusObject::StopSignatureUpdate(uint handle)
{
    controlUpdate(handle, &UpdateService::stop);
}

interface::UpdateProgress BusObject::SignatureUpdateProgress(uint handle)
{
    if (!permitted(Action::ReadUpdates))
        return {};
    const auto progress = rooms_.updates.progress(handle);
    if (!progress)
        sendErrorReply(QString::fromLatin1(interface::kErrorNotFound), noSuchRun());
    return progress.value_or(interface::UpdateProgress());
}

} // namespace talo::service
