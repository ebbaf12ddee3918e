#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <iterator>

// Dbghelp.dll, which writes dumps. All functions have to be there, and two of them are called.
struct DbghelpTable
{
    static constexpr const wchar_t* library = L"Dbghelp.dll";
    static constexpr const char* functions[] = {
        "SymGetModuleBase64",
        "SymGetLineFromAddr64",
        "SymFunctionTableAccess64",
        "SymInitialize",
        "SymSetOptions",
        "SymGetOptions",
        "StackWalk64",
        "SymCleanup",
        "SymGetSymFromAddr64",
        "MiniDumpWriteDump",
        "GetTimestampForLoadedLibrary",
    };

    HMODULE module;
    FARPROC addresses[std::size(functions)];

    [[nodiscard]] decltype(&::MiniDumpWriteDump) DumpWriter() const
    {
        return reinterpret_cast<decltype(&::MiniDumpWriteDump)>(
            reinterpret_cast<void*>(addresses[std::size(functions) - 2]));
    }

    [[nodiscard]] decltype(&::GetTimestampForLoadedLibrary) TimestampReader() const
    {
        return reinterpret_cast<decltype(&::GetTimestampForLoadedLibrary)>(
            reinterpret_cast<void*>(addresses[std::size(functions) - 1]));
    }
};

extern DbghelpTable* s_pDbghelpTable; // null unless loaded
extern std::atomic<bool> s_bDbghelpLoaded;

// Called on the main thread.
bool LoadDbghelpTable();
void ReleaseDbghelpTable();
