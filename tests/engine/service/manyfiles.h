// So much to scan that it is not over before a test has paused it.
#pragma once

#include <QString>

// Small harmless files, no two alike; makes the folder.
void writeManyFiles(const QString &folder);
