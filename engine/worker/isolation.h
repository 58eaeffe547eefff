// What the server gives up before it reads a signature: the network, the privileges, the identity.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace talo::worker
{

struct Isolation {
    std::string failure;      // why no file may be scanned here; empty where all is well
    std::vector<int> scratch; // one folder for each slot, to be worked in and emptied
    int nullDevice = -1;      // opened while there is a file system to open them in
    int memoryFigures = -1;
    int emptyRoot = -1; // for closeFileSystem(); none where not every folder is a file system
    bool fileSystemClosed = false;
};

// As root: namespaces, one tmpfs a slot, then an unprivileged identity for good. As an ordinary
// user the same through a user namespace. Where the system allows neither, an ordinary user's
// folders lie in `scratchFolder`, where each file in them is limited in size but not their sum, and
// the file system and the network are closed to the workers by Landlock and seccomp alone.
Isolation isolate(unsigned slots, std::uint64_t temporarySize, int scratchFolder);

// Gives up the file system but for what is open, and with it the last capability, which isolate()
// keeps for this alone. To be called when the libraries have opened what they need and before
// anything of others is read. An empty text, or why no file may be scanned here; where there is no
// empty root to go to, it succeeds and leaves the file system to Landlock.
std::string closeFileSystem(Isolation &isolation);

// Removes everything in a folder.
void emptyFolder(int folder);

} // namespace talo::worker
