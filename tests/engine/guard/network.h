// Two machines on a wire, as network namespaces of this process: ours with the firewall, and
// theirs. The real network is not touched. Nothing is left when the object is gone.
#pragma once

#include "files/uniquefd.h"

#include <functional>
#include <string>
#include <sys/types.h>

namespace talo::test
{

constexpr char kOurs4[] = "10.91.0.1";
constexpr char kTheirs4[] = "10.91.0.2";
constexpr char kOurs6[] = "fd91::1";
constexpr char kTheirs6[] = "fd91::2";
constexpr char kOurLink[] = "talo0";
constexpr char kTheirLink[] = "talo1";

// The thread that makes it is in our machine until it is gone. Needs root.
class Network
{
public:
    enum class Addresses { Given, None };
    explicit Network(Addresses addresses = Addresses::Given);
    ~Network();
    Network(const Network &) = delete;
    Network &operator=(const Network &) = delete;

    bool ready() const { return ready_; }

    // What sockets and children are made there belongs to their machine.
    void there(const std::function<void()> &work) const;

    // A shell command in our machine or theirs; its output where it succeeded.
    static bool run(const std::string &command);
    bool runThere(const std::string &command) const;

private:
    bool wire(Addresses addresses);

    files::UniqueFd home_;
    files::UniqueFd ours_;
    files::UniqueFd theirs_;
    pid_t holder_ = -1; // lets commands name their machine
    bool ready_ = false;
};

enum class Protocol { Tcp, Udp };
enum class Family { Four, Six };

// A server in the current machine on its own address of that family.
files::UniqueFd serve(Protocol protocol, Family family, const char *address, int port);

// Whether something sent from the current machine arrives at the server, and an answer to it comes
// back, within a time in which it surely would.
bool reaches(Protocol protocol, Family family, const char *address, int port, int server);

// Connects; no descriptor where that fails in that time.
files::UniqueFd connectTo(Family family, const char *address, int port);

// How many of so many echo requests, sent at once from the current machine, were answered.
int pinged(Family family, const char *address, int requests);

bool readable(int fd, int milliseconds);

} // namespace talo::test
