#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "WerExports.h"

// wer.dll and Faultrep.dll in place of those of the system. One at a time.
class FakeReporting
{
public:
    struct Parameter
    {
        DWORD index;
        std::wstring name;
        std::wstring value;

        bool operator==(const Parameter&) const = default;
    };

    FakeReporting();
    ~FakeReporting();

    FakeReporting(const FakeReporting&) = delete;
    FakeReporting& operator=(const FakeReporting&) = delete;

    // What a report is known by.
    static HREPORT Report();

    bool hasLibraries = true;
    std::set<std::string> missing; // exports
    HRESULT createCode = S_OK;
    HREPORT created = Report();
    HRESULT parameterCode = S_OK;
    HRESULT dumpCode = S_OK;
    HRESULT submitCode = S_OK;
    int outcome = WerReportQueued; // of the submission; untouched if negative
    int faultCode = 0;             // what ReportFault answers

    // What was done, in order: the loading of a library by its name, the calls of its exports by theirs.
    std::vector<std::string> calls;

    // What the calls were given.
    std::wstring eventType;
    int reportKind = 0;
    WER_REPORT_INFORMATION information{};
    std::vector<Parameter> parameters;
    EXCEPTION_POINTERS* exceptionPointers = nullptr;
    DWORD options = 99; // of ReportFault
    HANDLE dumpProcess = nullptr;
    HANDLE dumpThread = nullptr;
    int dumpType = 0;
    BOOL areClientPointers = TRUE;
    int dumpRest = 99; // 0 if the rest was null and 0
    int consent = 0;
    DWORD submitFlags = 0;

private:
    static HMODULE WINAPI Load(LPCWSTR name);
    static BOOL WINAPI Free(HMODULE module);
    static FARPROC WINAPI Find(HMODULE module, LPCSTR name);

    static int WINAPI ReportFault(EXCEPTION_POINTERS* pointers, DWORD options);
    static HRESULT WINAPI Create(PCWSTR type, WER_REPORT_TYPE kind, WER_REPORT_INFORMATION* information,
                                 HREPORT* report);
    static HRESULT WINAPI AddDump(HREPORT report, HANDLE process, HANDLE thread, WER_DUMP_TYPE type,
                                  WER_EXCEPTION_INFORMATION* exception, WER_DUMP_CUSTOM_OPTIONS* custom,
                                  DWORD flags);
    static HRESULT WINAPI SetParameter(HREPORT report, DWORD index, PCWSTR name, PCWSTR value);
    static HRESULT WINAPI AddFile(HREPORT report, PCWSTR path, WER_FILE_TYPE type, DWORD flags);
    static HRESULT WINAPI SetUiOption(HREPORT report, WER_REPORT_UI option, PCWSTR value);
    static HRESULT WINAPI Submit(HREPORT report, WER_CONSENT consent, DWORD flags, WER_SUBMIT_RESULT* result);
    static HRESULT WINAPI CloseReport(HREPORT report);

    TestSupport::ImportPatch m_load{nullptr, "LoadLibraryW", &Load};
    TestSupport::ImportPatch m_free{nullptr, "FreeLibrary", &Free};
    TestSupport::ImportPatch m_find{nullptr, "GetProcAddress", &Find};
};
