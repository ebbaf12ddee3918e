#include "VzComn_ThreadBase.h"

#include <process.h>

namespace VzCommon::Thread
{

void Base::Create(AccessControl::SecurityAttributes& attributes, Procedure procedure, void* argument)
{
    if (procedure == nullptr)
    {
        VZ_THROW(Exception, ERROR_BAD_ARGUMENTS);
    }
    unsigned id = 0;
    const auto created =
        _beginthreadex(attributes.ForCreation(), 0, procedure, argument, CREATE_SUSPENDED, &id);
    if (created == 0)
    {
        VZ_THROW(Exception, ERROR_SERVICE_NO_THREAD);
    }
    handle = reinterpret_cast<HANDLE>(created);
    threadId = id;
}

void Base::Run(int priority)
{
    RunAndWait(false, priority);
}

void Base::RunAndWait(bool wait, int priority)
{
    if (handle == nullptr || threadId == 0)
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
    if (!SetThreadPriority(handle, priority))
    {
        VZ_THROW(Exception, GetLastError());
    }
    if (ResumeThread(handle) == static_cast<DWORD>(-1))
    {
        VZ_THROW(Exception, GetLastError());
    }
    if (wait)
    {
        Wait();
    }
}

void Base::Wait()
{
    if (handle == nullptr || threadId == 0)
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
    if (GetCurrentThreadId() == threadId)
    {
        return; // a thread does not wait for its own end
    }
    const DWORD result = WaitForSingleObject(handle, timeout);
    switch (result)
    {
    case WAIT_OBJECT_0: return;
    case WAIT_ABANDONED:
    case WAIT_TIMEOUT: VZ_THROW(Exception, result);
    default: VZ_THROW(Exception, GetLastError());
    }
}

} // namespace VzCommon::Thread
