#include "engine/updates.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

#include <QDBusReply>

#include <ctime>
#include <dlfcn.h>
#include <sys/stat.h>

namespace
{

using namespace talo;

void writeMoment(std::time_t when, char *date, char *time)
{
    std::tm local{};
    if (when <= 0 || localtime_r(&when, &local) == nullptr)
        return;
    char part[UpdateDateSize] = {};
    if (std::strftime(part, sizeof part, "%Y-%m-%d", &local) != 0)
        client::copyText(date, UpdateDateSize, part);
    if (std::strftime(part, sizeof part, "%H:%M", &local) != 0)
        client::copyText(time, UpdateTimeSize, part);
}

int describeSignatures(char *version, char *date, char *time)
{
    const QDBusReply<QVariantMap> status =
        client::Bus::instance().call(interface::kStatus, "GetStatus");
    if (!status.isValid())
        return 1;
    const QVariantMap values = status.value();
    client::copyText(version, SignatureVersionSize,
                     values.value(QStringLiteral("signatureVersion")).toString().toStdString());
    writeMoment(values.value(QStringLiteral("signatureTime")).toLongLong(), date, time);
    return 0;
}

} // namespace

void GetSigantureUpdateInfo(char *version, char *date, char *time)
{
    client::copyText(version, SignatureVersionSize, std::string());
    client::copyText(date, UpdateDateSize, std::string());
    client::copyText(time, UpdateTimeSize, std::string());
    client::guarded(1, [&] { return describeSignatures(version, date, time); });
}

void GetProductUpdateInfo(char *version, char *date, char *time)
{
    client::copyText(version, ProductVersionSize, TALO_VERSION);
    client::copyText(date, UpdateDateSize, std::string());
    client::copyText(time, UpdateTimeSize, std::string());
    // The program was last updated when this library was written.
    Dl_info self{};
    struct stat status {
    };
    if (dladdr(reinterpret_cast<const void *>(&GetProductUpdateInfo), &self) != 0 &&
        self.dli_fname != nullptr && stat(self.dli_fname, &status) == 0)
        writeMoment(status.st_mtime, date, time);
}

// Updates have no source yet: no run can be prepared, so none reports and none can be stopped.
void register_callback(void (*)(long long, long long, float, int, int)) {}

int initiate_sig_update(int *handle)
{
    constexpr int kNoSource = 2;
    if (handle != nullptr)
        *handle = 0;
    return kNoSource;
}

int start_sig_update([[maybe_unused]] int handle)
{
    return 1;
}

int sig_update_stop([[maybe_unused]] int handle)
{
    return 1;
}
