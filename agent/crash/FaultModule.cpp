#include "FaultModule.h"

#include <shlwapi.h>

#include <cwchar>

namespace
{
ModuleOfFault Describe(HMODULE module)
{
    ModuleOfFault described{module, true, {}};
    if (GetModuleFileNameW(module, described.path, faultTextLength) == 0)
    {
        described.path[0] = L'\0';
    }
    return described;
}
} // namespace

ModuleOfFault ProgramModule()
{
    return Describe(GetModuleHandleW(nullptr));
}

ModuleOfFault ModuleAt(const void* address)
{
    // A variable of its own: the system clears it when there is no such module.
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(address), &module))
    {
        return {GetModuleHandleW(nullptr), false, {}};
    }
    return Describe(module);
}

void WriteName(const ModuleOfFault& module, FaultText& text)
{
    wcsncpy_s(text, faultTextLength, module.path, _TRUNCATE);
    PathStripPathW(text);
}

void WriteOffset(const ModuleOfFault& module, const void* address, FaultText& text)
{
    const auto start = reinterpret_cast<ULONG_PTR>(module.module);
    // Below the program's own start, for an address outside of all modules, the difference wraps.
    const ULONG_PTR offset = reinterpret_cast<ULONG_PTR>(address) - start;
    _snwprintf_s(text, faultTextLength, _TRUNCATE, L"%p", reinterpret_cast<void*>(offset));
}

void WriteCode(DWORD exceptionCode, FaultText& text)
{
    _snwprintf_s(text, faultTextLength, _TRUNCATE, L"%08x", exceptionCode);
}
