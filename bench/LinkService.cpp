#include "LinkService.h"

#include "ConsoleHostMark.h"
#include "SvcLinkServer.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace LinkService
{

namespace
{

constexpr std::chrono::seconds measured{3};

class EchoHandler : public SvcLink::Handler
{
public:
    void OnConnected(const SvcLink::Client& /*client*/) override {}

    void OnDisconnected(const SvcLink::Client& client) override
    {
        const std::lock_guard hold(m_lock);
        m_clients.erase(client.id);
    }

    SvcLink::Answer OnCall(const SvcLink::Client& client, const SvcLink::Call& call) override
    {
        switch (call.commandId)
        {
        case TakeCallbacks:
        {
            const std::lock_guard hold(m_lock);
            m_clients[client.id] = call.trackingId;
            return {};
        }
        case CallAllBack: return {CallThemBack(), {}};
        case MemoryInKilobytes: return {Committed(), {}};
        default: return {0, {call.message.begin(), call.message.end()}};
        }
    }

    SvcLink::Server* server = nullptr;

private:
    std::int32_t CallThemBack()
    {
        std::vector<std::jthread> threads;
        std::atomic<int> calls = 0;
        const auto end = std::chrono::steady_clock::now() + measured;
        {
            const std::lock_guard hold(m_lock);
            for (const auto& [id, trackingId] : m_clients)
            {
                threads.emplace_back(
                    [this, end, &calls, clientId = id, name = trackingId]
                    {
                        const std::vector<std::uint8_t> message(OneKilobyte());
                        while (std::chrono::steady_clock::now() < end)
                        {
                            calls += server->CallBack(clientId, name, message, measured).status == 0 ? 1 : 0;
                        }
                    });
            }
        }
        threads.clear();
        return calls / static_cast<int>(measured.count());
    }

    // A message with one item.
    static std::vector<std::uint8_t> OneKilobyte()
    {
        std::vector<std::uint8_t> bytes(1024);
        const std::uint32_t head[] = {0x10014, 100, 1012, 0xE001F, 9, 1000};
        std::copy_n(reinterpret_cast<const std::uint8_t*>(head), sizeof head, bytes.begin());
        return bytes;
    }

    static std::int32_t Committed()
    {
        PROCESS_MEMORY_COUNTERS counters{};
        counters.cb = sizeof counters;
        GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
        return static_cast<std::int32_t>(counters.PagefileUsage / 1024);
    }

    std::mutex m_lock;
    std::map<std::uint64_t, std::string> m_clients; // Guarded by m_lock.
};

} // namespace

int Serve()
{
    EchoHandler handler;
    SvcLink::Server server(handler);
    handler.server = &server;
    SvcLink::ConsoleHostMark mark;
    std::uint32_t error = 0;
    if (!mark.Set(error) || !server.Start(error))
    {
        return static_cast<int>(error);
    }
    Sleep(INFINITE);
    return 0;
}

} // namespace LinkService
