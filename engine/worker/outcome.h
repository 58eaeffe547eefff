// What libclamav's answer means. It fails open: much of what it did not look at it calls clean or
// reports as a match with a name of its own.
#pragma once

#include "engine.h"

#include <clamav.h>

namespace talo::worker
{

// What of a file was not looked at although libclamav does not say so.
enum class Unseen {
    Nothing,
    TooLarge,    // a part of it was cut off at the largest size
    NotUnpacked, // a part of it is packed in a way that libclamav does not know
};

Judgement outcome(cl_error_t code, const char *name, Unseen unseen);

} // namespace talo::worker
