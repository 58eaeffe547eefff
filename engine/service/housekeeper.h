// A thread for what must not hold up the answers to other callers. Tasks run one after the other.
#pragma once

#include <QThreadPool>

#include <functional>

namespace talo::service
{

class Housekeeper
{
public:
    Housekeeper()
    {
        thread_.setMaxThreadCount(1);
        thread_.setExpiryTimeout(-1);
    }
    // What waits is not begun any more; what runs is waited for.
    ~Housekeeper() { finish(); }
    Housekeeper(const Housekeeper &) = delete;
    Housekeeper &operator=(const Housekeeper &) = delete;

    void run(std::function<void()> task) { thread_.start(std::move(task)); }
    void finish()
    {
        thread_.clear();
        thread_.waitForDone();
    }

private:
    QThreadPool thread_;
};

} // namespace talo::service
