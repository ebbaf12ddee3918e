#pragma once

#include "VzComn_ThreadBase.h"

// Starts a thread that ends by itself. Its handle is left to the end of the process, and nobody joins it.
// Throws VzCommon::Thread::Exception* when the thread cannot be created. Any thread.
void StartThread(VzCommon::Thread::Base::Procedure procedure, void* argument);
