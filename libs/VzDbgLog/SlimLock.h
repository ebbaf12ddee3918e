#pragma once

#include <windows.h>

namespace VzDbgLog
{

// The system's slim lock under the names that the standard guards use. Not recursive.
class SlimLock
{
public:
    SlimLock() = default;

    SlimLock(const SlimLock&) = delete;
    SlimLock& operator=(const SlimLock&) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&section); }

    bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&section) != FALSE; }

    void unlock() noexcept { ReleaseSRWLockExclusive(&section); }

    void lock_shared() noexcept { AcquireSRWLockShared(&section); }

    bool try_lock_shared() noexcept { return TryAcquireSRWLockShared(&section) != FALSE; }

    void unlock_shared() noexcept { ReleaseSRWLockShared(&section); }

private:
    SRWLOCK section = SRWLOCK_INIT;
};

} // namespace VzDbgLog
