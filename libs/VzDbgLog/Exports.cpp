#include "VzDbgLog.h"

#include "OpenLogs.h"

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
    return Guarded([=] { return s_openLogs->Open(*config, *handle); });
}

extern "C" DWORD VzDbgTrace(void* handle, const SYSTEMTIME* time, const wchar_t* line)
{
    if (line == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    return Guarded([=] { return s_openLogs->Write(handle, time, line); });
}

extern "C" DWORD VzDbgUninitialize(void* handle)
{
    return Guarded([=] { return s_openLogs->Close(handle); });
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
