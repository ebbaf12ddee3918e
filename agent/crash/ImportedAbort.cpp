#include "ImportedAbort.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{
// Guards the protection of the pages that are written to.
SRWLOCK s_writing = SRWLOCK_INIT;

const IMAGE_NT_HEADERS64* HeadersOf(const BYTE* image)
{
    const auto* dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(image + dosHeader->e_lfanew);
    const bool isOurs = dosHeader->e_magic == IMAGE_DOS_SIGNATURE &&
                        headers->Signature == IMAGE_NT_SIGNATURE &&
                        headers->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC &&
                        headers->OptionalHeader.NumberOfRvaAndSizes > IMAGE_DIRECTORY_ENTRY_IMPORT;
    return isOurs ? headers : nullptr;
}

// The names under which Windows has the C library.
bool IsRuntime(const char* library)
{
    constexpr const char* beginnings[] = {"msvcr", "ucrtbase", "api-ms-win-crt-"};
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [library](const char* beginning)
                       { return _strnicmp(library, beginning, std::strlen(beginning)) == 0; });
}

bool IsAbort(const BYTE* image, const IMAGE_THUNK_DATA64& import)
{
    if (IMAGE_SNAP_BY_ORDINAL64(import.u1.Ordinal))
    {
        return false;
    }
    const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(image + import.u1.AddressOfData);
    return std::strcmp(byName->Name, "abort") == 0;
}

// Other threads may run in that page while it is written to.
DWORD WritableAs(DWORD protection)
{
    constexpr DWORD runs = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return (protection & runs) != 0 ? PAGE_EXECUTE_READWRITE : PAGE_READWRITE;
}

void Write(ULONGLONG& address, ULONGLONG value)
{
    AcquireSRWLockExclusive(&s_writing);
    MEMORY_BASIC_INFORMATION page{};
    DWORD protection = 0;
    if (VirtualQuery(&address, &page, sizeof(page)) != 0 &&
        VirtualProtect(&address, sizeof(address), WritableAs(page.Protect), &protection))
    {
        address = value;
        VirtualProtect(&address, sizeof(address), protection, &protection);
    }
    ReleaseSRWLockExclusive(&s_writing);
}

void ReplaceIn(BYTE* image, const IMAGE_IMPORT_DESCRIPTOR& library, ULONGLONG function)
{
    const auto* import = reinterpret_cast<const IMAGE_THUNK_DATA64*>(image + library.OriginalFirstThunk);
    auto* address = reinterpret_cast<IMAGE_THUNK_DATA64*>(image + library.FirstThunk);
    for (; import->u1.AddressOfData != 0; ++import, ++address)
    {
        if (IsAbort(image, *import))
        {
            Write(address->u1.Function, function);
        }
    }
}
} // namespace

void ReplaceImportedAbort(BYTE* image, void (*function)())
{
    const IMAGE_NT_HEADERS64* const headers = HeadersOf(image);
    if (headers == nullptr)
    {
        return;
    }
    const auto& optional = headers->OptionalHeader;
    const DWORD begin = optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    if (begin == 0)
    {
        return;
    }
    const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(image + begin);
    for (; library->Name != 0 && library->FirstThunk != 0; ++library)
    {
        // Some linkers leave the names out.
        const bool hasNames = library->OriginalFirstThunk >= optional.SizeOfHeaders &&
                              library->OriginalFirstThunk < optional.SizeOfImage;
        if (hasNames && IsRuntime(reinterpret_cast<const char*>(image + library->Name)))
        {
            ReplaceIn(image, *library, reinterpret_cast<ULONGLONG>(function));
        }
    }
}
