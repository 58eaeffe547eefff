#include "update/productaddress.h"

#include <algorithm>
#include <cstring>
#include <curl/curl.h>
#include <memory>

namespace talo::update
{

namespace
{

constexpr std::size_t kLongest = 2048;

struct Closer {
    void operator()(CURLU *url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, Closer>;

std::string part(const Url &url, CURLUPart which)
{
    char *text = nullptr;
    if (curl_url_get(url.get(), which, &text, 0) != CURLUE_OK)
        return std::string();
    std::string value = text;
    curl_free(text);
    return value;
}

bool isThisMachine(const std::string &host)
{
    return host == "localhost" || host == "127.0.0.1" || host == "[::1]";
}

bool isFileName(const std::string &name)
{
    const auto allowed = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') ||
               (letter != '\0' && std::strchr("._+~-", letter) != nullptr);
    };
    return !name.empty() && name[0] != '.' && std::all_of(name.begin(), name.end(), allowed);
}

} // namespace

bool isReleaseAddress(const std::string &address)
{
    const Url url(curl_url());
    if (!url || address.size() > kLongest ||
        curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_DISALLOW_USER) != CURLUE_OK)
        return false;
    const std::string scheme = part(url, CURLUPART_SCHEME);
    const std::string host = part(url, CURLUPART_HOST);
    return (scheme == "https" || (scheme == "http" && isThisMachine(host))) && !host.empty() &&
           part(url, CURLUPART_QUERY).empty() && part(url, CURLUPART_FRAGMENT).empty();
}

std::optional<std::string> releaseAddress(const std::string &folder, const std::string &name)
{
    std::string address = name;
    if (isFileName(name))
        address = folder + (folder.empty() || folder.back() != '/' ? "/" : "") + name;
    if (!isReleaseAddress(address))
        return std::nullopt;
    return address;
}

} // namespace talo::update
