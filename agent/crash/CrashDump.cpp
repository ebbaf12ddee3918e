#include "CrashDump.h"

#include <shlobj.h>

#include <ctime>
#include <cwchar>

#include "CrashLimit.h"
#include "CrashState.h"
#include "DbghelpTable.h"
#include "FrwkMode.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

namespace
{
constexpr std::size_t pathLength = 520;
using DumpPath = wchar_t[pathLength];

void ComposePath(const std::wstring& folder, bool hasException, DumpPath& path)
{
    const __time64_t now = _time64(nullptr);
    const tm* const local = _localtime64(&now);
    const tm time = local != nullptr ? *local : tm{};
    _snwprintf_s(path, pathLength, _TRUNCATE, L"%s\\%s%04d%02d%02d_%02d%02d%02d%s%s", folder.c_str(),
                 QxCommon::GetProductId().c_str(), time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
                 time.tm_hour, time.tm_min, time.tm_sec, hasException ? L"" : L"_SE_CRT_",
                 s_bFullDump ? L"Full.dmp" : L"Part.dmp");
}

bool WriteTo(HANDLE file, HANDLE process, DWORD processId, EXCEPTION_POINTERS* pExceptionPointers)
{
    if (!s_bDbghelpLoaded || s_pDbghelpTable == nullptr || s_pDbghelpTable->DumpWriter() == nullptr)
    {
        return false;
    }
    MINIDUMP_EXCEPTION_INFORMATION exception{s_crashThreadId, pExceptionPointers, TRUE};
    const MINIDUMP_TYPE type = s_bFullDump ? MiniDumpWithFullMemory : MiniDumpNormal;
    AllowTimeForDump(file);
    const BOOL written =
        s_pDbghelpTable->DumpWriter()(process, processId, file, type,
                                      pExceptionPointers != nullptr ? &exception : nullptr, nullptr, nullptr);
    AllowTimeForDump(nullptr);
    return written != FALSE;
}
} // namespace

void WriteCrashDump(HANDLE hProcess, DWORD processId, unsigned /*ignored*/,
                    EXCEPTION_POINTERS* pExceptionPointers, unsigned /*ignoredToo*/,
                    const std::wstring& folder)
{
    DumpPath path{};
    ComposePath(folder, pExceptionPointers != nullptr, path);
    SHCreateDirectory(nullptr, folder.c_str());
    VzCommon::FileHandle file(
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"failed to create dump file at path: " << path << L"GetLastError() = " << error;
        return;
    }
    const bool written = WriteTo(file.Get(), hProcess, processId, pExceptionPointers);
    file.Reset();
    if (written)
    {
        LOG_INFO << L"Crash dump generation succeed at path: " << path;
    }
    else
    {
        LOG_ERROR << L"Crash dump generation failed at path: " << path;
    }
}
