#include "support/scriptedengine.h"

#include <cstdlib>
#include <deque>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>
#include <utility>

namespace talo::test
{
namespace
{

using Answers = std::map<std::string, Answer>;

// An engine at rest: nothing stored, nothing running, the network up.
Answers answersAtRest()
{
    return {
        {"IsTaloAVRunning", {1}},
        {"IsProcessRunning", {1}},
        {"IsProductUpdateRunning", {1}},
        {"IsInternetAvailable", {1}},
        {"product_registration", {4097}},
        {"libPassword::IsPasswordExists", {1}},
        {"libPassword::ValidatePassword", {1}},
        {"libReports::GetReportList", {204, {""}, {0}}},
        {"libReports::GetReportData", {203}},
        {"libScheduleScan::GetScheduleList", {0, {""}, {0}}},
        {"libExcludeSetting::GetExcludeScanList", {0, {"", ""}, {0, 0}}},
        {"libDuplicateFinder::DuplicateFinder", {801, {}, {0, 0}}},
        {"libDuplicateFinder::DeleteDuplicateFiles", {811, {}, {0}}},
    };
}

void replaceCodes(Answers &answers, const char *codes)
{
    std::istringstream entries(codes);
    std::string entry;
    while (std::getline(entries, entry, ';')) {
        const auto equals = entry.find('=');
        if (equals != std::string::npos) {
            answers[entry.substr(0, equals)].code =
                int(std::strtol(entry.c_str() + equals + 1, nullptr, 10));
        }
    }
}

Answers initialAnswers()
{
    Answers answers = answersAtRest();
    if (const char *codes = std::getenv("TALO_SCRIPTED_CODES")) {
        replaceCodes(answers, codes);
    }
    return answers;
}

void log(const Call &call)
{
    const char *path = std::getenv("TALO_SCRIPTED_LOG");
    if (!path) {
        return;
    }
    std::ofstream file(path, std::ios::app);
    file << call.function;
    for (const std::string &argument : call.arguments) {
        file << ' ' << argument;
    }
    file << '\n';
}

} // namespace

struct ScriptedEngine::State {
    mutable std::mutex mutex;
    Answers answers = initialAnswers();
    std::map<std::string, std::deque<Answer>> once;
    std::vector<Call> calls;
    DuplicateCallback duplicateCallback = nullptr;
    UpdateCallback updateCallback = nullptr;
};

ScriptedEngine::ScriptedEngine() : state_(std::make_unique<State>()) {}

ScriptedEngine::~ScriptedEngine() = default;

ScriptedEngine &ScriptedEngine::instance()
{
    static ScriptedEngine engine;
    return engine;
}

void ScriptedEngine::reset()
{
    const std::lock_guard lock(state_->mutex);
    state_->answers = initialAnswers();
    state_->once.clear();
    state_->calls.clear();
    state_->duplicateCallback = nullptr;
    state_->updateCallback = nullptr;
}

void ScriptedEngine::answer(const std::string &function, Answer answer)
{
    const std::lock_guard lock(state_->mutex);
    state_->answers[function] = std::move(answer);
}

void ScriptedEngine::answerOnce(const std::string &function, Answer answer)
{
    const std::lock_guard lock(state_->mutex);
    state_->once[function].push_back(std::move(answer));
}

std::vector<Call> ScriptedEngine::calls() const
{
    const std::lock_guard lock(state_->mutex);
    return state_->calls;
}

std::vector<Call> ScriptedEngine::calls(const std::string &function) const
{
    std::vector<Call> found;
    for (const Call &call : calls()) {
        if (call.function == function) {
            found.push_back(call);
        }
    }
    return found;
}

void ScriptedEngine::clearCalls()
{
    const std::lock_guard lock(state_->mutex);
    state_->calls.clear();
}

Answer ScriptedEngine::take(const char *function, std::vector<std::string> arguments)
{
    Answer answer;
    {
        const std::lock_guard lock(state_->mutex);
        state_->calls.push_back({function, std::move(arguments)});
        log(state_->calls.back());
        auto &queue = state_->once[function];
        if (queue.empty()) {
            answer = state_->answers[function];
        } else {
            answer = std::move(queue.front());
            queue.pop_front();
        }
    }
    if (answer.during) {
        answer.during();
    }
    return answer;
}

void ScriptedEngine::keep(DuplicateCallback callback)
{
    const std::lock_guard lock(state_->mutex);
    state_->duplicateCallback = callback;
}

void ScriptedEngine::keep(UpdateCallback callback)
{
    const std::lock_guard lock(state_->mutex);
    state_->updateCallback = callback;
}

bool ScriptedEngine::reportDuplicateSearch(const std::string &path)
{
    DuplicateCallback callback = nullptr;
    {
        const std::lock_guard lock(state_->mutex);
        callback = state_->duplicateCallback;
    }
    if (!callback) {
        return false;
    }
    // The text is wiped after the call, as the engine's is: whoever kept the pointer shows it.
    std::string text = path;
    std::thread([&] { callback(text.data()); }).join();
    text.assign(text.size(), '?');
    return true;
}

bool ScriptedEngine::reportUpdate(long long totalSize, long long remainingSize, float percentage,
                                  int downloadSpeed, int status)
{
    UpdateCallback callback = nullptr;
    {
        const std::lock_guard lock(state_->mutex);
        callback = state_->updateCallback;
    }
    if (!callback) {
        return false;
    }
    std::thread([=] {
        callback(totalSize, remainingSize, percentage, downloadSpeed, status);
    }).join();
    return true;
}

} // namespace talo::test
