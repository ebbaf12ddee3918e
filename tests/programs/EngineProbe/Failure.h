#pragma once

#include <string>

// Throws an exception of the named kind; does nothing for any other name:
// "exception", "memory", "library" (a pointer, as the common library throws them), "null", "number", "text",
// "own" (of no known base).
void ThrowKind(const std::wstring& kind);
