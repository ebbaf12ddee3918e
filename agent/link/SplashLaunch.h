#pragma once

#include "VzComn_AgentStatus.h"

class CSplash;

// The splash that is shown, null while there is none. Written by the splash's own thread alone; its window
// may not be there yet.
extern CSplash* g_pSplash;

// Shows the splash on a thread of its own, and closes it when the service has the splash event signalled, at
// the latest after ten minutes; returns then. Fails if there is no thread, no memory or no event for it; the
// splash then stays, if it is there. Any thread, one call at a time.
AgentStatus ShowSplash();

// The splash's thread: owns the window and its modal loop. Ends with a status. The argument is not used.
unsigned __stdcall SplashProc(void* argument);
