// A host service to be killed in the foreground: HangingHost.exe [COMMAND] answers as the reference host
// does, but the commands of that number hang until they are released. Three events tell how far it is:
// "ready" when the endpoint is open, "arrived" when such a command is there; "release" is for the test to
// set.
#include <windows.h>

#include <cwchar>
#include <optional>

#include "SmallHost.h"

#include "ConsoleHostMark.h"
#include "PeerEvent.h"
#include "SvcLinkServer.h"

namespace
{
class HangingHandler : public SvcLink::Handler
{
public:
    explicit HangingHandler(std::optional<std::uint32_t> commandId) : m_commandId(commandId) {}

    void OnConnected(const SvcLink::Client& client) override { m_host.handler.OnConnected(client); }

    void OnDisconnected(const SvcLink::Client& client) override { m_host.handler.OnDisconnected(client); }

    SvcLink::Answer OnCall(const SvcLink::Client& client, const SvcLink::Call& call) override
    {
        if (call.commandId == m_commandId)
        {
            SetEvent(m_arrived.Get());
            WaitForSingleObject(m_release.Get(), INFINITE);
        }
        return m_host.handler.OnCall(client, call);
    }

private:
    const std::optional<std::uint32_t> m_commandId;
    VzCommon::KernelHandle m_arrived = TestSupport::PeerEvent(L"arrived", GetCurrentProcessId());
    VzCommon::KernelHandle m_release = TestSupport::PeerEvent(L"release", GetCurrentProcessId());
    SmallHost m_host;
};
} // namespace

int wmain(int count, wchar_t** arguments)
{
    std::optional<std::uint32_t> commandId;
    if (count > 1)
    {
        commandId = std::wcstoul(arguments[1], nullptr, 10);
    }
    HangingHandler handler(commandId);
    SvcLink::ConsoleHostMark mark;
    SvcLink::Server server(handler);
    std::uint32_t error = 0;
    if (!mark.Set(error) || !server.Start(error))
    {
        return static_cast<int>(error);
    }
    const auto ready = TestSupport::PeerEvent(L"ready", GetCurrentProcessId());
    SetEvent(ready.Get());
    Sleep(INFINITE);
    return 0;
}
