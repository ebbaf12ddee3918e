#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "EndEvent.h"
#include "FrwkMode.h"
#include "LibrarySearch.h"
#include "Options.h"
#include "Report.h"
#include "VzComn_LogFront.h"
#include "Watch.h"

namespace
{
using WatchDog::EndResult;
using WatchDog::Print;

enum ExitCode : int
{
    Done = 0,
    Failed = 1,
    Usage = 2,
    RunsAlready = 3,
    NoneRuns = 4,
    StillRuns = 5,
    NoProduct = 6,
};

// Set by Ctrl-C and its like, which come on a thread of the system's.
HANDLE s_end = nullptr; // Weak. Written before the system may call.

BOOL WINAPI OnConsoleControl(DWORD /*control*/)
{
    SetEvent(s_end);
    return TRUE;
}

// Lets Ctrl-C and its like signal an event for the length of a scope, which the event outlives.
class ConsoleControl
{
public:
    explicit ConsoleControl(HANDLE end)
    {
        s_end = end;
        SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
    }

    ~ConsoleControl() { SetConsoleCtrlHandler(&OnConsoleControl, FALSE); }

    ConsoleControl(const ConsoleControl&) = delete;
    ConsoleControl& operator=(const ConsoleControl&) = delete;
};

ExitCode RunWatch(const WatchDog::Options& options)
{
    VzCommon::Synchronize::Event end;
    std::uint32_t error = 0;
    if (!WatchDog::ClaimEndEvent(end, error))
    {
        WatchDog::Complain(error == ERROR_ALREADY_EXISTS
                               ? L"A watchdog of this product runs already."
                               : L"The end event cannot be made: error " + std::to_wstring(error) + L".");
        return error == ERROR_ALREADY_EXISTS ? RunsAlready : Failed;
    }
    const ConsoleControl control(end.Handle());
    WatchDog::Watch watch(options);
    if (!watch.MakeEvents())
    {
        return Failed;
    }
    WatchDog::Tell(L"The watchdog of " + QxCommon::GetProductId() + L" runs; Ctrl-C or --stop ends it.");
    watch.Run(end.Handle());
    WatchDog::Tell(L"The watchdog has ended.");
    return Done;
}

ExitCode StopWatchdog()
{
    switch (WatchDog::EndRunningWatchdog())
    {
    case EndResult::Ended: return Done;
    case EndResult::NoneRuns: Print(L"No watchdog of this product runs."); return NoneRuns;
    case EndResult::StillRuns: Print(L"The watchdog does not end."); return StillRuns;
    default: Print(L"The watchdog may not be ended by this user."); return Failed;
    }
}

ExitCode Run(const std::vector<std::wstring>& words)
{
    const WatchDog::Options options = WatchDog::ParseOptions(words);
    if (!options.complaint.empty())
    {
        Print(options.complaint + L" Try --help.");
        return Usage;
    }
    if (options.task == WatchDog::Task::Help)
    {
        Print(WatchDog::HelpText());
        return Done;
    }
    if (QxCommon::GetProductId().empty())
    {
        Print(L"The program's file name belongs to no product.");
        return NoProduct;
    }
    return options.task == WatchDog::Task::Stop ? StopWatchdog() : RunWatch(options);
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    RestrictLibrarySearch();
    VzCommon::InitDebugLog(L"QxWatchDog");
    const ExitCode code = Run({arguments + std::min(count, 1), arguments + count});
    VzCommon::ShutdownDebugLog();
    return code;
}
