// A client to be killed in the middle of a command: registers as the agent does and stays in the first
// command that it gets, which the event "inside" tells. Stands beside svcLink.dll.
#include "OuterClientHelper.h"
#include "PeerEvent.h"

namespace
{
AgentStatus Stay(QxCommon::JsonDb& /*command*/)
{
    const auto inside = TestSupport::PeerEvent(L"inside", GetCurrentProcessId());
    SetEvent(inside.Get());
    Sleep(INFINITE);
    return Status::Success;
}
} // namespace

int main()
{
    CVzRpcClientHelper helper(0, RpcClientProduct);
    if (const AgentStatus status = helper.RegisterProcess(L"QxSystemTray", &Stay); Status::Failed(status))
    {
        return status;
    }
    Sleep(INFINITE);
    return 0;
}
