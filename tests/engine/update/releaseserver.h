// A server of releases on the loopback device, which can misbehave.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace talo::test
{

class ReleaseServer
{
public:
    ReleaseServer();
    ~ReleaseServer();

    struct File {
        std::string content;
        std::string tag = "\"one\""; // ETag; empty for none
        long status = 200;
        std::string location;      // of a redirection
        std::size_t cutAfter = 0;  // closes the connection after so many bytes; 0 for never
        int cuts = 0;              // how often
        std::size_t holdAfter = 0; // says nothing more after so many bytes, until release()
        bool ignoresRanges = false;
        std::string claimedRange; // answers to a range with another one
    };
    void serve(const std::string &name, File file);
    void release() { released_ = true; }
    std::string address() const; // with a slash at its end
    // "GET /name", and " bytes=N-" where a part was asked for.
    std::vector<std::string> requests() const;
    std::size_t sent() const { return sent_; }

private:
    void run();
    void answer(int client);
    std::string answerTo(const std::string &request, File &file, std::string &body);
    void sendBody(int client, const File &file, const std::string &body, std::size_t cut);

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> end_{false};
    std::atomic<bool> released_{false};
    std::atomic<std::size_t> sent_{0};
    mutable std::mutex mutex_;
    std::map<std::string, File> files_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

} // namespace talo::test
