// The file that holds one quarantined object: a record of what it was, then its content, made inert
// by a cipher whose key stands in the record. The key keeps no secret; it keeps the content from
// being run by accident, and other scanners from finding it.
#pragma once

#include "files/identity.h"
#include "files/result.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace talo::scan
{

using ObjectKey = std::array<unsigned char, 32>;
using ContentHash = std::array<unsigned char, 32>;

struct ObjectRecord {
    ObjectKey key{};
    ContentHash contentHash{}; // of the inert content
    std::uint64_t contentSize = 0;
    uid_t owner = 0;
    gid_t group = 0;
    mode_t mode = 0; // permission bits
    timespec accessed{};
    timespec modified{};
    std::time_t arrival = 0;
    files::Identity identity; // of the original, while it had one
    std::string path;         // absolute, bytes
    std::string threat;
};

// Longer texts are no record.
constexpr std::size_t kMaxThreatLength = 4096;

// A fresh random key.
ObjectKey newObjectKey();

std::string encodeRecord(const ObjectRecord &record);

// Writes the record to the start of an object's file. Nothing: done.
std::optional<files::Error> writeRecord(int object, const ObjectRecord &record);

// How many bytes encodeRecord() gives for texts of these lengths.
std::uint64_t encodedSize(std::size_t pathLength, std::size_t threatLength);

// Reads and checks the record at the start of an object's file, trusting nothing in it.
files::Result<ObjectRecord> readRecord(int object);

// Copies content and changes it between its live and its inert form, both ways alike. `out` is
// written from `outOffset` on. Gives the hash of the inert form.
enum class Conversion { MakeInert, MakeLive };
files::Result<ContentHash> convertContent(Conversion conversion, const ObjectRecord &record, int in,
                                          std::uint64_t inOffset, int out, std::uint64_t outOffset);

} // namespace talo::scan
