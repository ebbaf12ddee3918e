#pragma once

#include "VzComn_AgentStatus.h"

// Logs the exception that is being handled as what ended an engine's operation. Frees an exception that is a
// pointer of the common library. Always Failure. Called inside of a catch clause.
AgentStatus RefuseEngineException(const wchar_t* operation) noexcept;

// The operation's status, or Failure if the engine's code threw.
template <typename Operation>
AgentStatus CallEngine(const wchar_t* name, Operation operation) noexcept
{
    try
    {
        return operation();
    }
    catch (...)
    {
        return RefuseEngineException(name);
    }
}
