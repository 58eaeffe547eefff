// Understands what freshclam prints. Any bytes may come.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace talo::update
{

class FreshclamOutput
{
public:
    void feed(std::string_view bytes);

    // Of the file that is being downloaded, in bytes; 0 where not known.
    std::uint64_t total() const { return total_; }
    std::uint64_t done() const { return done_; }
    // Of the files before it.
    std::uint64_t before() const { return before_; }
    // Databases that are done with, whether they were new or not.
    unsigned finished() const { return finished_; }

    // When the server wants to be asked again at the earliest; 0: it did not say.
    std::time_t coolDownUntil() const { return coolDown_; }
    bool fileMissing() const { return fileMissing_; } // on the server
    bool diskFailed() const { return diskFailed_; }
    // What it complained of, printable and of limited length; empty where of nothing.
    std::string complaint() const;

private:
    void line(const std::string &text);
    bool progress(const std::string &text);

    std::string line_;
    enum class Escape { None, Begun, Inside } escape_ = Escape::None;
    std::uint64_t total_ = 0;
    std::uint64_t done_ = 0;
    std::uint64_t before_ = 0;
    unsigned finished_ = 0;
    std::time_t coolDown_ = 0;
    bool fileMissing_ = false;
    bool diskFailed_ = false;
    std::string message_; // of the library that downloads
    std::string error_;
};

} // namespace talo::update
