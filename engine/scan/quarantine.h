// Where deleted threats are kept, inert, until they are restored, purged or too old.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace talo::scan
{

class Quarantine
{
public:
    // `folder` is made with mode 0700 if it does not exist.
    explicit Quarantine(std::string folder);

    struct Object {
        std::string id;
        std::time_t time = 0; // of arrival
        std::string path;     // where it was taken from, bytes
        std::string threat;
        std::uint64_t size = 0;
    };

    // Newest first. Records that cannot be read are left out.
    std::vector<Object> list() const;

    enum class Result { Done, NotFound, Failed };
    struct Outcome {
        Result result = Result::Failed;
        std::string reason; // why it failed, in words
    };

    // Puts an object back where it was, with owner, mode and times; never over another file, and
    // never with more rights than its owner has.
    Outcome restore(const std::string &id);

    // Destroys an object for good.
    Outcome purge(const std::string &id);

    // Purges what arrived before the given time.
    void expire(std::time_t before);

private:
    std::string folder_;
};

} // namespace talo::scan
