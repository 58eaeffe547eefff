// For a worker built for tests alone: files that make it do what a hostile file might.
#pragma once

namespace talo::worker
{

// Does what a file beginning with "TALO-FAULT" asks for. Where the sandbox refuses a deed that only
// needs refusing, returns, and the file is scanned; where it succeeds, the worker ends.
void provokeFault(int file, int socket);

} // namespace talo::worker
