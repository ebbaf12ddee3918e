#include "WerReport.h"

#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"
#include "WerExports.h"
#include "WerParameters.h"

#include <cwchar>
#include <iterator>

namespace
{
// The report of an application that crashed. The texts are cut to the room that there is for them.
WER_REPORT_INFORMATION DescribeReport(const std::wstring& applicationName)
{
    WER_REPORT_INFORMATION information{};
    static_assert(sizeof information == 2208);
    information.dwSize = sizeof information;
    wcsncpy_s(information.wzFriendlyEventName, std::size(information.wzFriendlyEventName),
              L"Crash Dump Event", _TRUNCATE);
    wcsncpy_s(information.wzApplicationName, std::size(information.wzApplicationName),
              applicationName.c_str(), _TRUNCATE);
    wcsncpy_s(information.wzDescription, std::size(information.wzDescription), L"Critical runtime problem",
              _TRUNCATE);
    return information;
}

bool AddDump(const WerExports& wer, HREPORT report, EXCEPTION_POINTERS* pExceptionPointers)
{
    WER_EXCEPTION_INFORMATION exception{pExceptionPointers, FALSE};
    const HRESULT code = wer.addDump(report, GetCurrentProcess(), GetCurrentThread(), WerDumpTypeMiniDump,
                                     &exception, nullptr, 0);
    if (FAILED(code))
    {
        LOG_INFO << L"Crash dump generation failed on this result code:" << code;
    }
    return SUCCEEDED(code);
}

void LogOutcome(int outcome)
{
    constexpr const wchar_t* texts[] = {
        L"Report queued.",
        L"Report uploaded.",
        L"Debug button clicked.",
        L"Report submission failed.",
        L"Error reporting was disabled.",
        L"Report was canceled.",
        L"Queuing was disabled.",
        L"Report was asynchronous.",
    };
    if (outcome >= 1 && outcome <= static_cast<int>(std::size(texts)))
    {
        LOG_INFO << texts[outcome - 1];
    }
    else
    {
        LOG_INFO << L"Unexpected return value from WerReportSubmit():" << outcome;
    }
}

bool Submit(const WerExports& wer, HREPORT report)
{
    int outcome = 0; // of a system that may know more values than the enumeration
    const HRESULT code = wer.submit(report, WerConsentAlwaysPrompt, WER_SUBMIT_OUTOFPROCESS,
                                    reinterpret_cast<WER_SUBMIT_RESULT*>(&outcome));
    if (SUCCEEDED(code))
    {
        LOG_INFO << L"Crash dump generation succeed with result code:" << outcome;
    }
    LogOutcome(outcome);
    return SUCCEEDED(code);
}
} // namespace

bool ReportByWer(EXCEPTION_POINTERS* pExceptionPointers, const std::wstring& applicationName)
{
    const VzCommon::ModuleHandle library(LoadLibraryW(L"wer.dll"));
    if (!library)
    {
        LOG_INFO << L"Load 'wer.dll' faulty";
        return false;
    }
    LOG_INFO << L"Load 'wer.dll' successfully";

    WerExports wer{};
    if (!FindExports(library.Get(), wer))
    {
        return false;
    }
    WER_REPORT_INFORMATION information = DescribeReport(applicationName);
    HREPORT report = nullptr;
    bool result = false;
    static_assert(WerReportApplicationCrash == 2);
    const HRESULT created = wer.create(L"APPCRASH", WerReportApplicationCrash, &information, &report);
    if (SUCCEEDED(created) && report != nullptr)
    {
        SetReportParameters(wer, report, *pExceptionPointers->ExceptionRecord);
        result = AddDump(wer, report, pExceptionPointers) && Submit(wer, report);
    }
    if (report != nullptr)
    {
        wer.closeHandle(report);
    }
    return result;
}
