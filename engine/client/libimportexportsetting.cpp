// The file is written and read here; what may be in it is the service's to say.
#include "engine/libimportexportsetting.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "client/wholefile.h"
#include "interface/names.h"

namespace
{

using namespace talo;

constexpr char kName[] = "Settings.ini";
// The service takes no larger one; it is not worth its way there.
constexpr std::size_t kLargest = std::size_t{4} << 20u;

int exportTo(const std::string &folder)
{
    constexpr int kCannotWrite = 1;
    const files::UniqueFd place = client::openPlace(folder);
    if (!place)
        return kCannotWrite;
    const QDBusMessage answer = client::Bus::instance().call(interface::kSettings, "Export");
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("ay"))
        return kCannotWrite;
    const std::string text = answer.arguments().at(0).toByteArray().toStdString();
    return client::replaceFile(place.get(), kName, text) ? 0 : kCannotWrite;
}

int importFrom(const std::string &folder)
{
    constexpr int kUnreadable = 1;
    constexpr int kNotValid = 2;
    constexpr int kRefused = 3;
    const files::UniqueFd place = client::openPlace(folder);
    if (!place)
        return kUnreadable;
    std::string text;
    switch (client::readWhole(place.get(), kName, kLargest, text)) {
    case client::ReadResult::Unreadable:
        return kUnreadable;
    case client::ReadResult::TooLarge:
        return kNotValid;
    case client::ReadResult::Done:
        break;
    }
    const QDBusMessage answer = client::Bus::instance().call(interface::kSettings, "Import",
                                                             {QByteArray::fromStdString(text)});
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("i"))
        return kRefused;
    return answer.arguments().at(0).toInt();
}

} // namespace

int libImportExportSetting::ExportSettings(char const *folder)
{
    constexpr int kCannotWrite = 1;
    return client::guarded(kCannotWrite,
                           [&] { return exportTo(folder == nullptr ? std::string() : folder); });
}

int libImportExportSetting::ImportSettings(char const *folder)
{
    constexpr int kUnreadable = 1;
    return client::guarded(kUnreadable,
                           [&] { return importFrom(folder == nullptr ? std::string() : folder); });
}
