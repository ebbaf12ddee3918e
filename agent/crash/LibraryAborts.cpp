#include "LibraryAborts.h"

#include <windows.h>

#include <psapi.h>
#include <winternl.h>

#include <cstring>
#include <string_view>
#include <vector>

#include "CrashRoutes.h"

namespace
{
// What the loader tells of a library, and how it is asked to.
struct LibraryNotification
{
    ULONG flags;
    const UNICODE_STRING* path;
    const UNICODE_STRING* name;
    BYTE* base;
    ULONG size; // bytes
};

using OnLibraryFunction = void(CALLBACK*)(ULONG reason, const LibraryNotification* library, void* context);
using RegisterFunction = LONG(NTAPI*)(ULONG flags, OnLibraryFunction onLibrary, void* context, void** cookie);

// Asked for within the loader, so it stands ready.
wchar_t s_systemFolder[MAX_PATH]{};

void AbortOfLibrary()
{
    CrashWith(abortCode);
}

bool IsOfSystem(std::wstring_view path)
{
    const std::wstring_view folder = s_systemFolder;
    const auto length = static_cast<int>(folder.size());
    return path.size() > folder.size() &&
           CompareStringOrdinal(path.data(), length, folder.data(), length, TRUE) == CSTR_EQUAL;
}

const IMAGE_DATA_DIRECTORY& Imports(const BYTE* base)
{
    const auto* dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dosHeader->e_lfanew);
    return headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
}

bool IsAbort(const BYTE* base, const IMAGE_THUNK_DATA& import)
{
    if (IMAGE_SNAP_BY_ORDINAL(import.u1.Ordinal))
    {
        return false;
    }
    const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + import.u1.AddressOfData);
    return std::strcmp(byName->Name, "abort") == 0;
}

void Replace(ULONGLONG& address)
{
    DWORD protection = 0;
    if (VirtualProtect(&address, sizeof(address), PAGE_READWRITE, &protection))
    {
        address = reinterpret_cast<ULONGLONG>(&AbortOfLibrary);
        VirtualProtect(&address, sizeof(address), protection, &protection);
    }
}

// The loader has been through these tables, so they hold what they should.
void RouteAbortOf(BYTE* base)
{
    const IMAGE_DATA_DIRECTORY& directory = Imports(base);
    if (directory.VirtualAddress == 0)
    {
        return;
    }
    const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; library->Name != 0; ++library)
    {
        if (library->OriginalFirstThunk == 0)
        {
            continue; // the names are gone
        }
        const auto* import = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->FirstThunk);
        for (; import->u1.AddressOfData != 0; ++import, ++address)
        {
            if (IsAbort(base, *import))
            {
                Replace(address->u1.Function);
            }
        }
    }
}

void CALLBACK OnLibrary(ULONG reason, const LibraryNotification* library, void* /*context*/)
{
    constexpr ULONG loaded = 1;
    if (reason == loaded && !IsOfSystem({library->path->Buffer, library->path->Length / sizeof(wchar_t)}))
    {
        RouteAbortOf(library->base);
    }
}

void FollowTheLoader()
{
    const FARPROC function = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
    if (function != nullptr)
    {
        void* cookie = nullptr; // of no use: the filter stays to the end of the process
        reinterpret_cast<RegisterFunction>(reinterpret_cast<void*>(function))(0, &OnLibrary, nullptr,
                                                                              &cookie);
    }
}

std::vector<HMODULE> LoadedLibraries()
{
    std::vector<HMODULE> libraries;
    DWORD bytes = 0;
    do
    {
        libraries.resize(libraries.size() + bytes / sizeof(HMODULE) + 1);
        if (!EnumProcessModules(GetCurrentProcess(), libraries.data(),
                                static_cast<DWORD>(libraries.size() * sizeof(HMODULE)), &bytes))
        {
            return {};
        }
    } while (bytes > libraries.size() * sizeof(HMODULE));
    libraries.resize(bytes / sizeof(HMODULE));
    return libraries;
}
} // namespace

void RouteLibraryAborts()
{
    if (GetSystemDirectoryW(s_systemFolder, MAX_PATH) == 0)
    {
        return;
    }
    FollowTheLoader();
    for (HMODULE library : LoadedLibraries())
    {
        wchar_t path[MAX_PATH]{};
        GetModuleFileNameW(library, path, MAX_PATH);
        if (!IsOfSystem(path))
        {
            RouteAbortOf(reinterpret_cast<BYTE*>(library));
        }
    }
}
