#include "update/productdownload.h"

#include "files/result.h"
#include "taloversion.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <string_view>
#include <strings.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace talo::update
{

namespace
{

using Result = FetchOutcome::Result;

constexpr long kWhole = 200;
constexpr long kPart = 206;
constexpr long kRedirections = 300;
constexpr long kRefusals = 400;
constexpr std::size_t kLongestValidator = 256;

struct Closer {
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
};
using Handle = std::unique_ptr<CURL, Closer>;

bool ready()
{
    static std::once_flag once;
    static bool initialised = false;
    std::call_once(once, [] { initialised = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK; });
    return initialised;
}

// One transfer, as libcurl's callbacks see it. They give the reason for ending it here.
struct Transfer {
    CURL *handle = nullptr;
    const std::atomic<bool> *stop = nullptr;
    std::string fault;

    std::string *content = nullptr; // a small file goes here
    std::size_t limit = 0;

    Downloader::File *file = nullptr; // a large one there
    const Downloader::Progress *progress = nullptr;
    std::uint64_t offset = 0; // what the file held before, of which the server sends the rest
    std::uint64_t written = 0;
    bool begun = false;
    std::string validator;
    std::string range;
};

long statusOf(CURL *handle)
{
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

// The body of anything but the file that was asked for is of no interest.
bool isWanted(const Transfer &transfer)
{
    const long status = statusOf(transfer.handle);
    return status == kWhole || (status == kPart && transfer.file != nullptr);
}

extern "C" size_t keepContent(char *data, size_t size, size_t count, void *context)
{
    Transfer &transfer = *static_cast<Transfer *>(context);
    const size_t length = size * count;
    if (!isWanted(transfer))
        return length;
    if (transfer.content->size() + length > transfer.limit) {
        transfer.fault = "the server sent more than a file of this kind may have";
        return 0;
    }
    transfer.content->append(data, length);
    return length;
}

// Where the server begins: behind what is there already, or from the start.
bool begin(Transfer &transfer)
{
    const bool resumes = statusOf(transfer.handle) == kPart;
    const std::string expected = "bytes " + std::to_string(transfer.offset) + "-";
    if (resumes &&
        (transfer.offset == 0 || transfer.range.compare(0, expected.size(), expected) != 0)) {
        transfer.fault = "the server sent another part than it was asked for";
        return false;
    }
    transfer.written = resumes ? transfer.offset : 0;
    if (!resumes && ftruncate(transfer.file->descriptor, 0) != 0) {
        transfer.fault = "cannot write the download: " + files::systemError(errno).text;
        return false;
    }
    transfer.file->validator = transfer.validator;
    transfer.begun = true;
    return true;
}

extern "C" size_t keepPart(char *data, size_t size, size_t count, void *context)
{
    Transfer &transfer = *static_cast<Transfer *>(context);
    const size_t length = size * count;
    if (!isWanted(transfer))
        return length;
    if (!transfer.begun && !begin(transfer))
        return 0;
    if (transfer.written + length > transfer.file->size) {
        transfer.fault = "the server sent more than the release says its package has";
        return 0;
    }
    for (size_t done = 0; done < length;) {
        const ssize_t wrote = pwrite(transfer.file->descriptor, data + done, length - done,
                                     static_cast<off_t>(transfer.written));
        if (wrote < 0) {
            transfer.fault = "cannot write the download: " + files::systemError(errno).text;
            return 0;
        }
        done += static_cast<size_t>(wrote);
        transfer.written += static_cast<std::uint64_t>(wrote);
    }
    return length;
}

std::string trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return std::string();
    return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

// A weak entity tag names no bytes, so it is none here.
void takeHeader(Transfer &transfer, std::string_view line)
{
    const auto valueOf = [line](std::string_view name) {
        const bool matches =
            line.size() > name.size() && strncasecmp(line.data(), name.data(), name.size()) == 0;
        return matches ? trimmed(line.substr(name.size())) : std::string();
    };
    if (line.substr(0, 5) == "HTTP/") {
        transfer.validator.clear();
        transfer.range.clear();
    }
    const std::string tag = valueOf("etag:");
    if (tag.size() > 1 && tag.size() <= kLongestValidator && tag[0] == '"')
        transfer.validator = tag;
    const std::string range = valueOf("content-range:");
    if (!range.empty())
        transfer.range = range;
}

extern "C" size_t readHeader(char *data, size_t size, size_t count, void *context)
{
    takeHeader(*static_cast<Transfer *>(context), {data, size * count});
    return size * count;
}

extern "C" int lookAround(void *context, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    Transfer &transfer = *static_cast<Transfer *>(context);
    if (transfer.stop->load())
        return 1;
    if (transfer.begun && transfer.progress != nullptr && *transfer.progress) {
        curl_off_t speed = 0;
        curl_easy_getinfo(transfer.handle, CURLINFO_SPEED_DOWNLOAD_T, &speed);
        (*transfer.progress)(transfer.written,
                             static_cast<std::uint64_t>(std::max(speed, curl_off_t{0})));
    }
    return 0;
}

void prepare(CURL *handle, const std::string &address, const DownloadLimits &limits,
             Transfer &transfer, char *error)
{
    transfer.handle = handle;
    curl_easy_setopt(handle, CURLOPT_URL, address.c_str());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "https,http");
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle, CURLOPT_USERAGENT, "TALO Antivirus " TALO_VERSION);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, static_cast<long>(limits.connect.count()));
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(limits.stall.count()));
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, readHeader);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION,
                     transfer.file != nullptr ? keepPart : keepContent);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, lookAround);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);
}

