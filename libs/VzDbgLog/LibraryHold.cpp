#include "LibraryHold.h"

#include <windows.h>

namespace VzDbgLog
{

namespace
{

// Any address in the library finds it.
HMODULE FindSelf(DWORD flags)
{
    static const char inside = 0;
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags,
                       reinterpret_cast<const wchar_t*>(&inside), &self);
    return self;
}

} // namespace

LibraryHold::LibraryHold()
{
    FindSelf(0);
}

LibraryHold::~LibraryHold()
{
    FreeLibrary(FindSelf(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT));
}

} // namespace VzDbgLog
