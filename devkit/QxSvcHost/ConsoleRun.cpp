#include "ServiceRun.h"

#include <windows.h>

#include <array>
#include <optional>
#include <utility>

#include "Administrator.h"
#include "ConsoleHostMark.h"
#include "FrwkMode.h"
#include "Host.h"
#include "JournalFile.h"
#include "ObjectNames.h"
#include "QxCommon_names.h"
#include "QxCommon_utility.h"
#include "VzComn_Synchronize.h"

namespace SvcHost
{
namespace
{
constexpr std::chrono::milliseconds stopLimit{4000};

// Set by Ctrl-C and its like, which come on a thread of the system's.
HANDLE s_interrupted = nullptr; // Weak. Written before the system may call.

BOOL WINAPI OnConsoleControl(DWORD /*control*/)
{
    SetEvent(s_interrupted);
    return TRUE;
}

void WaitForEnd(HANDLE interrupted, HANDLE exitEvent)
{
    const std::array<HANDLE, 2> ends = {interrupted, exitEvent};
    WaitForMultipleObjects(exitEvent != nullptr ? 2 : 1, ends.data(), FALSE, INFINITE);
}

ExitCode SayStartFailed(std::uint32_t error)
{
    return error == ERROR_ACCESS_DENIED
               ? Say(ExitCode::EndpointTaken, L"Another process owns the endpoint of the product.")
               : Say(ExitCode::Failure,
                     L"The endpoint cannot be opened: error " + std::to_wstring(error) + L".");
}
} // namespace

ExitCode RunInConsole()
{
    const VzCommon::KernelHandle interrupted(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    s_interrupted = interrupted.Get();
    SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
    if (!IsAdministrator(GetCurrentProcessId()))
    {
        return Say(ExitCode::NeedsAdministrator, L"--console needs an administrator's rights.");
    }
    std::optional<SvcLink::ConsoleHostMark> mark(std::in_place); // goes after the host
    Host host(QxCommon::GetServiceName(), JournalPath());
    std::uint32_t error = 0;
    if (!host.Start(QxCommon::AppendName(QxCommon::GetModuleFolder(), L"plugins"), error))
    {
        return SayStartFailed(error);
    }
    // Not before this process owns the endpoint: another one may have set the mark.
    if (!mark->Set(error))
    {
        (void)host.Stop(stopLimit);
        return Say(ExitCode::NeedsAdministrator,
                   L"The product's registry key cannot be written: error " + std::to_wstring(error) + L".");
    }
    VzCommon::Synchronize::Event exitEvent;
    (void)CreateExitEvent(exitEvent); // without it Ctrl-C is left
    Say(ExitCode::Success,
        L"The host service of " + QxCommon::GetProductId() + L" runs in the foreground; Ctrl-C ends it.");
    WaitForEnd(interrupted.Get(), exitEvent.Handle());
    const bool stopped = host.Stop(stopLimit);
    Say(ExitCode::Success, L"The host service has ended.");
    if (!stopped)
    {
        // What does not come back still uses the host, so nothing may be destroyed but the mark.
        mark.reset();
        TerminateProcess(GetCurrentProcess(), 0);
    }
    return ExitCode::Success;
}

} // namespace SvcHost
