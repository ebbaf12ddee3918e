#include "ThreadStart.h"

#include "VzComn_SecurityAttributes.h"

void StartThread(unsigned(__stdcall* proc)(void*), void* argument)
{
    constexpr std::uint32_t threadKind = 6;
    VzCommon::Thread::Base thread;
    thread.timeout = INFINITE;
    VzCommon::AccessControl::SecurityAttributes attributes(threadKind, false);
    thread.Create(attributes, proc, argument);
    thread.Run(THREAD_PRIORITY_NORMAL);
}
