// A time zone: how far its local time is ahead of UTC, and when that changes.
//
// Moments are seconds since 1970 in UTC. A local time is given as what a clock on the wall shows,
// as if that were UTC: so many seconds since 1970-01-01 00:00 on that wall.
#pragma once

#include "schedule/zonerule.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace talo::schedule
{

// libc knows one zone for the whole process and does not notice when that is changed; this is any
// zone, and one that is read again when asked. It is a value.
class Zone
{
public:
    Zone() = default; // UTC

    // The content of a file of the time zone database (RFC 8536); nothing if it is none, or one
    // that counts leap seconds.
    static std::optional<Zone> parse(std::string_view file);
    // What the variable TZ can hold ("Europe/Berlin", ":/some/file", "CET-1CEST,M3.5.0,M10.5.0/3").
    static std::optional<Zone> named(const std::string &name);
    // This process's zone: that of the variable TZ, else of /etc/localtime, which need not exist
    // where UTC is meant. Nothing if what is there cannot be read.
    static std::optional<Zone> local();

    std::int64_t offsetAt(std::int64_t moment) const; // seconds ahead of UTC

    // The first moment at which a clock there shows this local time or a later one. For a time that
    // is skipped in spring this is the moment of the change, for one that comes twice in autumn the
    // first of the two.
    std::int64_t momentOf(std::int64_t local) const;

private:
    std::optional<ZoneChange> changeAfter(std::int64_t moment) const;
    std::vector<ZoneChange> ruledChanges(std::int64_t moment) const;

    std::int64_t atFirst_ = 0;
    std::vector<ZoneChange> changes_; // by moment
    std::optional<ZoneRule> rule_;    // from the last of them on
};

} // namespace talo::schedule
