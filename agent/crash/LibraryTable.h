#pragma once

#include <windows.h>

#include <boost/thread/lock_types.hpp>

#include <atomic>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "CrashState.h"
#include "VzComn_Handle.h"

// A system library that the crash handler loads while the process is well, with the addresses of its
// functions. A table names its library and its functions, and is whole or not there at all.
//
//     struct PsapiTable
//     {
//         static constexpr const wchar_t* library = L"PSAPI.DLL";
//         static constexpr const char* functions[] = {"EnumProcessModules"};
//
//         HMODULE module;
//         FARPROC addresses[std::size(functions)];
//     };

// One table of the process. Loaded and released on the main thread, read by the thread that owns a crash.
template <typename Table>
struct LibraryTable
{
    Table*& table;
    std::atomic<bool>& loaded;
    bool& loadedHere; // and not found loaded
};

template <typename Table>
bool ResolveAll(Table& table)
{
    bool complete = true;
    for (std::size_t i = 0; i < std::size(Table::functions); ++i)
    {
        table.addresses[i] = GetProcAddress(table.module, Table::functions[i]);
        complete = complete && table.addresses[i] != nullptr;
    }
    return complete;
}

// False without the library, or if it lacks one of the functions. Success if it is loaded already.
template <typename Table>
bool LoadTable(const LibraryTable<Table>& place)
{
    if (place.loaded)
    {
        return true;
    }
    std::unique_ptr<Table> table(::new (std::nothrow) Table{});
    if (!table)
    {
        return false;
    }
    table->module = GetModuleHandleW(Table::library);
    const bool mustLoad = table->module == nullptr;
    if (mustLoad)
    {
        table->module = LoadLibraryW(Table::library);
    }
    // Deliberate: a library that lacks a function is freed also if it was found loaded.
    VzCommon::ModuleHandle module(table->module);
    if (!module || !ResolveAll(*table))
    {
        return false;
    }
    static_cast<void>(module.Release());
    place.loadedHere = mustLoad;
    place.table = table.release();
    place.loaded = true;
    return true;
}

// Does nothing while a crash is under way: its dump is written with the table.
template <typename Table>
void ReleaseTable(const LibraryTable<Table>& place)
{
    std::unique_ptr<Table> table;
    {
        const boost::unique_lock<boost::shared_mutex> lock(s_crashMutex);
        if (s_crashThreadId != 0)
        {
            return;
        }
        place.loaded = false;
        table.reset(std::exchange(place.table, nullptr));
    }
    if (!table)
    {
        return;
    }
    if (std::exchange(place.loadedHere, false))
    {
        const VzCommon::ModuleHandle module(table->module);
    }
    *table = {};
}
