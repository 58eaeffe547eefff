// What bench/duplicates runs beside the peers: the trees it makes, the search alone, and the floor.
//
// usage: bench_duplicates make TREE FOLDER      mixed, small, samesize or huge
//        bench_duplicates search FOLDER         the engine's search; prints its groups' figures
//        bench_duplicates floor FOLDER          one walk, and one read of all that has a size in
//        common
#include "files/duplicates/search.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

namespace fs = std::filesystem;

// The same numbers on every machine.
class Numbers
{
public:
    explicit Numbers(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next()
    {
        std::uint64_t z = (state_ += 0x9e3779b97f4a7c15u);
        z = (z ^ (z >> 30u)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27u)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31u);
    }
    std::uint64_t below(std::uint64_t end) { return next() % end; }
    double fraction() { return static_cast<double>(next() >> 11u) * 0x1p-53; }

private:
    std::uint64_t state_;
};

[[noreturn]] void fail(const std::string &what)
{
    std::fprintf(stderr, "%s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

struct Content {
    std::uint64_t seed = 0; // of all but the first 4 KiB
    std::uint64_t head = 0; // of those
    std::uint64_t size = 0;
};

void write(const std::string &path, const Content &content)
{
    constexpr std::uint64_t kHead = 4096;
    static std::vector<std::uint64_t> words(1u << 17u);
    const int fd = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        fail(path);
    Numbers head(content.head);
    Numbers rest(content.seed);
    for (std::uint64_t at = 0; at < content.size;) {
        const std::uint64_t size = std::min<std::uint64_t>(content.size - at, words.size() * 8);
        for (std::uint64_t i = 0; i < (size + 7) / 8; ++i)
            words[i] = (at + i * 8 < kHead ? head : rest).next();
        if (::write(fd, words.data(), size) != static_cast<ssize_t>(size))
            fail(path);
        at += size;
    }
    close(fd);
}

void writeByte(const std::string &path, std::uint64_t at)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0 || pwrite(fd, "\x99", 1, static_cast<off_t>(at)) != 1)
        fail(path);
    close(fd);
}

std::string placeOf(const std::string &folder, std::uint64_t number)
{
    const std::string place =
        folder + "/d" + std::to_string(number % 251) + "/s" + std::to_string(number / 251 % 7);
    fs::create_directories(place);
    return place + "/f" + std::to_string(number);
}

// Sizes as people have them (log-normal), three in ten a copy of an earlier file, one in twenty
// with another one's size and beginning, and now and then a link, a hard link and an empty file.
void makeFiles(const std::string &folder, std::uint64_t count, double bytes, double middle,
               double largest)
{
    Numbers numbers(42);
    std::vector<double> weights(count);
    double sum = 0;
    for (double &weight : weights) {
        const double normal = std::sqrt(-2 * std::log(numbers.fraction() + 1e-12)) *
                              std::cos(6.283185307 * numbers.fraction());
        weight = std::min(std::exp(middle + 2.0 * normal), largest);
        sum += weight;
    }
    std::vector<Content> made;
    for (std::uint64_t i = 0; i < count; ++i) {
        Content content;
        if (i > 100 && numbers.fraction() < 0.3) {
            content = made[numbers.below(i)];
        } else {
            std::uint64_t size =
                std::max<std::uint64_t>(1, static_cast<std::uint64_t>(weights[i] * bytes / sum));
            const std::uint64_t rounding = numbers.below(4);
            const std::uint64_t block = rounding == 0 ? 4096 : rounding == 1 ? 512 : 1;
            size = (size + block - 1) / block * block;
            content = {numbers.next(), numbers.next(), size};
            if (i > 100 && numbers.below(20) == 0) {
                const Content &other = made[numbers.below(i)];
                content.head = other.head;
                content.size = other.size;
            }
        }
        made.push_back(content);
        const std::string path = placeOf(folder, i);
        write(path, content);
        if (i % 1000 == 7) {
            fs::create_hard_link(path, path + ".hard");
            fs::create_symlink(path, path + ".link");
            write(path + ".empty", {});
        }
    }
}

// Equal for the first 4 KiB, and never behind them.
void makeSameSize(const std::string &folder)
{
    for (std::uint64_t i = 0; i < 20000; ++i)
        write(placeOf(folder, i), {1000 + i, 7, 65536});
}

void makeHuge(const std::string &folder)
{
    constexpr std::uint64_t kSize = 512u << 20u;
    for (const char *name : {"/a", "/b", "/c", "/d", "/last", "/middle"})
        write(folder + name, {5, 5, kSize});
    writeByte(folder + "/last", kSize - 5000);
    writeByte(folder + "/middle", kSize / 2);
}

int make(const std::string &tree, const std::string &folder)
{
    fs::create_directories(folder);
    if (tree == "mixed")
        makeFiles(folder, 60000, 4294967296.0, 9.2, 4e7);
    else if (tree == "small")
        makeFiles(folder, 100000, 200e6, 7.0, 4e4);
    else if (tree == "samesize")
        makeSameSize(folder);
    else if (tree == "huge")
        makeHuge(folder);
    else
        return 2;
    sync();
    return 0;
}

int search(const std::string &folder)
{
    const auto groups = talo::files::findDuplicates(folder, {});
    if (!groups) {
        std::fprintf(stderr, "%s\n", groups.error().text.c_str());
        return 1;
    }
    std::uint64_t copies = 0;
    std::uint64_t bytes = 0;
    for (const auto &group : *groups) {
        copies += group.copies.size() - 1;
        bytes += group.bytesToFree();
    }
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%zu groups, %llu files, %llu bytes, peak memory %ld KiB\n", groups->size(),
                static_cast<unsigned long long>(copies), static_cast<unsigned long long>(bytes),
                usage.ru_maxrss);
    return 0;
}

int floorOf(const std::string &folder)
{
    std::vector<std::pair<std::uint64_t, std::string>> files;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_symlink() && entry.is_regular_file() && entry.file_size() > 0)
            files.emplace_back(entry.file_size(), entry.path().string());
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> read;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if ((i > 0 && files[i - 1].first == files[i].first) ||
            (i + 1 < files.size() && files[i + 1].first == files[i].first))
            read.push_back(files[i].second);
    }
    std::atomic<std::size_t> next{0};
    const auto readAll = [&] {
        std::vector<char> buffer(1u << 18u);
        for (std::size_t i = 0; (i = next++) < read.size();) {
            const int fd = open(read[i].c_str(), O_RDONLY | O_CLOEXEC);
            while (::read(fd, buffer.data(), buffer.size()) > 0) {
            }
            close(fd);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i)
        threads.emplace_back(readAll);
    for (std::thread &thread : threads)
        thread.join();
    return 0;
}

int run(char **command)
{
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        execvp(command[0], command);
        _exit(127);
    }
    int status = 0;
    struct rusage usage = {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
        fail(command[0]);
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 127)
        fail(std::string("did not run to its end: ") + command[0]);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::printf("%.3f %ld\n", time.count(), usage.ru_maxrss);
    return 0;
}

int perform(const std::vector<std::string> &words, char **command)
{
    if (words.size() == 3 && words[0] == "make")
        return make(words[1], words[2]);
    if (words.size() == 2 && words[0] == "search")
        return search(words[1]);
    if (words.size() == 2 && words[0] == "floor")
        return floorOf(words[1]);
    if (words.size() >= 2 && words[0] == "run")
        return run(command);
    std::fputs("usage: bench_duplicates make TREE FOLDER | search FOLDER | floor FOLDER | "
               "run COMMAND\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return perform({argv + 1, argv + argc}, argv + 2);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
