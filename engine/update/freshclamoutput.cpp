#include "update/freshclamoutput.h"

#include "files/printable.h"

#include <array>
#include <cstdlib>

namespace talo::update
{

namespace
{

constexpr std::size_t kLongestLine = 2048;
constexpr std::size_t kLongestComplaint = 200;
constexpr double kLargest = 1e12; // bytes; no database comes near it

bool begins(const std::string &text, std::string_view with)
{
    return text.compare(0, with.size(), with) == 0;
}

bool ends(const std::string &text, std::string_view with)
{
    return text.size() >= with.size() &&
           text.compare(text.size() - with.size(), with.size(), with) == 0;
}

// "64.00KiB"
bool parseSize(const std::string &text, std::uint64_t &bytes)
{
    static constexpr struct {
        std::string_view unit;
        double factor;
    } kUnits[] = {
        {"KiB", 1024.0}, {"MiB", 1024.0 * 1024}, {"GiB", 1024.0 * 1024 * 1024}, {"B", 1.0}};
    const std::size_t digits = text.find_first_not_of("0123456789.");
    if (digits == 0 || digits == std::string::npos || digits > 12)
        return false;
    for (const auto &unit : kUnits) {
        if (text.compare(digits, std::string::npos, unit.unit) != 0)
            continue;
        const double value = std::strtod(text.substr(0, digits).c_str(), nullptr) * unit.factor;
        if (!(value >= 0) || value > kLargest)
            return false;
        bytes = static_cast<std::uint64_t>(value);
        return true;
    }
    return false;
}

// "2026-11-21 15:51:34", local
std::time_t parseMoment(const std::string &text)
{
    std::tm moment{};
    const char *const end = strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &moment);
    if (end == nullptr)
        return 0;
    moment.tm_isdst = -1;
    const std::time_t when = std::mktime(&moment);
    return when > 0 ? when : 0;
}

} // namespace

void FreshclamOutput::feed(std::string_view bytes)
{
    for (const char letter : bytes) {
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '\r' || letter == '\n') {
            line(line_);
            line_.clear();
            escape_ = Escape::None;
        } else if (escape_ == Escape::Begun) {
            escape_ = letter == '[' ? Escape::Inside : Escape::None;
        } else if (escape_ == Escape::Inside) {
            if (code >= 0x40 && code <= 0x7E)
                escape_ = Escape::None;
        } else if (code == 0x1B) {
            escape_ = Escape::Begun;
        } else if (line_.size() < kLongestLine) {
            line_ += letter;
        }
    }
}

void FreshclamOutput::line(const std::string &text)
{
    constexpr std::string_view kCoolDown = "cool-down until after: ";
    constexpr std::string_view kMessage = "Message: ";
    constexpr std::string_view kFailed = "Database update process failed: ";
    constexpr std::string_view kError = "ERROR: ";
    if (progress(text))
        return;
    std::size_t found = text.find(kCoolDown);
    if (found != std::string::npos) {
        coolDown_ = parseMoment(text.substr(found + kCoolDown.size()));
    } else if ((found = text.find(kMessage)) != std::string::npos) {
        message_ = text.substr(found + kMessage.size());
    } else if ((found = text.find(kFailed)) != std::string::npos) {
        if (error_.empty())
            error_ = text.substr(found + kFailed.size());
    } else if (begins(text, kError) && !ends(text, "Update failed.")) {
        error_ = text.substr(kError.size());
    }
    if (text.find("file not found: ") != std::string::npos)
        fileMissing_ = true;
    if (text.find("Failed writing received data") != std::string::npos)
        diskFailed_ = true;
    if (text.find(" updated (version: ") != std::string::npos ||
        text.find(" is up-to-date (version: ") != std::string::npos)
        ++finished_;
}

// "Time:    0.0s, ETA:    0.1s [====>     ]   64.00KiB/3.14MiB"
bool FreshclamOutput::progress(const std::string &text)
{
    if (!begins(text, "Time:"))
        return false;
    const std::size_t slash = text.find_last_of('/');
    const std::size_t blank = text.find_last_of(' ');
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    if (slash == std::string::npos || blank == std::string::npos || slash < blank ||
        !parseSize(text.substr(blank + 1, slash - blank - 1), done) ||
        !parseSize(text.substr(slash + 1), total))
        return true;
    if (done < done_) {
        // Another file, or the same one again: what was done stays done.
        before_ += done_;
    }
    total_ = total;
    done_ = done < total ? done : total;
    return true;
}

std::string FreshclamOutput::complaint() const
{
    return files::printable(message_.empty() ? error_ : message_, kLongestComplaint);
}

} // namespace talo::update
