#include "engine/libexcludesetting.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

#include <QStringList>

namespace
{

using namespace talo;

constexpr int kRefused = 704;

// Bytes, not text: the service judges what is not UTF-8, where a text would hide it.
int change(const char *method, const std::string &entry, int kind)
{
    const QDBusMessage answer = client::Bus::instance().call(
        interface::kExclusions, method, {QByteArray::fromStdString(entry), kind});
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("i"))
        return kRefused;
    return answer.arguments().at(0).toInt();
}

int list(std::string &locations, std::string &extensions, int *locationCount, int *extensionCount)
{
    const QDBusMessage answer = client::Bus::instance().call(interface::kExclusions, "List");
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("asas"))
        return kRefused;
    const QStringList listedLocations = answer.arguments().at(0).toStringList();
    const QStringList listedExtensions = answer.arguments().at(1).toStringList();
    const QLatin1Char comma(',');
    locations = listedLocations.join(comma).toStdString();
    extensions = listedExtensions.join(comma).toStdString();
    if (locationCount != nullptr)
        *locationCount = listedLocations.size();
    if (extensionCount != nullptr)
        *extensionCount = listedExtensions.size();
    return 0;
}

} // namespace

int libExcludeSetting::AddExcludeSettings(std::string entry, int kind)
{
    return client::guarded(kRefused, [&] { return change("Add", entry, kind); });
}

int libExcludeSetting::RemoveExcludeSetting(std::string entry, int kind)
{
    return client::guarded(kRefused, [&] { return change("Remove", entry, kind); });
}

int libExcludeSetting::GetExcludeScanList(std::string &locations, std::string &extensions,
                                          int *locationCount, int *extensionCount)
{
    locations.clear();
    extensions.clear();
    for (int *count : {locationCount, extensionCount})
        if (count != nullptr)
            *count = 0;
    return client::guarded(
        kRefused, [&] { return list(locations, extensions, locationCount, extensionCount); });
}
