#include "engine/updates.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "client/updaterun.h"
#include "interface/names.h"
#include "taloversion.h"

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
    writeMoment(values.value(QStringLiteral("signatureUpdated")).toLongLong(), date, time);
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

void register_callback(void (*callback)(long long, long long, float, int, int))
{
    client::reportUpdatesTo(callback);
}

int initiate_sig_update(int *handle)
{
    if (handle != nullptr)
        *handle = 0;
    return client::guarded<int>(client::kRefused, [&] {
        unsigned prepared = 0;
        const int code = client::prepareUpdate(prepared);
        if (handle != nullptr)
            *handle = static_cast<int>(prepared);
        return code;
    });
}

int start_sig_update(int handle)
{
    return client::guarded(client::kNotReported, [&] { return client::runUpdate(handle); });
}

int sig_update_stop(int handle)
{
    return client::guarded(1, [&] { return client::stopUpdate(handle); });
}
