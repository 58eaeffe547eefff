#include "engine/update/releaseserver.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace talo::test
{

namespace
{

bool readable(int descriptor, int milliseconds)
{
    pollfd look{descriptor, POLLIN, 0};
    return poll(&look, 1, milliseconds) > 0;
}

std::string header(const std::string &request, const std::string &name)
{
    const std::size_t at = request.find("\r\n" + name + ": ");
    if (at == std::string::npos)
        return std::string();
    const std::size_t begin = at + name.size() + 4;
    return request.substr(begin, request.find("\r\n", begin) - begin);
}

} // namespace

ReleaseServer::ReleaseServer() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *const plain = reinterpret_cast<sockaddr *>(&address);
    socklen_t length = sizeof address;
    if (bind(listener_, plain, length) == 0 && listen(listener_, 16) == 0 &&
        getsockname(listener_, plain, &length) == 0)
        port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { run(); });
}

ReleaseServer::~ReleaseServer()
{
    end_ = true;
    released_ = true;
    thread_.join();
    close(listener_);
}

void ReleaseServer::serve(const std::string &name, File file)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    files_[name] = std::move(file);
}

std::string ReleaseServer::address() const
{
    return "http://127.0.0.1:" + std::to_string(port_) + "/";
}

std::vector<std::string> ReleaseServer::requests() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void ReleaseServer::run()
{
    while (!end_) {
        if (!readable(listener_, 20))
            continue;
        const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            continue;
        answer(client);
        close(client);
    }
}

void ReleaseServer::answer(int client)
{
    std::string request;
    std::array<char, 4096> part{};
    while (request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count =
            readable(client, 2000) ? recv(client, part.data(), part.size(), 0) : 0;
        if (count <= 0)
            return;
        request.append(part.data(), static_cast<std::size_t>(count));
    }
    const std::string line = request.substr(0, request.find(" HTTP/"));
    const std::string range = header(request, "Range");
    std::string body;
    std::string head = "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n";
    File file;
    std::size_t cut = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(line + (range.empty() ? "" : " " + range));
        const auto found = files_.find(line.substr(line.find('/') + 1));
        if (found != files_.end()) {
            head = answerTo(request, found->second, body);
            file = found->second;
            if (file.cutAfter != 0 && found->second.cuts-- > 0)
                cut = file.cutAfter;
        }
    }
    head += "Connection: close\r\n\r\n";
    send(client, head.data(), head.size(), MSG_NOSIGNAL);
    sendBody(client, file, body, cut);
}

std::string ReleaseServer::answerTo(const std::string &request, File &file, std::string &body)
{
    std::string head;
    const std::string range = header(request, "Range");
    const bool same = header(request, "If-Range") == file.tag;
    body = file.content;
    if (file.status != 200) {
        head = "HTTP/1.1 " + std::to_string(file.status) +
               " As Told\r\nLocation: " + file.location + "\r\n";
    } else if (!range.empty() && same && !file.ignoresRanges) {
        const std::size_t begin = std::stoul(range.substr(range.find('=') + 1));
        if (begin >= file.content.size()) {
            body.clear();
            return "HTTP/1.1 416 Range Not Satisfiable\r\nContent-Length: 0\r\n";
        }
        body = file.content.substr(begin);
        const std::string told = "bytes " + std::to_string(begin) + "-" +
                                 std::to_string(file.content.size() - 1) + "/" +
                                 std::to_string(file.content.size());
        head = "HTTP/1.1 206 Partial Content\r\nContent-Range: " +
               (file.claimedRange.empty() ? told : file.claimedRange) + "\r\n";
    } else {
        head = "HTTP/1.1 200 OK\r\n";
    }
    if (!file.tag.empty())
        head += "ETag: " + file.tag + "\r\n";
    return head + "Content-Length: " + std::to_string(body.size()) + "\r\n";
}

void ReleaseServer::sendBody(int client, const File &file, const std::string &body, std::size_t cut)
{
    const std::size_t end = cut != 0 ? std::min(cut, body.size()) : body.size();
    constexpr std::size_t kBlock = 16384;
    for (std::size_t at = 0; at < end && !end_;) {
        std::size_t count = std::min(kBlock, end - at);
        if (file.holdAfter != 0 && !released_) {
            if (at >= file.holdAfter) {
                // Until it may go on, or the other end has gone.
                if (!readable(client, 20))
                    continue;
                return;
            }
            count = std::min(count, file.holdAfter - at);
        }
        const ssize_t wrote = send(client, body.data() + at, count, MSG_NOSIGNAL);
        if (wrote <= 0)
            return;
        at += static_cast<std::size_t>(wrote);
        sent_ += static_cast<std::size_t>(wrote);
    }
}

} // namespace talo::test
