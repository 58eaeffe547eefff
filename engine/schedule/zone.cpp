#include "schedule/zone.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kDay = 86400;
// No place is further from UTC, and no clock is put by more (one that was to leave out a day).
constexpr std::int64_t kFurthest = std::int64_t{26} * 3600;
constexpr std::size_t kLargest = 1U << 20U;
constexpr char kLocalTime[] = "/etc/localtime";
constexpr char kDatabase[] = "/usr/share/zoneinfo/";

struct Header {
    std::size_t utcMarks = 0;
    std::size_t standardMarks = 0;
    std::size_t leaps = 0;
    std::size_t changes = 0;
    std::size_t types = 0;
    std::size_t letters = 0;

    std::size_t bytes(std::size_t momentSize) const
    {
        return changes * (momentSize + 1) + types * 6 + letters + leaps * (momentSize + 4) +
               standardMarks + utcMarks;
    }
};

// Big-endian numbers from the front of a file.
class Reader
{
public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}

    std::size_t left() const { return bytes_.size(); }
    void skip(std::size_t size) { bytes_.remove_prefix(size); }
    std::string_view rest() const { return bytes_; }

    std::int64_t number(std::size_t size)
    {
        std::uint64_t value = bytes_.front() < 0 ? ~std::uint64_t{0} : 0;
        for (const char byte : bytes_.substr(0, size))
            value = (value << 8U) | static_cast<unsigned char>(byte);
        skip(size);
        return static_cast<std::int64_t>(value);
    }

    // Its version, from '\0' on.
    std::optional<char> header(Header &header)
    {
        constexpr std::size_t kSize = 44;
        if (left() < kSize || bytes_.substr(0, 4) != "TZif")
            return std::nullopt;
        const char version = bytes_[4];
        skip(20);
        for (std::size_t *count : {&header.utcMarks, &header.standardMarks, &header.leaps,
                                   &header.changes, &header.types, &header.letters}) {
            const std::int64_t value = number(4);
            if (value < 0 || static_cast<std::size_t>(value) > kLargest)
                return std::nullopt;
            *count = static_cast<std::size_t>(value);
        }
        return version;
    }

private:
    std::string_view bytes_;
};

bool takeChanges(Reader &reader, const Header &header, std::size_t momentSize,
                 std::vector<ZoneChange> &changes, std::int64_t &atFirst)
{
    std::vector<std::size_t> types;
    for (std::size_t at = 0; at < header.changes; ++at)
        changes.push_back({reader.number(momentSize), 0});
    for (std::size_t at = 0; at < header.changes; ++at)
        types.push_back(static_cast<std::size_t>(reader.number(1)) & 0xFFU);
    std::vector<std::int64_t> offsets;
    for (std::size_t at = 0; at < header.types; ++at) {
        offsets.push_back(reader.number(4));
        if (offsets.back() < -kFurthest || offsets.back() > kFurthest)
            return false;
        reader.skip(2);
    }
    reader.skip(header.letters + header.standardMarks + header.utcMarks);
    for (std::size_t at = 0; at < header.changes; ++at) {
        if (types[at] >= offsets.size())
            return false;
        changes[at].offset = offsets[types[at]];
    }
    atFirst = offsets.front();
    return std::is_sorted(changes.begin(), changes.end());
}

std::optional<std::string> contentOf(const std::string &path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return std::nullopt;
    std::string content;
    char part[8192];
    ssize_t size = 0;
    while (content.size() <= kLargest && (size = read(file, part, sizeof part)) > 0)
        content.append(part, static_cast<std::size_t>(size));
    close(file);
    return size == 0 ? std::optional(content) : std::nullopt;
}

} // namespace

