#pragma once

// Thread function: waits for the exit event and then closes the main frame, once. argument is the
// CWinApp, which outlives the thread. Whoever comes first makes the event; without it the agent cannot be
// asked to exit this way, which is logged.
unsigned __stdcall ExitWaitThread(void* argument);
