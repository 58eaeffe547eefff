// The commands of `talo`, one per group. Each takes the words after its name and returns the
// program's exit code.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace talo::programs
{

using Words = QList<QByteArray>; // bytes, since some of them are paths

int statusCommand(const Words &words);
int scanCommand(const Words &words);
int reportCommand(const Words &words);
int quarantineCommand(const Words &words);
int scheduleCommand(const Words &words);
int shredCommand(const Words &words);
int duplicatesCommand(const Words &words);
int updateCommand(const Words &words);

// The parts of `talo update`, given the words after their names.
int updateProgram(const Words &words);
int updateSignatures(const Words &words);

// What every command answers where it was not understood: says so and returns the exit code.
int usageError(const QString &problem);

} // namespace talo::programs
