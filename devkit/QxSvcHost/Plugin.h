#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "SvcLinkServer.h"
#include "VzComn_AgentStatus.h"

namespace SvcHost
{

struct MailRequest
{
    SvcLink::Client caller; // as the system names it
    std::uint32_t mailId = 0;
    std::optional<std::wstring> json;
};

struct MailReply
{
    AgentStatus result = 0;
    std::wstring json = L"{}";
};

// Takes the mails of one plug-in id. Any thread, several at once; no lock of the service is held meanwhile.
class Plugin
{
public:
    virtual ~Plugin() = default;

    virtual MailReply OnMail(const MailRequest& mail) = 0;
};

// The plug-ins by id. Filled before the first mail, constant from then on.
class PluginTable
{
public:
    // False if the id is 0 or has a plug-in already.
    [[nodiscard]] bool Add(std::uint32_t id, std::unique_ptr<Plugin> plugin);

    // Weak. Null if there is none.
    [[nodiscard]] Plugin* Find(std::uint32_t id) const;

    void Remove(std::uint32_t id) { m_plugins.erase(id); }

private:
    std::map<std::uint32_t, std::unique_ptr<Plugin>> m_plugins;
};

} // namespace SvcHost
