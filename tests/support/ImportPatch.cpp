#include "ImportPatch.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace TestSupport
{

namespace
{

const IMAGE_IMPORT_DESCRIPTOR* Imports(const BYTE* base)
{
    const auto* dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* ntHeaders = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dosHeader->e_lfanew);
    const auto& directory = ntHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    return reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
}

bool IsLibrary(const char* name, const wchar_t* wanted)
{
    return wanted == nullptr || _wcsicmp(std::wstring(name, name + std::strlen(name)).c_str(), wanted) == 0;
}

bool IsFunction(const BYTE* base, const IMAGE_THUNK_DATA& thunk, const char* wanted)
{
    if (IMAGE_SNAP_BY_ORDINAL(thunk.u1.Ordinal))
    {
        return false;
    }
    const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + thunk.u1.AddressOfData);
    return std::strcmp(reinterpret_cast<const char*>(byName->Name), wanted) == 0;
}

void Write(ULONG_PTR* slot, ULONG_PTR value)
{
    DWORD protection = 0;
    VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = value;
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

} // namespace

void ImportPatch::Apply(const wchar_t* library, const char* function, ULONG_PTR fake, HMODULE module)
{
    auto* base = reinterpret_cast<BYTE*>(module);
    for (const auto* descriptor = Imports(base); descriptor->Name != 0; ++descriptor)
    {
        if (!IsLibrary(reinterpret_cast<const char*>(base + descriptor->Name), library))
        {
            continue;
        }
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + descriptor->OriginalFirstThunk);
        auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + descriptor->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot)
        {
            if (IsFunction(base, *name, function))
            {
                auto* address = reinterpret_cast<ULONG_PTR*>(&slot->u1.Function);
                m_replaced.push_back({address, *address});
                Write(address, fake);
            }
        }
    }
    if (m_replaced.empty())
    {
        throw std::runtime_error(std::string(function) + " is not imported");
    }
}

ImportPatch::~ImportPatch()
{
    for (auto replaced = m_replaced.rbegin(); replaced != m_replaced.rend(); ++replaced)
    {
        Write(replaced->slot, replaced->original);
    }
}

} // namespace TestSupport
