#include "IdlePools.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <stdexcept>

namespace TestSupport
{

namespace
{

constexpr DWORD idleMs = 10'000;
constexpr DWORD lateMs = 1000; // what may pass between the beginning of an idle time and its wait
constexpr DWORD lookMs = 50;

decltype(&SleepConditionVariableSRW) s_wait = nullptr;
decltype(&QueryPerformanceCounter) s_readClock = nullptr;
std::atomic<bool> s_isOver = false;

// What a thread idles at, and whether its next look at the clock shows the end of the idle time. Slots of the
// system: a thread_local takes memory of its own, which would show where growth is counted.
const DWORD s_idlesAt = TlsAlloc();
const DWORD s_isDue = TlsAlloc();

// Reading a slot takes away the last error of whoever looks at the clock.
void* Get(DWORD slot)
{
    const DWORD error = GetLastError();
    void* const value = TlsGetValue(slot);
    SetLastError(error);
    return value;
}

// Wakes for no reason now and then, as this wait may; the caller looks whether there is work, and then at the
// clock. A wait that is broken off lets no wake-up get lost so.
BOOL WINAPI WaitInPieces(CONDITION_VARIABLE* variable, SRWLOCK* lock, DWORD milliseconds, ULONG flags)
{
    const bool begins = milliseconds <= idleMs && milliseconds > idleMs - lateMs;
    if (!begins && Get(s_idlesAt) != variable)
    {
        return s_wait(variable, lock, milliseconds, flags);
    }
    TlsSetValue(s_idlesAt, variable);
    if (!s_wait(variable, lock, std::min(milliseconds, lookMs), flags) && s_isOver)
    {
        TlsSetValue(s_isDue, variable);
    }
    return TRUE;
}

BOOL WINAPI ReadClock(LARGE_INTEGER* ticks)
{
    const BOOL isRead = s_readClock(ticks);
    if (Get(s_isDue) != nullptr)
    {
        TlsSetValue(s_isDue, nullptr);
        LARGE_INTEGER inSecond{};
        QueryPerformanceFrequency(&inSecond);
        ticks->QuadPart += inSecond.QuadPart * idleMs / 1000;
    }
    return isRead;
}

template <typename Function>
std::unique_ptr<ImportPatch> Patch(const char* name, Function* fake, Function*& original, HMODULE module)
{
    try
    {
        auto patch = std::make_unique<ImportPatch>(nullptr, name, fake, module);
        original = patch->template Original<Function>();
        return patch;
    }
    catch (const std::runtime_error&)
    {
        return nullptr; // nothing there waits so
    }
}

} // namespace

IdlePools::IdlePools()
{
    s_isOver = false;
    s_wait = &SleepConditionVariableSRW;
    s_readClock = &QueryPerformanceCounter;
    // The library stays once it is used; a test may come to that only later.
    const HMODULE modules[] = {GetModuleHandleW(nullptr), LoadLibraryW(L"svcLink.dll")};
    for (std::size_t i = 0; i < std::size(modules); ++i)
    {
        if (modules[i] != nullptr)
        {
            m_clocks[i] = Patch("QueryPerformanceCounter", &ReadClock, s_readClock, modules[i]);
            m_waits[i] = Patch("SleepConditionVariableSRW", &WaitInPieces, s_wait, modules[i]);
        }
    }
}

IdlePools::~IdlePools()
{
    s_isOver = false;
}

void IdlePools::End(bool now)
{
    s_isOver = now;
}

} // namespace TestSupport
