#include "util_CrashHandler.h"

#include <windows.h>

#include <shlobj.h>
#include <userenv.h>

#include <cstdlib>

#include "CrashFilter.h"
#include "CrashLimit.h"
#include "CrashState.h"
#include "DbghelpTable.h"
#include "DumpRetention.h"
#include "FrwkMode.h"
#include "InvalidParameter.h"
#include "PsapiTable.h"
#include "StackReserve.h"
#include "VzComn_LogFront.h"

namespace
{
constexpr const wchar_t* applicationNameOfAgent = L"QxSessionAgent";

bool GetCommonDataFolder(std::wstring& folder)
{
    wchar_t path[MAX_PATH]{};
    DWORD length = MAX_PATH;
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr,
                                SHGFP_TYPE_CURRENT, path)) &&
        !GetAllUsersProfileDirectoryW(path, &length))
    {
        return false;
    }
    folder = path;
    return true;
}

bool ChooseDumpFolder(const std::wstring& dumpFolder)
{
    if (!dumpFolder.empty())
    {
        s_dumpFolder = dumpFolder;
    }
    else if (!GetCommonDataFolder(s_dumpFolder))
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"Get CSIDL_COMMON_APPDATA path failed with error " << error;
        return false;
    }
    s_dumpFolder += L"\\Norvane Soft\\" + QxCommon::GetProductId() + L"\\dump";
    return true;
}

// Deliberate: the last folder only. Without the product's own folders there are no dumps to keep.
bool MakeDumpFolder()
{
    if (CreateDirectoryW(s_dumpFolder.c_str(), nullptr))
    {
        return true;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS)
    {
        return true;
    }
    LOG_ERROR << L"Create Directory failed...Error:" << error;
    return false;
}

void CreateDoneEvent()
{
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
    s_hCrashDoneEvent.Reset(CreateEventW(&attributes, TRUE, FALSE, nullptr));
}

void Arm()
{
    CreateDoneEvent();
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    _set_invalid_parameter_handler(&InvalidParameterHandler);
    s_bFullDump = true;
    s_bReportToSystem = false;
    s_bSilentDump = true;
    LOG_INFO << L"Enable silent dump mode";
    LOG_INFO << L"Enable crash handler and disable debugger";
    ReserveStack();
    StartCrashLimit();
    InstallCrashFilter();
    s_bDumpOnInvalidParameter = false;
    LoadDbghelpTable();
    LoadPsapiTable();
}
} // namespace

void InitCrashHandler(unsigned /*reserved*/, const std::wstring& crashEventName,
                      const std::wstring& dumpFolder)
{
    FUNCTION_TRACE(L"InitCrashHandler");
    if (applicationNameOfAgent == nullptr)
    {
        LOG_ERROR << L"The application name is NULL, abort to init crash handler...";
        return;
    }
    if (!ChooseDumpFolder(dumpFolder))
    {
        return;
    }
    s_crashEventName = crashEventName;
    s_applicationName = applicationNameOfAgent;
    LOG_INFO << L"Initialize Crash handler. Dump folder: " << s_dumpFolder << L", Application Name: "
             << s_applicationName << L", Crash Event Name: " << s_crashEventName;
    if (MakeDumpFolder())
    {
        Arm();
        SweepDumpFolder();
    }
}

void UninitCrashHandler()
{
    FUNCTION_TRACE(L"UninitCrashHandler");
    ReleasePsapiTable();
    ReleaseDbghelpTable();
    WaitForCrash();
}
