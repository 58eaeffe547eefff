// How long a test waits, in ms, for what takes much less: others may have the processors.
#pragma once

inline constexpr int kSoon = 30000;
