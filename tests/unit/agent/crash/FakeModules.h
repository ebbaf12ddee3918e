#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ImportPatch.h"

// An exception at an address, as the filter is given it.
struct RaisedFault
{
    explicit RaisedFault(std::uintptr_t address, DWORD code = EXCEPTION_ACCESS_VIOLATION);

    RaisedFault(const RaisedFault&) = delete;
    RaisedFault& operator=(const RaisedFault&) = delete;

    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};
};

// The program, one library in it, and the versions of their files, in place of those of this process. One at
// a time.
class FakeModules
{
public:
    static constexpr std::uintptr_t libraryStart = 0x00007FFA12340000;

    FakeModules();
    ~FakeModules();

    FakeModules(const FakeModules&) = delete;
    FakeModules& operator=(const FakeModules&) = delete;

    // "1.22.333.4444" is {1, 22, 333, 4444}.
    void GiveVersion(const std::wstring& path, const std::vector<WORD>& parts);

    std::wstring programPath = L"C:\\Program Files\\Norvane Soft\\QxSessionAgent.exe";
    std::wstring libraryPath = L"C:\\Program Files\\Norvane Soft\\Plug-ins\\Quenta.dll";
    bool isInLibrary = true; // every address; otherwise it is in no module
    bool canFetch = true;    // what has a version at all
    bool canQuery = true;
    bool hasFixedPart = true; // in what is queried
    UINT fixedLength = sizeof(VS_FIXEDFILEINFO);

    // What was asked for.
    DWORD flags = 0;
    std::uintptr_t address = 0;
    std::vector<std::wstring> versionFiles;

private:
    static BOOL WINAPI FindModule(DWORD flags, LPCWSTR address, HMODULE* module);
    static DWORD WINAPI TellPath(HMODULE module, LPWSTR path, DWORD size);
    static DWORD WINAPI TellVersionSize(LPCWSTR file, LPDWORD ignored);
    static BOOL WINAPI TellVersion(LPCWSTR file, DWORD ignored, DWORD size, LPVOID data);
    static BOOL WINAPI QueryValue(LPCVOID data, LPCWSTR name, LPVOID* value, PUINT length);

    std::map<std::wstring, VS_FIXEDFILEINFO> m_versions;
    TestSupport::ImportPatch m_moduleOfAddress{nullptr, "GetModuleHandleExW", &FindModule};
    TestSupport::ImportPatch m_pathOfModule{nullptr, "GetModuleFileNameW", &TellPath};
    TestSupport::ImportPatch m_versionSize{nullptr, "GetFileVersionInfoSizeW", &TellVersionSize};
    TestSupport::ImportPatch m_versionData{nullptr, "GetFileVersionInfoW", &TellVersion};
    TestSupport::ImportPatch m_query{nullptr, "VerQueryValueW", &QueryValue};
};
