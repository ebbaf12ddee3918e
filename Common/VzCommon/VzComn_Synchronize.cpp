#include "VzComn_Synchronize.h"

namespace VzCommon::Synchronize
{

CriticalSection::CriticalSection()
{
    InitializeCriticalSection(&section);
}

CriticalSection::~CriticalSection()
{
    DeleteCriticalSection(&section);
}

void CriticalSection::Lock()
{
    EnterCriticalSection(&section);
}

void CriticalSection::Unlock()
{
    LeaveCriticalSection(&section);
}

SingleLock::SingleLock(Base* lockToHold) : lock(lockToHold)
{
    if (lock != nullptr)
    {
        lock->Lock();
    }
}

SingleLock::~SingleLock()
{
    if (lock != nullptr)
    {
        lock->Unlock();
    }
}

} // namespace VzCommon::Synchronize
