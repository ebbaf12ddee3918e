#pragma once

#include "VzComn_AgentStatus.h"

// Logs the exception that is being handled, as what ended the operation, and makes a status of it. Frees an
// exception that is a pointer. Called inside of a catch clause.
AgentStatus RefuseCaught(const wchar_t* operation);

// The operation's status, or that of what it threw.
template <typename Operation>
AgentStatus Guarded(const wchar_t* name, Operation operation)
{
    try
    {
        return operation();
    }
    catch (...)
    {
        return RefuseCaught(name);
    }
}