std::optional<Zone> Zone::parse(std::string_view file)
{
    Reader reader(file);
    Header header;
    std::optional<char> version = reader.header(header);
    std::size_t momentSize = 4;
    if (version && *version != '\0') {
        // The first part is for readers of old; the same follows with longer numbers.
        if (reader.left() < header.bytes(momentSize))
            return std::nullopt;
        reader.skip(header.bytes(momentSize));
        version = reader.header(header);
        momentSize = 8;
    }
    if (!version || header.leaps != 0 || header.types == 0 ||
        reader.left() < header.bytes(momentSize))
        return std::nullopt;
    Zone zone;
    if (!takeChanges(reader, header, momentSize, zone.changes_, zone.atFirst_))
        return std::nullopt;
    if (momentSize == 4)
        return zone;
    const std::string_view rest = reader.rest();
    if (rest.size() < 2 || rest.front() != '\n' || rest.back() != '\n')
        return std::nullopt;
    const std::string_view rule = rest.substr(1, rest.size() - 2);
    if (rule.empty())
        return zone;
    zone.rule_ = ZoneRule::parse(rule);
    return zone.rule_ ? std::optional(zone) : std::nullopt;
}

std::optional<Zone> Zone::named(const std::string &name)
{
    const std::string bare = name.substr(name.rfind(':', 0) == 0 ? 1 : 0);
    if (bare.empty())
        return Zone();
    const bool leadsOut = bare.find("..") != std::string::npos;
    if (const auto file = contentOf(bare.front() == '/' ? bare : kDatabase + bare);
        file && !leadsOut)
        return parse(*file);
    Zone zone;
    zone.rule_ = ZoneRule::parse(bare);
    if (!zone.rule_)
        return std::nullopt;
    zone.atFirst_ = zone.rule_->standardOffset();
    return zone;
}

std::optional<Zone> Zone::local()
{
    // Nothing in this program sets it.
    if (const char *const name = std::getenv("TZ")) // NOLINT(concurrency-mt-unsafe)
        return named(name);
    if (const auto file = contentOf(kLocalTime))
        return parse(*file);
    return errno == ENOENT ? std::optional(Zone()) : std::nullopt;
}

std::vector<ZoneChange> Zone::ruledChanges(std::int64_t moment) const
{
    std::vector<ZoneChange> ruled;
    if (!rule_)
        return ruled;
    const std::int64_t last = changes_.empty() ? INT64_MIN : changes_.back().moment;
    if (!rule_->hasSummer())
        return ruled;
    const std::int64_t year = yearOf(moment);
    for (std::int64_t near = year - 1; near <= year + 1; ++near)
        for (const ZoneChange &change : rule_->changesIn(near))
            if (change.moment > last)
                ruled.push_back(change);
    std::stable_sort(ruled.begin(), ruled.end());
    return ruled;
}

std::int64_t Zone::offsetAt(std::int64_t moment) const
{
    const auto before = [moment](const std::vector<ZoneChange> &changes) {
        return std::upper_bound(changes.begin(), changes.end(), ZoneChange{moment, 0});
    };
    if (changes_.empty() || moment >= changes_.back().moment) {
        const std::vector<ZoneChange> ruled = ruledChanges(moment);
        const auto next = before(ruled);
        if (next != ruled.begin())
            return std::prev(next)->offset;
    }
    const auto next = before(changes_);
    return next == changes_.begin() ? atFirst_ : std::prev(next)->offset;
}

std::optional<ZoneChange> Zone::changeAfter(std::int64_t moment) const
{
    const auto after = [moment](const std::vector<ZoneChange> &changes) {
        const auto next = std::upper_bound(changes.begin(), changes.end(), ZoneChange{moment, 0});
        return next == changes.end() ? std::nullopt : std::optional(*next);
    };
    const auto listed = after(changes_);
    return listed ? listed : after(ruledChanges(moment));
}

std::int64_t Zone::momentOf(std::int64_t local) const
{
    std::int64_t from = local - 2 * kDay; // before it, wherever the zone is
    std::int64_t offset = offsetAt(from);
    for (;;) {
        const std::int64_t found = std::max(from, local - offset);
        const auto change = changeAfter(from);
        if (!change || found < change->moment)
            return found;
        from = change->moment;
        offset = change->offset;
    }
}

} // namespace talo::schedule
