#include "ThreadStart.h"

#include "VzComn_SecurityAttributes.h"

void StartThread(VzCommon::Thread::Base::Procedure procedure, void* argument)
{
    VzCommon::Thread::Base thread;
    VzCommon::AccessControl::SecurityAttributes attributes(VzCommon::AccessControl::Kind::Thread, false);
    thread.Create(attributes, procedure, argument);
    thread.Run(THREAD_PRIORITY_NORMAL);
}
