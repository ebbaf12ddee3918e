#include "WerParameters.h"

#include "FaultModule.h"
#include "FileVersion.h"
#include "ModuleTimestamp.h"

#include <cwchar>

namespace
{
void WriteTimestamp(const ModuleOfFault& module, FaultText& text)
{
    _snwprintf_s(text, faultTextLength, _TRUNCATE, L"%x", GetModuleTimestamp(module.module));
}
} // namespace

void SetReportParameters(const WerExports& wer, HREPORT report, const EXCEPTION_RECORD& fault)
{
    FaultText value{};
    DWORD index = 0;
    const auto set = [&](const wchar_t* name) { wer.setParameter(report, index++, name, value); };

    const ModuleOfFault program = ProgramModule();
    WriteName(program, value);
    set(L"Application Name");
    GetFileVersionText(program.path, value);
    set(L"Application Version");
    WriteTimestamp(program, value);
    set(L"Application Timestamp");

    const ModuleOfFault module = ModuleAt(fault.ExceptionAddress);
    WriteName(module, value);
    set(L"Fault Module Name");
    GetFileVersionText(module.path, value);
    set(L"Fault Module Version");
    WriteTimestamp(module, value);
    set(L"Fault Module Timestamp");

    WriteCode(fault.ExceptionCode, value);
    set(L"Exception Code");
    WriteOffset(module, fault.ExceptionAddress, value);
    set(L"Exception Offset");
}
