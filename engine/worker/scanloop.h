// A worker's life: takes files from its socket and answers each.
#pragma once

namespace talo::worker
{

class Engine;

// Returns when the pool closes the socket or no sound answer can be given any more.
void scanUntilClosed(int socket, Engine &engine);

} // namespace talo::worker
