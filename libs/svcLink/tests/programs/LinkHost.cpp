// A service to be killed: LinkHost.exe runs in the foreground, LinkHost.exe service under the service control
// manager. What it does with commands is told in HostCommands.h.
#include "HostCommands.h"

#include "ConsoleHostMark.h"
#include "Names.h"
#include "SvcLinkServer.h"

#include <windows.h>

#include <atomic>
#include <cstring>

namespace
{

constexpr std::int32_t success = 0x20FF0000;

class Host : public SvcLink::Handler
{
public:
    void OnConnected(const SvcLink::Client& /*client*/) override {}

    void OnDisconnected(const SvcLink::Client& /*client*/) override {}

    SvcLink::Answer OnCall(const SvcLink::Client& client, const SvcLink::Call& call) override
    {
        const int count = ++m_calls;
        SvcLink::Answer answer = Serve(client, call, count);
        --m_calls;
        return answer;
    }

    SvcLink::Server* server = nullptr;

private:
    SvcLink::Answer Serve(const SvcLink::Client& client, const SvcLink::Call& call, int count)
    {
        switch (call.commandId)
        {
        case HostCommand::Hang: SuspendThread(GetCurrentThread()); return {success, {}};
        case HostCommand::CallBack:
            return server->CallBack(client.id, call.trackingId, call.message, std::chrono::seconds(60));
        case HostCommand::Count: return {success + count, {}};
        case HostCommand::WhoCalls:
        {
            SvcLink::Answer answer{success, std::vector<std::uint8_t>(12)};
            std::memcpy(answer.message.data(), &client.processId, sizeof client.processId);
            return answer;
        }
        default: return {success, {call.message.begin(), call.message.end()}};
        }
    }

    std::atomic<int> m_calls = 0;
};

int Serve(bool marked)
{
    Host host;
    SvcLink::Server server(host);
    host.server = &server;
    SvcLink::ConsoleHostMark mark;
    std::uint32_t error = 0;
    if ((marked && !mark.Set(error)) || !server.Start(error))
    {
        return static_cast<int>(error);
    }
    Sleep(INFINITE);
    return 0;
}

DWORD WINAPI HandleControl(DWORD control, DWORD /*type*/, void* /*data*/, void* /*context*/)
{
    if (control == SERVICE_CONTROL_STOP)
    {
        ExitProcess(0);
    }
    return NO_ERROR;
}

void WINAPI ServiceMain(DWORD /*count*/, wchar_t** arguments)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = SERVICE_RUNNING;
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
    SetServiceStatus(RegisterServiceCtrlHandlerExW(arguments[0], &HandleControl, nullptr), &status);
    Serve(false);
}

} // namespace

int main(int count, char** /*arguments*/)
{
    if (count == 1)
    {
        return Serve(true);
    }
    std::wstring name = SvcLink::HostServiceName();
    const SERVICE_TABLE_ENTRYW table[] = {{name.data(), &ServiceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
