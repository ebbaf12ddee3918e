#pragma once

#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

// Hands the service's engine commands to the engine library. Without the library, which nothing loads yet,
// it refuses each of them.
class CSpecialEngineHost
{
public:
    // Makes sure that the engine library is loaded. Any thread.
    static void Initialize();

    // Executes one action and writes "retCode" itself. Any thread.
    static AgentStatus Dispatch(QxCommon::JsonDb& command);
};
