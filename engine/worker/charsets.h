#pragma once

namespace talo::worker
{

// Loads the C library's conversions that documents and mails use. A worker cannot load one itself:
// it may neither open a file nor map code.
void loadCharsets();

} // namespace talo::worker
