#pragma once

// Keeps room on the calling thread's stack for the handling of its overflow, which goes on on that stack.
// Threads that begin later keep theirs by themselves.
void ReserveStack();
