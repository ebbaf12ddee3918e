#pragma once

#include <windows.h>

#include <chrono>
#include <mutex>

namespace SvcLink
{

// The system's slim lock under the names that the standard guards use. Not recursive.
class SlimLock
{
public:
    SlimLock() = default;

    SlimLock(const SlimLock&) = delete;
    SlimLock& operator=(const SlimLock&) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }

    bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&m_lock) != FALSE; }

    void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }

    void lock_shared() noexcept { AcquireSRWLockShared(&m_lock); }

    bool try_lock_shared() noexcept { return TryAcquireSRWLockShared(&m_lock) != FALSE; }

    void unlock_shared() noexcept { ReleaseSRWLockShared(&m_lock); }

private:
    friend class Condition;

    SRWLOCK m_lock = SRWLOCK_INIT;
};

// What a thread waits for under a SlimLock that it holds exclusively.
class Condition
{
public:
    using Clock = std::chrono::steady_clock;

    Condition() = default;

    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    template <typename Predicate>
    void Wait(std::unique_lock<SlimLock>& held, Predicate predicate)
    {
        while (!predicate())
        {
            SleepConditionVariableSRW(&m_variable, &held.mutex()->m_lock, INFINITE, 0);
        }
    }

    // False if the time is over and the predicate still does not hold.
    template <typename Predicate>
    bool WaitUntil(std::unique_lock<SlimLock>& held, Clock::time_point end, Predicate predicate)
    {
        while (!predicate())
        {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
            if (left <= 0)
            {
                return false;
            }
            constexpr long long longest = 24LL * 60 * 60 * 1000;
            SleepConditionVariableSRW(&m_variable, &held.mutex()->m_lock,
                                      static_cast<DWORD>(left < longest ? left : longest), 0);
        }
        return true;
    }

    void WakeOne() noexcept { WakeConditionVariable(&m_variable); }

    void WakeAll() noexcept { WakeAllConditionVariable(&m_variable); }

private:
    CONDITION_VARIABLE m_variable = CONDITION_VARIABLE_INIT;
};

} // namespace SvcLink
