// A run of the signatures' update, as the panel's operations and the programs follow it.
#pragma once

#include "interface/types.h"

#include <QDBusMessage>

#include <functional>

namespace talo::client
{

// What the operations answer; see src/engine/updates.h.
enum PrepareCode { kPrepared = 0, kRunsAlready = 1, kNoSource = 2, kRefused = 3 };
inline constexpr int kReported = 0;
inline constexpr int kNotReported = 1;

using UpdateCallback = void (*)(long long, long long, float, int, int);
void reportUpdatesTo(UpdateCallback callback);

// With a non-null `error`, what the service said to a refusal.
int prepareUpdate(unsigned &handle, QDBusMessage *error = nullptr);
int runUpdate(int handle);
int stopUpdate(int handle);

// Starts the prepared run and follows it to its end, at most ten reports a second. `report` is
// given the final status last of all; a service that vanishes counts as a fault. False where the
// run could not be started: then nothing was reported.
using UpdateReport = std::function<void(const interface::UpdateProgress &)>;
bool followUpdate(unsigned handle, const UpdateReport &report, QDBusMessage *error = nullptr);

} // namespace talo::client
