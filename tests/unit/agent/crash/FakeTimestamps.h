#pragma once

#include <windows.h>

#include <iterator>
#include <map>
#include <utility>

#include "DbghelpTable.h"

// A loaded Dbghelp.dll that tells time stamps alone, for the length of a scope. One at a time.
class FakeTimestamps
{
public:
    explicit FakeTimestamps(std::map<HMODULE, DWORD> stamps)
    {
        s_stamps = std::move(stamps);
        m_table.addresses[std::size(DbghelpTable::functions) - 1] =
            reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Tell));
        s_pDbghelpTable = &m_table;
    }

    ~FakeTimestamps() { s_pDbghelpTable = nullptr; }

    FakeTimestamps(const FakeTimestamps&) = delete;
    FakeTimestamps& operator=(const FakeTimestamps&) = delete;

private:
    static DWORD WINAPI Tell(HMODULE module) { return s_stamps.at(module); }

    static inline std::map<HMODULE, DWORD> s_stamps;

    DbghelpTable m_table{};
};
