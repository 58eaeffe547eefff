// Updates of the signatures, as the panel starts them and hears of them.
#pragma once

#include "engine/service/updatebench.h"

#include <QObject>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

struct Report {
    long long total;
    long long remaining;
    float percentage;
    int speed;
    int status;
    qint64 when;
    std::thread::id thread;
};

// What the engine has told since the last update() began.
extern std::mutex reportMutex;
extern std::vector<Report> reports;
extern std::atomic<int> lastStatus;

void note(long long total, long long remaining, float percentage, int speed, int status);

// A whole run; the final status, or -1 where none was reported.
int update(int *code = nullptr);

// Base of the test classes: a service with a good set in use.
class UpdateRuns : public QObject
{
    Q_OBJECT

protected slots:
    void initTestCase();
    void init();
    void cleanup();

protected:
    std::unique_ptr<UpdateBench> bench_;
};
