// Starts a program with a window and prints when its first picture was there, and its memory:
//   bench_startup PROGRAM [ARGUMENT…]      with DISPLAY naming a display without a window manager
// prints milliseconds from exec to first paint, how many of them the program had a processor, and
// its resident and proportional size in KiB once it has come to rest. The program is ended then.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto kPatience = std::chrono::seconds(30);
constexpr auto kBetweenLooks = milliseconds(2);
constexpr auto kRest = milliseconds(300);
constexpr unsigned long long kRestless = 2'000'000; // nanoseconds, in a tenth of that
// A window that was mapped but not painted shows one colour, or that of what lay below.
constexpr std::size_t kColoursOfAPicture = 5;
// Smaller windows are selection owners and the like.
constexpr int kSmallestWindow = 100;

template <typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <typename T> Reply<T> own(T *reply)
{
    return Reply<T>(reply, &std::free);
}

[[noreturn]] void fail(const std::string &what)
{
    std::fprintf(stderr, "bench_startup: %s\n", what.c_str());
    std::exit(1);
}

bool showsPicture(xcb_connection_t *display, xcb_window_t window)
{
    const auto attributes = own(xcb_get_window_attributes_reply(
        display, xcb_get_window_attributes(display, window), nullptr));
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
        return false;
    const auto place =
        own(xcb_get_geometry_reply(display, xcb_get_geometry(display, window), nullptr));
    if (!place || place->width < kSmallestWindow || place->height < kSmallestWindow)
        return false;
    const auto image =
        own(xcb_get_image_reply(display,
                                xcb_get_image(display, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                              place->width, place->height, UINT32_MAX),
                                nullptr));
    if (!image) // partly off the screen, or gone
        return false;
    const std::uint8_t *const data = xcb_get_image_data(image.get());
    const auto size = static_cast<std::size_t>(xcb_get_image_data_length(image.get()));
    std::set<std::uint32_t> colours;
    for (std::size_t at = 0; at + sizeof(std::uint32_t) <= size; at += sizeof(std::uint32_t)) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, data + at, sizeof pixel);
        colours.insert(pixel);
        if (colours.size() == kColoursOfAPicture)
            return true;
    }
    return false;
}

bool anyPicture(xcb_connection_t *display, xcb_window_t root)
{
    const auto tree = own(xcb_query_tree_reply(display, xcb_query_tree(display, root), nullptr));
    if (!tree)
        fail("the display went away");
    const xcb_window_t *const windows = xcb_query_tree_children(tree.get());
    return std::any_of(windows, windows + xcb_query_tree_children_length(tree.get()),
                       [&](xcb_window_t window) { return showsPicture(display, window); });
}

// The time that the process has had on a processor, in nanoseconds.
unsigned long long processorTime(pid_t pid)
{
    unsigned long long time = 0;
    std::error_code error;
    const std::filesystem::directory_iterator threads("/proc/" + std::to_string(pid) + "/task",
                                                      error);
    if (error)
        fail("the program has ended by itself");
    for (const auto &thread : threads) {
        unsigned long long own = 0; // stays so for a thread that ends in this moment
        std::ifstream(thread.path() / "schedstat") >> own;
        time += own;
    }
    return time;
}

void waitForRest(pid_t pid)
{
    auto before = processorTime(pid);
    for (auto end = Clock::now() + kRest; Clock::now() < end;) {
        std::this_thread::sleep_for(kRest / 10);
        const auto now = processorTime(pid);
        if (now > before + kRestless)
            end = Clock::now() + kRest;
        before = now;
    }
}

std::string memory(pid_t pid, const std::string &key)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string word; file >> word;)
        if (word == key + ":" && file >> word)
            return word;
    fail("cannot read the memory's size");
}

pid_t start(char *const *command)
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    execvp(command[0], command);
    std::perror(command[0]);
    _exit(127);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2)
        fail("usage: bench_startup PROGRAM [ARGUMENT...]");
    xcb_connection_t *const display = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(display) != 0)
        fail("there is no display");
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
    if (anyPicture(display, root))
        fail("the display is not empty");

    const auto began = Clock::now();
    const pid_t pid = start(argv + 1);
    if (pid < 0)
        fail(std::strerror(errno));
    while (!anyPicture(display, root)) {
        if (waitpid(pid, nullptr, WNOHANG) != 0)
            fail("the program ended before it painted anything");
        if (Clock::now() - began > kPatience) {
            kill(pid, SIGKILL);
            fail("the program paints nothing");
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    const double paint = std::chrono::duration<double, std::milli>(Clock::now() - began).count();
    const double used = static_cast<double>(processorTime(pid)) / 1e6;
    waitForRest(pid);
    std::printf("%.1f %.1f %s %s\n", paint, used, memory(pid, "Rss").c_str(),
                memory(pid, "Pss").c_str());
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    // The server takes the windows of a client away a little after it.
    while (anyPicture(display, root))
        std::this_thread::sleep_for(kBetweenLooks);
    xcb_disconnect(display);
    return 0;
}
