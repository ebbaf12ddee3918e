#pragma once

#include <windows.h>

#include <atomic>
#include <iterator>

// PSAPI.DLL. Deliberate: none of its functions is called; a dump is written only if they are all there.
struct PsapiTable
{
    static constexpr const wchar_t* library = L"PSAPI.DLL";
    static constexpr const char* functions[] = {"GetModuleFileNameExW", "GetModuleBaseNameW",
                                                "EnumProcessModules"};

    HMODULE module;
    FARPROC addresses[std::size(functions)];
};

extern PsapiTable* s_pPsapiTable; // null unless loaded
extern std::atomic<bool> s_bPsapiLoaded;

// Called on the main thread.
bool LoadPsapiTable();
void ReleasePsapiTable();
