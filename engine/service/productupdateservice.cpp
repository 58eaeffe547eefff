#include "service/productupdateservice.h"

#include "interface/names.h"
#include "service/configuration.h"
#include "service/log.h"
#include "service/paths.h"
#include "service/shown.h"
#include "taloversion.h"

namespace talo::service
{

namespace
{

using update::ProductState;

// The interface's numbers are for good, whatever becomes of the engine's own.
interface::ProgramUpdateState numberOf(ProductState state)
{
    switch (state) {
    case ProductState::Idle:
        break;
    case ProductState::Checking:
        return interface::ProgramChecking;
    case ProductState::Downloading:
        return interface::ProgramDownloading;
    case ProductState::Verifying:
        return interface::ProgramVerifying;
    case ProductState::Installing:
        return interface::ProgramInstalling;
    case ProductState::Available:
        return interface::ProgramAvailable;
    case ProductState::Latest:
        return interface::ProgramLatest;
    case ProductState::Installed:
        return interface::ProgramInstalled;
    case ProductState::Stopped:
        return interface::ProgramStopped;
    case ProductState::Unreachable:
        return interface::ProgramUnreachable;
    case ProductState::Failed:
        return interface::ProgramFailed;
    case ProductState::NoSource:
        return interface::ProgramNoSource;
    }
    return interface::ProgramIdle;
}

void logEnd(const update::ProductProgress &end)
{
    switch (end.state) {
    case ProductState::Installed:
        log(Level::Info, "release " + shown(end.version) + " of the program is installed");
        break;
    case ProductState::Failed:
    case ProductState::Unreachable:
        log(Level::Warning, "the program was not updated: " + shown(end.problem));
        break;
    default:
        break;
    }
}

update::ProductConfig configOf(const ProductUpdateService::Surroundings &surroundings)
{
    update::ProductConfig config;
    config.folder = surroundings.state + "/program-update";
    config.installedVersion = TALO_VERSION;
    config.key = surroundings.key;
    config.source = [file = surroundings.configuration](std::string &reason) {
        return readProgramSource(file, reason);
    };
    config.installer = {updateInstaller(), update::packageTool()};
    config.ended = logEnd;
    return config;
}

QString text(const std::string &bytes)
{
    return QString::fromStdString(shown(bytes));
}

} // namespace

ProductUpdateService::ProductUpdateService(const Surroundings &surroundings)
    : update_(configOf(surroundings))
{
}

QVariantMap ProductUpdateService::progress() const
{
    const update::ProductProgress now = update_.progress();
    return {
        {QStringLiteral("state"), static_cast<uint>(numberOf(now.state))},
        {QStringLiteral("total"), static_cast<qulonglong>(now.total)},
        {QStringLiteral("received"), static_cast<qulonglong>(now.received)},
        {QStringLiteral("speed"), static_cast<qulonglong>(now.speed)},
        {QStringLiteral("version"), text(now.version)},
        {QStringLiteral("date"), text(now.date)},
        {QStringLiteral("notes"), text(now.notes)},
        {QStringLiteral("problem"), text(now.problem)},
    };
}

} // namespace talo::service
