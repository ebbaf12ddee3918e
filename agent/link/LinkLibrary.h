#pragma once

#include "VzComn_AgentStatus.h"

// Loads svcLink.dll from the program's own folder, for as long as the process lives, before the first delayed
// call into it would look for it elsewhere. A library that is missing or lacks an export is logged and gives
// the system's error as a status: a delayed call would end the process. Any thread.
[[nodiscard]] AgentStatus LoadLinkLibrary();
