#pragma once

// From now on libraries named without a folder come from the system's folder alone, so that nobody can
// plant one beside the program, in the current folder or on the path. Nothing on a system without the call.
void RestrictLibrarySearch();
