// A service killed while it writes: what it had taken down is there, whole, and nothing else is.
#include "store/reportstore.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace talo::store
{

namespace
{

// Writes reports of three threats each for ever, and a byte after every threat and every end.
[[noreturn]] void writeForEver(const std::string &folder, int pipe)
{
    std::string failure;
    const auto database = Database::open(folder, failure);
    if (!database)
        _exit(1);
    ReportStore reports(*database);
    for (;;) {
        const ReportStore::Id id = reports.begin({"Custom Scan", "/srv", "built-in", 1});
        for (const char *name : {"/1", "/2", "/3"}) {
            reports.addThreat(id, {name, "Eicar", "infected", "left"});
            if (write(pipe, "t", 1) != 1)
                _exit(1);
        }
        if (reports.finish(id, Outcome::Completed, {}, "").empty() || write(pipe, "e", 1) != 1)
            _exit(1);
    }
}

// Lets a child write until it has told of `steps` steps, kills it, and counts the ends it told of.
std::size_t writeAndKill(const std::string &folder, int steps)
{
    int ends[2];
    if (pipe(ends) != 0)
        return 0;
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        writeForEver(folder, ends[1]);
    }
    close(ends[1]);
    std::size_t finished = 0;
    char step = 0;
    for (int told = 0; told < steps && read(ends[0], &step, 1) == 1; ++told)
        finished += step == 'e' ? 1 : 0;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    // What it told between the last look and its death.
    while (read(ends[0], &step, 1) == 1)
        finished += step == 'e' ? 1 : 0;
    close(ends[0]);
    return finished;
}

std::size_t occurrences(const std::string &text, const std::string &part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

TEST(KilledService, LeavesEveryReportWholeOrInterrupted)
{
    const TemporaryFolder place;
    std::size_t finished = 0;
    for (int steps = 1; steps <= 23; ++steps) {
        finished += writeAndKill(place.path(), steps);
        std::string failure;
        const auto database = Database::open(place.path(), failure);
        ASSERT_NE(database, nullptr) << failure;
        EXPECT_EQ(database->notice(), "");
        ReportStore reports(*database);
        ASSERT_LE(reports.interrupted(), 1U);
        std::size_t whole = 0;
        for (const auto &entry : reports.list("", "").entries) {
            const auto reading = reports.read(entry.key);
            ASSERT_EQ(reading.code, 0) << entry.key;
            const std::size_t threats = occurrences(reading.text, "Threat: Eicar");
            const bool completed = occurrences(reading.text, "Result: Completed") == 1;
            EXPECT_TRUE(completed || occurrences(reading.text, "Result: Interrupted") == 1);
            EXPECT_TRUE(completed ? threats == 3 : threats <= 3) << reading.text;
            whole += completed ? 1 : 0;
        }
        // The one more is an end that was stored and not told of any more.
        EXPECT_GE(whole, finished);
        EXPECT_LE(whole, finished + 1);
        finished = whole;
    }
}

} // namespace talo::store
