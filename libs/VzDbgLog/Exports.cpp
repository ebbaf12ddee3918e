#include "VzDbgLog.h"

#include "Log.h"
#include "OpenLogs.h"
#include "Settings.h"

#include <memory>
#include <new>

namespace
{

// Made and removed with the library.
VzDbgLog::OpenLogs* s_openLogs = nullptr;

// No exception leaves the library: its callers may be built with another compiler.
template <typename Operation>
DWORD Guarded(Operation operation) noexcept
{
    try
    {
        return operation();
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    catch (...)
    {
        return ERROR_INTERNAL_ERROR;
    }
}

// An open log keeps the library loaded, whatever its user does: its timer may be running, and lines that wait
// in memory still reach the file when the process ends.
void KeepLibrary()
{
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(&s_openLogs),
                       &self);
}

// The caller itself still holds the library while it is in a call.
void ReleaseLibrary()
{
    HMODULE self = nullptr;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const wchar_t*>(&s_openLogs), &self))
    {
        FreeLibrary(self);
    }
}

DWORD OpenLog(void** handle, const VzDbgConfig& config)
{
    auto log = std::make_shared<VzDbgLog::Log>(VzDbgLog::ReadSettings(config));
    const DWORD error = log->Open();
    if (error == ERROR_SUCCESS)
    {
        *handle = s_openLogs->Add(std::move(log));
        KeepLibrary();
    }
    return error;
}

} // namespace

extern "C" DWORD VzDbgInitialize(void** handle, const VzDbgConfig* config)
{
    if (handle == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    *handle = nullptr;
    if (config == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    return Guarded([=] { return OpenLog(handle, *config); });
}

extern "C" DWORD VzDbgTrace(void* handle, const SYSTEMTIME* time, const wchar_t* line)
{
    if (line == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    const std::shared_ptr<VzDbgLog::Log> log = s_openLogs->Find(handle);
    if (!log)
    {
        return ERROR_INVALID_HANDLE;
    }
    return Guarded([&] { return log->Write(time, line); });
}

extern "C" DWORD VzDbgUninitialize(void* handle)
{
    const std::shared_ptr<VzDbgLog::Log> log = s_openLogs->Remove(handle);
    if (!log)
    {
        return ERROR_INVALID_HANDLE;
    }
    const DWORD error = Guarded([&] { return log->Close(); });
    ReleaseLibrary();
    return error;
}

// At the end of the process the other threads are gone and may have left locks behind: nothing is waited for
// and nothing is freed.
BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD reason, void* atProcessEnd)
{
    switch (reason)
    {
    case DLL_PROCESS_ATTACH: s_openLogs = new (std::nothrow) VzDbgLog::OpenLogs; return s_openLogs != nullptr;
    case DLL_PROCESS_DETACH:
        if (atProcessEnd == nullptr)
        {
            delete s_openLogs;
        }
        else
        {
            Guarded(
                []
                {
                    s_openLogs->FlushAtExit();
                    return DWORD{ERROR_SUCCESS};
                });
        }
        return TRUE;
    default: return TRUE;
    }
}
