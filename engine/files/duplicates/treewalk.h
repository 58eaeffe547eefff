// Walks all folders below the tree's root with many threads, and takes down every regular file that
// is not empty and can be reached without following a symbolic link.
#pragma once

#include "files/duplicates/crew.h"
#include "files/duplicates/tree.h"

namespace talo::files
{

// Folders and files that cannot be looked at are left out. A file comes once for each of its names.
void walkTree(Tree &tree, Crew &crew, unsigned threads);

} // namespace talo::files
