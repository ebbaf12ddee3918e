#include "CrashState.h"

std::wstring& s_dumpFolder = *new std::wstring;
std::wstring& s_applicationName = *new std::wstring;
std::wstring& s_crashEventName = *new std::wstring;

VzCommon::KernelHandle& s_hCrashDoneEvent = *new VzCommon::KernelHandle;

constinit std::atomic<DWORD> s_crashThreadId{0};
boost::shared_mutex& s_crashMutex = *new boost::shared_mutex;

constinit std::atomic<bool> s_bFullDump{false};
constinit std::atomic<bool> s_bSilentDump{false};
constinit std::atomic<bool> s_bReportToSystem{false};
constinit std::atomic<bool> s_bDumpOnInvalidParameter{false};

constinit std::atomic<CrashFilterFunction> s_pfnCrashHandler{nullptr};
CrashFilterFunction s_pfnPreviousFilter = nullptr;

VzCommon::KernelHandle OpenCrashEvent()
{
    return VzCommon::KernelHandle(
        s_crashEventName.empty() ? nullptr : OpenEventW(EVENT_MODIFY_STATE, FALSE, s_crashEventName.c_str()));
}
