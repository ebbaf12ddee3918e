#pragma once

#include <windows.h>

// The toolchain's header relies on names that it does not have.
#ifdef __MINGW32__
using HREPORT = HANDLE;
#define WER_MAX_PREFERRED_MODULES_BUFFER 256
#define PWER_SUBMIT_RESULT WER_SUBMIT_RESULT*
#define WER_SUBMIT_OUTOFPROCESS 32
#endif

#include <werapi.h>

#ifdef __MINGW32__
#undef PWER_SUBMIT_RESULT
#endif

// What the report of a crash uses of wer.dll.
struct WerExports
{
    decltype(&WerReportCreate) create;
    decltype(&WerReportAddDump) addDump;
    decltype(&WerReportSetParameter) setParameter;
    decltype(&WerReportAddFile) addFile;         // never called
    decltype(&WerReportSetUIOption) setUiOption; // never called
    decltype(&WerReportSubmit) submit;
    decltype(&WerReportCloseHandle) closeHandle;
};

// Looks the exports up. False if one is missing, but for WerReportSubmit: a library without it is taken, and
// refuses what is submitted.
[[nodiscard]] bool FindExports(HMODULE library, WerExports& exports);
