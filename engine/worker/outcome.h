// What libclamav's answer means. It fails open: much of what it did not look at it calls clean or
// reports as a match with a name of its own.
#pragma once

#include "engine.h"

#include <clamav.h>

namespace talo::worker
{

Judgement outcome(cl_error_t code, const char *name, bool cutShort);

} // namespace talo::worker
