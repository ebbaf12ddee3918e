#pragma once

#include <windows.h>

// Puts the function into the place of each abort that a library of this process imports from the C library,
// whichever that is. The image is one that the loader has taken in; parts of it that are not as they should
// be are left alone. Any thread.
void ReplaceImportedAbort(BYTE* image, void (*function)());
