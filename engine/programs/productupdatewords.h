// What is said of an update of the program, alike in the window and in the terminal.
#pragma once

#include "client/productupdatejob.h"

#include <QString>

namespace talo::programs
{

// Under way: "Downloading release 0.2.0 ..."
QString updateStep(const client::ProgramUpdate &update);

// At the end, in one sentence, and what the service says of the reason, which may be empty.
QString updateOutcome(const client::ProgramUpdate &update);
QString updateReason(const client::ProgramUpdate &update);

// Share downloaded in whole percent; -1 while there is none.
int percentDownloaded(const client::ProgramUpdate &update);

// 0 for the latest release installed, or one being there where that was the question; else 2.
int updateExitCode(const client::ProgramUpdate &update);

} // namespace talo::programs
