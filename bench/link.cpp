// The link to the host service beside a bare pipe that carries the same bytes: round trips of 1 KB and 64 KB.
// Then callbacks per second to one client and to 64 at once, and what a client costs the service in memory.
//
//     bench_link.exe             all of it; the services are this program again
//     bench_link.exe link|pipe   one of the services
#include "BarePipe.h"
#include "LinkService.h"

#include "MessageIds.h"
#include "RpcMsgBuffer.h"
#include "VzComn_Handle.h"
#include "svcLink.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

constexpr int blocks = 60;
constexpr int tripsOfABlock = 100;

using Manager = std::unique_ptr<CRpcClientManager>;

// This program again, in another role, for the length of a scope.
class Service
{
public:
    explicit Service(const std::wstring& role)
    {
        wchar_t module[MAX_PATH]{};
        GetModuleFileNameW(nullptr, module, MAX_PATH);
        std::wstring line = L"\"" + std::wstring(module) + L"\" " + role;
        STARTUPINFOW start{};
        start.cb = sizeof start;
        PROCESS_INFORMATION made{};
        if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &made))
        {
            m_process = VzCommon::KernelHandle(made.hProcess);
            const VzCommon::KernelHandle thread(made.hThread);
        }
    }

    ~Service() { TerminateProcess(m_process.Get(), 0); }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

private:
    VzCommon::KernelHandle m_process;
};

[[noreturn]] void Fail(const char* what)
{
    std::printf("%s failed\n", what);
    std::exit(EXIT_FAILURE);
}

double Microseconds()
{
    LARGE_INTEGER now;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return 1e6 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// A message whose serialised form has that size.
CRpcDataHandle MakeMessage(std::size_t size)
{
    auto* message = new CRpcMsgBuffer(RpcMessageId);
    const std::wstring text((size - 24 - 2) / 2, L'x');
    message->AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text.data(),
                       static_cast<std::uint32_t>(text.size()));
    return {0, RpcMessageId, new boost::shared_ptr<CRpcMsgBuffer>(message)};
}

std::int32_t Execute(CRpcClientManager& manager, std::uint32_t commandId, const CRpcDataHandle& message,
                     CRpcClientManager::Callback callback = nullptr)
{
    CRpcCommand command{};
    command.uCommandId = commandId;
    command.uSecond = 1;
    std::copy_n(manager.m_szTrackingId, RpcUuidSize, command.szTrackingId);
    command.data = message;
    CRpcCommandResult result{};
    const std::int32_t status = manager.ExecuteCommand(command, callback, result);
    manager.DestroyDataHandle(&result.data);
    return status;
}

Manager Connect()
{
    for (int attempt = 0; attempt < 1000; ++attempt)
    {
        auto manager = std::make_unique<CRpcClientManager>(nullptr, 1000);
        if (Execute(*manager, LinkService::Echo, {}) >= 0)
        {
            return manager;
        }
        Sleep(10);
    }
    Fail("connecting");
}

double At(std::vector<double> times, double part)
{
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(static_cast<double>(times.size() - 1) * part)];
}

template <typename Operation>
void Measure(std::vector<double>& times, Operation operation)
{
    for (int trip = 0; trip < tripsOfABlock; ++trip)
    {
        const double begin = Microseconds();
        operation();
        times.push_back(Microseconds() - begin);
    }
}

// Blocks of both take turns, so that they meet the same machine.
void CompareRoundTrips(CRpcClientManager& manager, const BarePipeClient& pipe, std::size_t size)
{
    const CRpcDataHandle message = MakeMessage(size);
    std::vector<std::uint8_t> bytes(size, 0x5A);
    std::vector<double> ours;
    std::vector<double> bare;
    for (int block = 0; block < blocks; ++block)
    {
        Measure(bare,
                [&]
                {
                    if (!pipe.RoundTrip(bytes))
                    {
                        Fail("the bare pipe");
                    }
                });
        Measure(ours,
                [&]
                {
                    if (Execute(manager, LinkService::Echo, message) < 0)
                    {
                        Fail("a call");
                    }
                });
    }
    delete message.pMessage;
    for (const auto& [name, part] : {std::pair("median", 0.5), std::pair("99th percentile", 0.99)})
    {
        std::printf("round trip of %zu KB, %s: %.0f us, bare pipe %.0f us, ratio %.2f\n", size / 1024, name,
                    At(ours, part), At(bare, part), At(ours, part) / At(bare, part));
    }
}

std::int32_t Reply(const char* /*trackingId*/, const CRpcCommandResult& in, CRpcCommandResult& out)
{
    out.data = {0, RpcMessageId, new boost::shared_ptr<CRpcMsgBuffer>(*in.data.pMessage)};
    return 0;
}

// The service's side counts.
void MeasureCallbacks(CRpcClientManager& control, const char* name)
{
    const int perSecond = Execute(control, LinkService::CallAllBack, {});
    std::printf("commands of 1 KB from the service to %s: %d per second\n", name, perSecond);
}

void MeasureClients(CRpcClientManager& control)
{
    std::vector<Manager> clients;
    const auto add = [&clients](std::size_t count)
    {
        while (clients.size() < count)
        {
            clients.push_back(Connect());
            Execute(*clients.back(), LinkService::TakeCallbacks, {}, &Reply);
        }
    };
    add(1);
    MeasureCallbacks(control, "one client");
    const int before = Execute(control, LinkService::MemoryInKilobytes, {});
    add(64);
    const int after = Execute(control, LinkService::MemoryInKilobytes, {});
    MeasureCallbacks(control, "64 clients at once");
    std::printf("memory of the service per idle client: %.1f KB\n", (after - before) / 63.0);
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    const std::wstring_view role = count > 1 ? arguments[1] : L"";
    if (role == L"link")
    {
        return LinkService::Serve();
    }
    if (role == L"pipe")
    {
        return ServeBarePipe();
    }
    // Loaded before the first delayed call would look for it.
    if (LoadLibraryW(QX_LINK_LIBRARY) == nullptr)
    {
        Fail("loading the library");
    }
    const Service link(L"link");
    const Service pipe(L"pipe");
    const Manager manager = Connect();
    const BarePipeClient bare;
    CompareRoundTrips(*manager, bare, 1024);
    CompareRoundTrips(*manager, bare, 65536);
    MeasureClients(*manager);
    return EXIT_SUCCESS;
}
