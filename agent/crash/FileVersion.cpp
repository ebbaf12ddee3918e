#include "FileVersion.h"

#include "VzComn_LogFront.h"

#include <windows.h>

#include <cstddef>
#include <cwchar>
#include <memory>
#include <new>

namespace
{
using VersionData = std::unique_ptr<std::byte[]>;

bool Fetch(const wchar_t* moduleName, DWORD size, VersionData& data)
{
    data.reset(new (std::nothrow) std::byte[size]);
    if (!data || !GetFileVersionInfoW(moduleName, 0, size, data.get()))
    {
        LOG_INFO << L"GetFileVersionInfo() fails";
        return false;
    }
    return true;
}

// The numbers in the data, or null if it holds none, or a part of them only.
const VS_FIXEDFILEINFO* FixedPart(const VersionData& data)
{
    void* block = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(data.get(), L"\\", &block, &length) || block == nullptr ||
        length < sizeof(VS_FIXEDFILEINFO))
    {
        LOG_INFO << L"VerQueryValue() fails";
        return nullptr;
    }
    return static_cast<const VS_FIXEDFILEINFO*>(block);
}
} // namespace

bool GetFileVersionText(const wchar_t* moduleName, FaultText& buffer)
{
    wcscpy_s(buffer, faultTextLength, L"0.0.0.0");
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(moduleName, &ignored);
    VersionData data;
    if (size == 0 || !Fetch(moduleName, size, data))
    {
        return false;
    }
    const VS_FIXEDFILEINFO* fixed = FixedPart(data);
    if (fixed == nullptr)
    {
        return false;
    }
    _snwprintf_s(buffer, faultTextLength, _TRUNCATE, L"%d.%d.%d.%d", HIWORD(fixed->dwFileVersionMS),
                 LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS),
                 LOWORD(fixed->dwFileVersionLS));
    return true;
}
