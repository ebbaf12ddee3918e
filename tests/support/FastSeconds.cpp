#include "FastSeconds.h"

#include <utility>

namespace TestSupport
{

namespace
{

constexpr DWORD second = 1000;

struct Clock
{
    void(WINAPI* sleep)(DWORD) = nullptr;
    DWORD milliseconds = 0;
    std::size_t seconds = 0;
    std::function<void()> action;
} g_clock;

void WINAPI SleepFaster(DWORD milliseconds)
{
    if (milliseconds != second)
    {
        g_clock.sleep(milliseconds);
        return;
    }
    ++g_clock.seconds;
    if (g_clock.action)
    {
        g_clock.action();
    }
    g_clock.sleep(g_clock.milliseconds);
    SetLastError(ERROR_INVALID_DATA); // a sleep may leave anything
}

} // namespace

FastSeconds::FastSeconds(DWORD milliseconds) : m_sleep(nullptr, "Sleep", &SleepFaster)
{
    g_clock = {m_sleep.Original<void WINAPI(DWORD)>(), milliseconds, 0, {}};
}

FastSeconds::~FastSeconds()
{
    g_clock.action = {};
}

std::size_t FastSeconds::Count() const
{
    return g_clock.seconds;
}

void FastSeconds::LetLast(DWORD milliseconds)
{
    g_clock.milliseconds = milliseconds;
}

void FastSeconds::InEach(std::function<void()> action)
{
    g_clock.action = std::move(action);
}

std::function<void()> FastSeconds::Action() const
{
    return g_clock.action;
}

} // namespace TestSupport
