// Requests that concern the registered owner of this installation.
#pragma once

#include "engine/export.h"

// Operation 70 makes a new random settings password, mails it to the registered address and, once
// the mail server has accepted it, stores it. Returns 4097 sent; 101 no network; 1 nothing is
// registered or configured; 2 the server refused; -1 anything else, other operations included.
// Blocks until the outcome is known. Any thread.
TALO_ENGINE_EXPORT int product_registration(int operation);
