// A log writer that cannot close a log.
#include <VzDbgLog.h>

extern "C" __declspec(dllexport) DWORD VzDbgInitialize(void** /*handle*/, const VzDbgConfig* /*config*/)
{
    return ERROR_SUCCESS;
}

extern "C" __declspec(dllexport) DWORD
    VzDbgTrace(void* /*handle*/, const SYSTEMTIME* /*time*/, const wchar_t* /*line*/)
{
    return ERROR_SUCCESS;
}
