#include "LibrarySearch.h"

#include <windows.h>

void RestrictLibrarySearch()
{
    using SetDirectories = BOOL(WINAPI*)(DWORD);
    constexpr DWORD searchSystem32 = 0x00000800; // LOAD_LIBRARY_SEARCH_SYSTEM32
    const FARPROC address = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories");
    if (address != nullptr)
    {
        reinterpret_cast<SetDirectories>(reinterpret_cast<void*>(address))(searchSystem32);
    }
}
