#include "service/mail.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <curl/curl.h>
#include <memory>
#include <mutex>

namespace talo::service
{

namespace
{

constexpr long kConnectSeconds = 20;
constexpr long kSeconds = 60;
constexpr long kFirstRefusal = 400;

struct Source {
    std::string_view left;
};

extern "C" size_t readMessage(char *buffer, size_t size, size_t count, void *source)
{
    std::string_view &left = static_cast<Source *>(source)->left;
    const size_t length = std::min(left.size(), size * count);
    std::memcpy(buffer, left.data(), length);
    left.remove_prefix(length);
    return length;
}

extern "C" int lookForStop(void *stop, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<const std::atomic<bool> *>(stop)->load() ? 1 : 0;
}

struct Closer {
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
    void operator()(CURLU *url) const { curl_url_cleanup(url); }
};

bool ready()
{
    static std::once_flag once;
    static bool initialised = false;
    std::call_once(once, [] { initialised = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK; });
    return initialised;
}

bool isThisMachine(const std::string &server)
{
    const std::unique_ptr<CURLU, Closer> url(curl_url());
    char *part = nullptr;
    if (!url ||
        curl_url_set(url.get(), CURLUPART_URL, server.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
            CURLUE_OK ||
        curl_url_get(url.get(), CURLUPART_HOST, &part, 0) != CURLUE_OK)
        return false;
    const std::string host = part;
    curl_free(part);
    return host == "localhost" || host == "127.0.0.1" || host == "[::1]";
}

MailResult resultOf(CURL *handle, CURLcode code)
{
    long response = 0;
    curl_off_t connected = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &response);
    curl_easy_getinfo(handle, CURLINFO_CONNECT_TIME_T, &connected);
    switch (code) {
    case CURLE_OK:
        return MailResult::Accepted;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
        return MailResult::Unreachable;
    case CURLE_OPERATION_TIMEDOUT:
        return connected == 0 ? MailResult::Unreachable : MailResult::Failed;
    case CURLE_LOGIN_DENIED:
        return MailResult::Refused;
    default:
        return response >= kFirstRefusal ? MailResult::Refused : MailResult::Failed;
    }
}

} // namespace

MailResult sendMail(const MailSettings &settings, const store::Secret &message,
                    const std::atomic<bool> &stop, std::string &reason)
{
    const std::unique_ptr<CURL, Closer> handle(ready() ? curl_easy_init() : nullptr);
    const std::unique_ptr<curl_slist, Closer> recipients(
        handle ? curl_slist_append(nullptr, settings.to.c_str()) : nullptr);
    if (!recipients) {
        reason = "libcurl cannot be used";
        return MailResult::Failed;
    }
    Source source{message.view()};
    std::array<char, CURL_ERROR_SIZE> error{};
    CURL *const mail = handle.get();
    curl_easy_setopt(mail, CURLOPT_URL, settings.server.c_str());
    curl_easy_setopt(mail, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(mail, CURLOPT_USE_SSL,
                     isThisMachine(settings.server) ? CURLUSESSL_NONE : CURLUSESSL_ALL);
    curl_easy_setopt(mail, CURLOPT_PROXY, ""); // whatever the environment says
    curl_easy_setopt(mail, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(mail, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
    curl_easy_setopt(mail, CURLOPT_TIMEOUT, kSeconds);
    curl_easy_setopt(mail, CURLOPT_ERRORBUFFER, error.data());
    if (!settings.user.empty()) {
        curl_easy_setopt(mail, CURLOPT_USERNAME, settings.user.c_str());
        curl_easy_setopt(mail, CURLOPT_PASSWORD, settings.password.c_str());
    }
    curl_easy_setopt(mail, CURLOPT_MAIL_FROM, settings.from.c_str());
    curl_easy_setopt(mail, CURLOPT_MAIL_RCPT, recipients.get());
    curl_easy_setopt(mail, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(mail, CURLOPT_READFUNCTION, readMessage);
    curl_easy_setopt(mail, CURLOPT_READDATA, &source);
    curl_easy_setopt(mail, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(mail, CURLOPT_XFERINFOFUNCTION, lookForStop);
    curl_easy_setopt(mail, CURLOPT_XFERINFODATA, &stop);
    const CURLcode code = curl_easy_perform(mail);
    if (code != CURLE_OK)
        reason = error[0] == '\0' ? curl_easy_strerror(code) : error.data();
    return resultOf(mail, code);
}

} // namespace talo::service
