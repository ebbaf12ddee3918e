#include "FakeModules.h"

#include <gtest/gtest.h>

#include <cwchar>

namespace
{
FakeModules* g_modules = nullptr;
constexpr DWORD versionSize = 100;

void* Pointer(std::uintptr_t address)
{
    return reinterpret_cast<void*>(address);
}
} // namespace

RaisedFault::RaisedFault(std::uintptr_t address, DWORD code)
{
    record.ExceptionAddress = Pointer(address);
    record.ExceptionCode = code;
}

FakeModules::FakeModules()
{
    g_modules = this;
}

FakeModules::~FakeModules()
{
    g_modules = nullptr;
}

void FakeModules::GiveVersion(const std::wstring& path, const std::vector<WORD>& parts)
{
    VS_FIXEDFILEINFO version{};
    version.dwSignature = 0xFEEF04BD;
    version.dwFileVersionMS = static_cast<DWORD>(MAKELONG(parts.at(1), parts.at(0)));
    version.dwFileVersionLS = static_cast<DWORD>(MAKELONG(parts.at(3), parts.at(2)));
    // Never to be taken for the other.
    version.dwProductVersionMS = 0x00630063;
    version.dwProductVersionLS = 0x00630063;
    m_versions[path] = version;
}

BOOL WINAPI FakeModules::FindModule(DWORD flags, LPCWSTR address, HMODULE* module)
{
    g_modules->flags = flags;
    g_modules->address = reinterpret_cast<std::uintptr_t>(address);
    // As the system does it, on failure too.
    *module = g_modules->isInLibrary ? static_cast<HMODULE>(Pointer(libraryStart)) : nullptr;
    return g_modules->isInLibrary;
}

DWORD WINAPI FakeModules::TellPath(HMODULE module, LPWSTR path, DWORD size)
{
    const bool isLibrary = module == Pointer(libraryStart);
    EXPECT_TRUE(isLibrary || module == nullptr || module == GetModuleHandleW(nullptr));
    const std::wstring& name = isLibrary ? g_modules->libraryPath : g_modules->programPath;
    if (name.empty())
    {
        return 0;
    }
    wcsncpy_s(path, size, name.c_str(), _TRUNCATE);
    return static_cast<DWORD>(std::wcslen(path));
}

DWORD WINAPI FakeModules::TellVersionSize(LPCWSTR file, LPDWORD /*ignored*/)
{
    g_modules->versionFiles.emplace_back(file);
    return g_modules->m_versions.contains(file) ? versionSize : 0;
}

BOOL WINAPI FakeModules::TellVersion(LPCWSTR file, DWORD /*ignored*/, DWORD size, LPVOID data)
{
    EXPECT_EQ(size, versionSize);
    if (g_modules->canFetch)
    {
        *static_cast<VS_FIXEDFILEINFO*>(data) = g_modules->m_versions.at(file);
    }
    return g_modules->canFetch;
}

BOOL WINAPI FakeModules::QueryValue(LPCVOID data, LPCWSTR name, LPVOID* value, PUINT length)
{
    EXPECT_STREQ(name, L"\\");
    if (g_modules->canQuery)
    {
        *value = g_modules->hasFixedPart ? const_cast<void*>(data) : nullptr;
        *length = g_modules->fixedLength;
    }
    return g_modules->canQuery;
}
