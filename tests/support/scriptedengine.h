// The engine's operations for the panel's tests: a library with libtaloengine.so's own name and
// symbols that records every call and answers as the test says.
#pragma once

#include "engine/export.h"

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talo::test
{

struct Call {
    std::string function; // "libReports::GetReportList"
    std::vector<std::string> arguments;
};

// What one call is answered with. Outputs are filled in the order of the operation's declaration;
// one that has no value here is left alone.
struct Answer {
    int code = 0;
    std::vector<std::string> texts = {};
    std::vector<long long> numbers = {};
    std::optional<std::map<std::string, std::list<std::string>>> groups = {};
    // Runs on the caller's thread before the operation returns, with no lock held.
    std::function<void()> during = {};
};

// A process that is not the test itself is scripted by its environment: TALO_SCRIPTED_CODES
// replaces codes ("IsTaloAVRunning=0;IsInternetAvailable=-1"), TALO_SCRIPTED_LOG names a file that
// gets one line a call. Any thread.
class TALO_ENGINE_EXPORT ScriptedEngine
{
public:
    static ScriptedEngine &instance();

    // Forgets calls, answers and registered callbacks.
    void reset();

    // Answers every call of a function from now on, until reset().
    void answer(const std::string &function, Answer answer);
    // Answers one call; several queue up, and come before answer().
    void answerOnce(const std::string &function, Answer answer);

    std::vector<Call> calls() const;
    std::vector<Call> calls(const std::string &function) const;
    void clearCalls();

    // Call what the panel has registered from a thread of their own, and wait for its end. False
    // where nothing is registered.
    bool reportDuplicateSearch(const std::string &path);
    bool reportUpdate(long long totalSize, long long remainingSize, float percentage,
                      int downloadSpeed, int status);

    // For the operations themselves.
    using DuplicateCallback = void (*)(char *);
    using UpdateCallback = void (*)(long long, long long, float, int, int);
    Answer take(const char *function, std::vector<std::string> arguments);
    void keep(DuplicateCallback callback);
    void keep(UpdateCallback callback);

private:
    ScriptedEngine();
    ~ScriptedEngine();
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace talo::test
