#include "WaitUntil.h"

#include <windows.h>

namespace TestSupport
{

namespace
{

constexpr DWORD pollIntervalMs = 2;

template <typename Pause>
bool Poll(const std::function<bool()>& predicate, std::chrono::milliseconds timeout, Pause pause)
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() >= end)
        {
            return false;
        }
        pause();
    }
    return true;
}

} // namespace

bool WaitUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout)
{
    return Poll(predicate, timeout, [] { Sleep(pollIntervalMs); });
}

bool PumpMessagesUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout)
{
    return Poll(predicate, timeout,
                []
                {
                    MSG message{};
                    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
                    {
                        TranslateMessage(&message);
                        DispatchMessageW(&message);
                    }
                    MsgWaitForMultipleObjects(0, nullptr, FALSE, pollIntervalMs, QS_ALLINPUT);
                });
}

} // namespace TestSupport
