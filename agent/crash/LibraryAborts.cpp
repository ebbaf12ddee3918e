#include "LibraryAborts.h"

#include <windows.h>

#include <winternl.h>

#include <string>
#include <string_view>

#include "CrashRoutes.h"
#include "ImportedAbort.h"

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
using VisitFunction = void(CALLBACK*)(const LDR_DATA_TABLE_ENTRY* library, void* context, BOOLEAN* stop);
using EnumerateFunction = LONG(NTAPI*)(ULONG flags, VisitFunction visit, void* context);

// Asked for within the loader, so it stands ready. Ends with a backslash.
std::wstring& s_systemFolder = *new std::wstring;

void AbortOfLibrary()
{
    CrashWith(abortCode);
}

bool IsOfSystem(const UNICODE_STRING& path)
{
    const std::wstring_view text(path.Buffer, path.Length / sizeof(wchar_t));
    const auto length = static_cast<int>(s_systemFolder.size());
    return text.size() > s_systemFolder.size() &&
           CompareStringOrdinal(text.data(), length, s_systemFolder.data(), length, TRUE) == CSTR_EQUAL;
}

void Route(const UNICODE_STRING& path, void* image)
{
    if (!IsOfSystem(path))
    {
        ReplaceImportedAbort(static_cast<BYTE*>(image), &AbortOfLibrary);
    }
}

void CALLBACK OnLibrary(ULONG reason, const LibraryNotification* library, void* /*context*/)
{
    constexpr ULONG loaded = 1;
    if (reason == loaded)
    {
        Route(*library->path, library->base);
    }
}

void CALLBACK Visit(const LDR_DATA_TABLE_ENTRY* library, void* /*context*/, BOOLEAN* /*stop*/)
{
    Route(library->FullDllName, library->DllBase);
}

template <typename Function>
Function LoaderFunction(const char* name)
{
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

bool FindSystemFolder()
{
    wchar_t folder[MAX_PATH]{};
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    s_systemFolder = folder;
    s_systemFolder += L'\\';
    return length != 0 && length < MAX_PATH;
}
} // namespace

void RouteLibraryAborts()
{
    const auto follow = LoaderFunction<RegisterFunction>("LdrRegisterDllNotification");
    const auto enumerate = LoaderFunction<EnumerateFunction>("LdrEnumerateLoadedModules");
    if (follow == nullptr || enumerate == nullptr || !FindSystemFolder())
    {
        return;
    }
    void* cookie = nullptr; // of no use: the filter stays to the end of the process
    follow(0, &OnLibrary, nullptr, &cookie);
    enumerate(0, &Visit, nullptr); // with the loader's lock held: none of them goes meanwhile
}
