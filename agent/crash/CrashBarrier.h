#pragma once

// Calls the function. An exception that leaves it goes to the crash filter, and not to a caller that would
// drop it, as COM does with what the objects that it calls raise. Any thread.
extern "C" void CallBehindBarrier(void (*function)(void* argument), void* argument);
