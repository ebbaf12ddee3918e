#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <functional>
#include <string>
#include <vector>

#include "CrashTest.h"
#include "ImportPatch.h"
#include "VzComn_Handle.h"

// What the channels are told of each crash.
inline constexpr wchar_t eventLine[] = L":  Crash catched!";
inline constexpr wchar_t feedbackLine[] = L"[Crash]:  QxSessionAgent";

// A crash whose dump is not written and whose process does not end: what the filter does is recorded, calls
// and lines together in their order.
class CrashScene : public CrashTest
{
protected:
    CrashScene();
    ~CrashScene() override;

    // What was done so far. "dump", "done", "signal", "end 1"; a line as its text.
    [[nodiscard]] static std::vector<std::wstring> Steps();
    [[nodiscard]] static std::ptrdiff_t CountOf(const std::wstring& step);
    static void ForgetSteps();

    // Arms the handler, with the dump writer of this scene, and forgets what that took.
    void Arm(const std::wstring& eventName = L"");

    // The arguments of the dump writer.
    struct Dump
    {
        int count = 0;
        DWORD process = 0;
        int type = -1;
        bool hasException = false;
        MINIDUMP_EXCEPTION_INFORMATION exception{};
        bool hasRest = false;
    };

    static Dump dump;
    static bool dumpResult;
    static std::function<void()> duringDump;

    // An exception of this program.
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS exception{&record, &context};

private:
    static BOOL WINAPI WriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                                 MINIDUMP_EXCEPTION_INFORMATION* exception,
                                 MINIDUMP_USER_STREAM_INFORMATION* streams,
                                 MINIDUMP_CALLBACK_INFORMATION* callback);

    TestSupport::ImportPatch m_signal;
    TestSupport::ImportPatch m_end;
};
