// A whole run of scans in the terminal, from the event loop to the exit code.
#pragma once

#include "programs/scanrequest.h"

#include <QList>

#include <cstdio>

namespace talo::programs
{

// Needs a QCoreApplication. Returns the exit code of the program.
int runTerminalScans(const QList<ScanRequest> &requests);

// Says one thing, marked for translation, where a program ends before it has an application object.
void sayBeforeStart(char **argv, std::FILE *file, const char *text);

// Before an application object: output that nobody reads any more must not end the program.
// After it: names in scripts other than the locale's keep their width and their letters.
void ignoreBrokenPipes();
void useUtf8();

} // namespace talo::programs
