#include "FakeReporting.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>

namespace
{
FakeReporting* g_reporting = nullptr;

// Never taken for real ones.
const HMODULE g_library = reinterpret_cast<HMODULE>(std::uintptr_t{0x51A0000});
const HREPORT g_report = reinterpret_cast<HREPORT>(std::uintptr_t{0x51B0});

template <typename Function>
FARPROC AddressOf(Function* function)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

void Enter(const char* name)
{
    g_reporting->calls.emplace_back(name);
}

void EnterReport(const char* name, HREPORT report)
{
    EXPECT_EQ(report, g_report);
    Enter(name);
}
} // namespace

FakeReporting::FakeReporting()
{
    g_reporting = this;
}

FakeReporting::~FakeReporting()
{
    g_reporting = nullptr;
}

HREPORT FakeReporting::Report()
{
    return g_report;
}

HMODULE WINAPI FakeReporting::Load(LPCWSTR name)
{
    const std::wstring wide(name);
    Enter(std::string(wide.begin(), wide.end()).c_str());
    return g_reporting->hasLibraries ? g_library : nullptr;
}

BOOL WINAPI FakeReporting::Free(HMODULE module)
{
    EXPECT_EQ(module, g_library);
    Enter("FreeLibrary");
    return TRUE;
}

FARPROC WINAPI FakeReporting::Find(HMODULE module, LPCSTR name)
{
    static const std::map<std::string, FARPROC> exports{
        {"ReportFault", AddressOf(&ReportFault)},  {"WerReportCreate", AddressOf(&Create)},
        {"WerReportAddDump", AddressOf(&AddDump)}, {"WerReportSetParameter", AddressOf(&SetParameter)},
        {"WerReportAddFile", AddressOf(&AddFile)}, {"WerReportSetUIOption", AddressOf(&SetUiOption)},
        {"WerReportSubmit", AddressOf(&Submit)},   {"WerReportCloseHandle", AddressOf(&CloseReport)},
    };
    if (module != g_library)
    {
        return g_reporting->m_find.Original<FARPROC WINAPI(HMODULE, LPCSTR)>()(module, name);
    }
    const bool isMissing = g_reporting->missing.contains(name) || !exports.contains(name);
    return isMissing ? nullptr : exports.at(name);
}

int WINAPI FakeReporting::ReportFault(EXCEPTION_POINTERS* pointers, DWORD options)
{
    Enter("ReportFault");
    g_reporting->exceptionPointers = pointers;
    g_reporting->options = options;
    return g_reporting->faultCode;
}

HRESULT WINAPI FakeReporting::Create(PCWSTR type, WER_REPORT_TYPE kind, WER_REPORT_INFORMATION* information,
                                     HREPORT* report)
{
    Enter("WerReportCreate");
    g_reporting->eventType = type;
    g_reporting->reportKind = kind;
    g_reporting->information = *information;
    *report = g_reporting->created;
    return g_reporting->createCode;
}

HRESULT WINAPI FakeReporting::AddDump(HREPORT report, HANDLE process, HANDLE thread, WER_DUMP_TYPE type,
                                      WER_EXCEPTION_INFORMATION* exception, WER_DUMP_CUSTOM_OPTIONS* custom,
                                      DWORD flags)
{
    EnterReport("WerReportAddDump", report);
    g_reporting->dumpProcess = process;
    g_reporting->dumpThread = thread;
    g_reporting->dumpType = type;
    g_reporting->exceptionPointers = exception->pExceptionPointers;
    g_reporting->areClientPointers = exception->bClientPointers;
    g_reporting->dumpRest = custom == nullptr && flags == 0 ? 0 : 1;
    return g_reporting->dumpCode;
}

HRESULT WINAPI FakeReporting::SetParameter(HREPORT report, DWORD index, PCWSTR name, PCWSTR value)
{
    EnterReport("WerReportSetParameter", report);
    g_reporting->parameters.push_back({index, name, value});
    return g_reporting->parameterCode;
}

HRESULT WINAPI FakeReporting::AddFile(HREPORT report, PCWSTR /*path*/, WER_FILE_TYPE /*type*/,
                                      DWORD /*flags*/)
{
    EnterReport("WerReportAddFile", report);
    return S_OK;
}

HRESULT WINAPI FakeReporting::SetUiOption(HREPORT report, WER_REPORT_UI /*option*/, PCWSTR /*value*/)
{
    EnterReport("WerReportSetUIOption", report);
    return S_OK;
}

HRESULT WINAPI FakeReporting::Submit(HREPORT report, WER_CONSENT consent, DWORD flags,
                                     WER_SUBMIT_RESULT* result)
{
    EnterReport("WerReportSubmit", report);
    g_reporting->consent = consent;
    g_reporting->submitFlags = flags;
    if (g_reporting->outcome >= 0)
    {
        *reinterpret_cast<int*>(result) = g_reporting->outcome; // the values need not be the enumeration's
    }
    return g_reporting->submitCode;
}

HRESULT WINAPI FakeReporting::CloseReport(HREPORT report)
{
    EnterReport("WerReportCloseHandle", report);
    return S_OK;
}
