// What the place a file lies on makes of overwriting.
#pragma once

#include "files/shredlayout.h"

#include <string>
#include <sys/stat.h>
#include <vector>

namespace talo::files
{

// Why former content may remain elsewhere although the file is overwritten. Texts for people.
std::vector<std::string> doubtsAbout(int file, const struct stat &status, const FileLayout &layout);

// Tells the drive that this space is free, so that copies it keeps out of reach may go. Only what
// the file system knows to be free is told. Takes an administrator's rights; nothing where the
// drive cannot do it, or where the file system does it by itself.
void discardFreed(int folder, std::vector<PhysicalRange> freed);

enum class JournalState {
    None, // nothing that could remember names
    Cleared,
    Remains, // for want of rights, or since this file system has no way to clear it
};

// Journals keep a copy of folders' blocks, and with it names of files that are gone, until they
// are written over.
JournalState clearJournal(int folder);

} // namespace talo::files
