#include "FaultrepReport.h"

#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

namespace
{
using ReportFaultFunction = int WINAPI(EXCEPTION_POINTERS* exceptionPointers, DWORD options);
} // namespace

bool ReportByFaultrep(EXCEPTION_POINTERS* pExceptionPointers)
{
    const VzCommon::ModuleHandle library(LoadLibraryW(L"Faultrep.dll"));
    if (!library)
    {
        LOG_INFO << L"Load 'faultrep.dll' faulty";
        return false;
    }
    LOG_INFO << L"Load 'faultrep.dll' successfully";

    auto* const report = reinterpret_cast<ReportFaultFunction*>(
        reinterpret_cast<void*>(GetProcAddress(library.Get(), "ReportFault")));
    if (report == nullptr)
    {
        return false;
    }
    // Deliberate: said whatever the result is, and any result counts as sent.
    const int result = report(pExceptionPointers, 0);
    LOG_INFO << L"Crash dump generation succeed with result code:" << result;
    return true;
}
