#include "SpecialEngineHost.h"

void CSpecialEngineHost::Initialize() {}

AgentStatus CSpecialEngineHost::Dispatch(QxCommon::JsonDb& command)
{
    command[L"retCode"].SetInt(Status::NoEngineLibrary);
    return Status::NoEngineLibrary;
}
