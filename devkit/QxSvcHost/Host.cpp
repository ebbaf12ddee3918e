#include "Host.h"

#include <future>
#include <memory>
#include <thread>
#include <utility>

#include "Administrator.h"
#include "BuiltInPlugins.h"
#include "ControlMails.h"
#include "ControlPlugin.h"
#include "MessageIds.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
namespace
{
void AddUnlessTaken(PluginTable& table, std::uint32_t id, std::unique_ptr<Plugin> plugin)
{
    if (!table.Add(id, std::move(plugin)))
    {
        LOG_INFO << L"plug-in " << id << L" is the product's own";
    }
}
} // namespace

Host::Host(const std::wstring& serviceName, const std::wstring& journalPath)
    : m_journal(journalPath), m_handler({m_clients, m_journal, m_rules, m_plugins, m_stopping}),
      m_server(m_handler),
      m_commander(m_clients, m_journal,
                  [this](std::uint64_t clientId, const std::string& trackingId,
                         std::span<const std::uint8_t> message, std::chrono::milliseconds limit)
                  { return m_server.CallBack(clientId, trackingId, message, limit); }),
      m_libraries(m_commander)
{
    AddUnlessTaken(m_plugins, ::Plugin::HostProcess, std::make_unique<HostProcessPlugin>());
    AddUnlessTaken(
        m_plugins, Control::PluginId,
        std::make_unique<ControlPlugin>(ControlPlugin::Parts{m_clients, m_journal, m_rules, m_commander},
                                        serviceName, IsAdministrator));
}

bool Host::Start(const std::wstring& pluginFolder, std::uint32_t& error)
{
    m_libraries.Load(pluginFolder, m_plugins);
    AddUnlessTaken(m_plugins, ::Plugin::EventCenter, std::make_unique<EventCenterPlugin>());
    AddUnlessTaken(m_plugins, ::Plugin::UserActivity, std::make_unique<UserActivityPlugin>());
    if (!m_server.Start(error))
    {
        LOG_ERROR << L"the endpoint cannot be opened, error=" << error;
        return false;
    }
    return true;
}

bool Host::Stop(std::chrono::milliseconds limit)
{
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> stopped = done->get_future();
    std::thread(
        [this, done]
        {
            StopAll();
            done->set_value();
        })
        .detach();
    if (stopped.wait_for(limit) == std::future_status::ready)
    {
        return true;
    }
    LOG_ERROR << L"a plug-in does not come back, the service ends without it";
    return false;
}

void Host::StopAll()
{
    m_stopping.Set();
    m_journal.Close();
    m_server.Stop();
    m_libraries.Stop();
}

} // namespace SvcHost
