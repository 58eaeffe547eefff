// The store of exclusions.
#pragma once

#include "store/exclusion.h"

#include <vector>

namespace talo::store
{

class Database;

// May be used from any thread.
class ExclusionStore
{
public:
    // So many entries, and so many bytes of text in all of them, that the whole list fits into a
    // message of the bus and into a file of settings.
    static constexpr std::size_t kMostEntries = 20000;
    static constexpr std::size_t kMostText = std::size_t{3} << 20u;

    explicit ExclusionStore(Database &database) : database_(database) {}

    struct Outcome {
        ExclusionCode code = ExclusionCode::Done;
        std::string reason; // of Refused
    };
    Outcome add(const Exclusion &entry);
    Outcome remove(const Exclusion &entry); // with exactly this text

    // In the order of entry. Empty, or why they cannot be read.
    std::string list(std::vector<Exclusion> &entries);

    // Whether the entries could be the whole list: each fits, none twice, not too many.
    static Outcome check(const std::vector<Exclusion> &entries);

    // For a transaction of the caller's that holds more than exclusions: replaces the list.
    static bool write(Database &database, const std::vector<Exclusion> &entries);

private:
    Database &database_;
};

} // namespace talo::store
