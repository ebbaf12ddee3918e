#include "EndEvent.h"

#include <windows.h>

#include <chrono>

#include "FrwkMode.h"
#include "VzComn_Handle.h"

namespace WatchDog
{
namespace
{
std::wstring Name()
{
    return L"Global\\WATCHDOG_EVENT_END" + QxCommon::GetProductId();
}

VzCommon::KernelHandle OpenEndEvent()
{
    const std::wstring name = Name();
    return VzCommon::KernelHandle(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
}
} // namespace

bool ClaimEndEvent(VzCommon::Synchronize::Event& event, std::uint32_t& error)
{
    if (event.CreateGlobal(Name(), true, true, false, &error))
    {
        return true;
    }
    // The rights of an event that must be new refuse a second creator before its existence is told.
    if (error == ERROR_ACCESS_DENIED && OpenEndEvent())
    {
        error = ERROR_ALREADY_EXISTS;
    }
    return false;
}

EndResult EndRunningWatchdog()
{
    constexpr std::chrono::seconds patience{15};
    constexpr DWORD pollMs = 20;
    {
        const VzCommon::KernelHandle event = OpenEndEvent();
        const DWORD error = GetLastError();
        if (!event)
        {
            return error == ERROR_FILE_NOT_FOUND ? EndResult::NoneRuns : EndResult::Refused;
        }
        SetEvent(event.Get());
    }
    // The event goes with the process that made it.
    const auto end = std::chrono::steady_clock::now() + patience;
    while (OpenEndEvent())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            return EndResult::StillRuns;
        }
        Sleep(pollMs);
    }
    return EndResult::Ended;
}

} // namespace WatchDog
