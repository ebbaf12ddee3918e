#pragma once

// Has the calls of abort that libraries import come to the crash filter, those of the system's folder left
// out: of the libraries that are loaded now, and of each one that is loaded from now on. The way through the
// C library, the signal SIGABRT, serves one thread at a time: a second one that aborts meanwhile ends the
// process. A system whose loader tells of a library before it has bound the imports leaves just that way.
// Called once, on the main thread.
void RouteLibraryAborts();
