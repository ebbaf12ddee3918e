#include "FaultInfo.h"

#include "FaultModule.h"
#include "FileVersion.h"
#include "VzComn_LogFront.h"

void LogFaultInfo(EXCEPTION_POINTERS* pExceptionPointers)
{
    const EXCEPTION_RECORD& fault = *pExceptionPointers->ExceptionRecord;
    const ModuleOfFault module = ModuleAt(fault.ExceptionAddress);
    FaultText text{};
    if (module.found)
    {
        WriteName(module, text);
        LOG_INFO << L"Fault Module Name: " << text;
    }
    GetFileVersionText(module.path, text);
    LOG_INFO << L"Fault Module Version" << text;
    WriteCode(fault.ExceptionCode, text);
    LOG_INFO << L"Exception Code: " << text;
    WriteOffset(module, fault.ExceptionAddress, text);
    LOG_INFO << L"Exception Offset: " << text;
}