Result unreachableOr(CURLcode code)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return Result::Unreachable;
    default:
        return Result::Failed;
    }
}

FetchOutcome perform(Transfer &transfer, const char *error)
{
    const CURLcode code = curl_easy_perform(transfer.handle);
    const long status = statusOf(transfer.handle);
    if (transfer.stop->load())
        return {Result::Stopped, {}};
    if (!transfer.fault.empty())
        return {Result::Failed, transfer.fault};
    if (code != CURLE_OK)
        return {unreachableOr(code), *error != '\0' ? error : curl_easy_strerror(code)};
    if (isWanted(transfer))
        return {Result::Done, {}};
    if (status >= kRedirections && status < kRefusals)
        return {Result::Failed, "the server leads elsewhere, which is not followed (status " +
                                    std::to_string(status) + ")"};
    return {Result::Failed, "the server answered with status " + std::to_string(status)};
}

} // namespace

FetchOutcome Downloader::fetch(const std::string &address, std::size_t limit,
                               std::string &content) const
{
    const Handle handle(ready() ? curl_easy_init() : nullptr);
    if (!handle)
        return {Result::Failed, "libcurl cannot be used"};
    std::array<char, CURL_ERROR_SIZE> error{};
    content.clear();
    Transfer transfer;
    transfer.stop = &stop_;
    transfer.content = &content;
    transfer.limit = limit;
    prepare(handle.get(), address, limits_, transfer, error.data());
    return perform(transfer, error.data());
}

FetchOutcome Downloader::attempt(const std::string &address, File &file,
                                 const Progress &progress) const
{
    const Handle handle(ready() ? curl_easy_init() : nullptr);
    struct stat status {
    };
    if (!handle || fstat(file.descriptor, &status) != 0)
        return {Result::Failed, "the download cannot begin"};
    std::array<char, CURL_ERROR_SIZE> error{};
    Transfer transfer;
    transfer.stop = &stop_;
    transfer.file = &file;
    transfer.progress = &progress;
    const auto held = static_cast<std::uint64_t>(status.st_size);
    transfer.offset = file.validator.empty() || held > file.size ? 0 : held;
    prepare(handle.get(), address, limits_, transfer, error.data());

    std::unique_ptr<curl_slist, Closer> headers;
    const std::string range = std::to_string(transfer.offset) + "-";
    if (transfer.offset != 0) {
        headers.reset(curl_slist_append(nullptr, ("If-Range: " + file.validator).c_str()));
        curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
        curl_easy_setopt(handle.get(), CURLOPT_RANGE, range.c_str());
    }
    FetchOutcome outcome = perform(transfer, error.data());
    if (outcome.result == Result::Done && transfer.written != file.size)
        outcome = {Result::Failed, "the server sent less than the release says its package has"};
    return outcome;
}

bool Downloader::waitBeforeNext() const
{
    const auto until = std::chrono::steady_clock::now() + limits_.pause;
    while (!stop_.load() && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return !stop_.load();
}

FetchOutcome Downloader::download(const std::string &address, File &file,
                                  const Progress &progress) const
{
    struct stat status {
    };
    const bool complete = fstat(file.descriptor, &status) == 0 && !file.validator.empty() &&
                          static_cast<std::uint64_t>(status.st_size) == file.size;
    if (complete)
        return {Result::Done, {}};
    FetchOutcome outcome;
    for (int count = 1; count <= limits_.attempts; ++count) {
        outcome = attempt(address, file, progress);
        // What was cut off may go on; what was answered wrongly would be so again.
        if (outcome.result != Result::Unreachable)
            return outcome;
        if (count < limits_.attempts && !waitBeforeNext())
            return {Result::Stopped, {}};
    }
    return outcome;
}

} // namespace talo::update
