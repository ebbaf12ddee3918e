#pragma once

#include <optional>
#include <span>
#include <string>

#include "AnswerRules.h"
#include "ClientTable.h"
#include "Journal.h"
#include "Plugin.h"
#include "StopSignal.h"
#include "SvcLinkServer.h"

namespace SvcHost
{

// What the service does with the link's commands. Holds no lock while a plug-in runs or an answer waits. Any
// thread; everything that it was given must outlive it.
class HostHandler : public SvcLink::Handler
{
public:
    struct Parts
    {
        ClientTable& clients;
        Journal& journal;
        AnswerRules& rules;
        const PluginTable& plugins;
        StopSignal& stopping;
    };

    explicit HostHandler(const Parts& parts) : m_parts(parts) {}

    void OnConnected(const SvcLink::Client& client) override;
    SvcLink::Answer OnCall(const SvcLink::Client& client, const SvcLink::Call& call) override;
    void OnDisconnected(const SvcLink::Client& client) override;

private:
    SvcLink::Answer Dispatch(const SvcLink::Client& client, const SvcLink::Call& call);
    SvcLink::Answer OnRegister(const SvcLink::Client& client, const SvcLink::Call& call);
    SvcLink::Answer OnUnregister(const SvcLink::Client& client, const SvcLink::Call& call);
    SvcLink::Answer OnErase(const SvcLink::Client& client, const SvcLink::Call& call);
    SvcLink::Answer OnMail(const SvcLink::Client& client, const SvcLink::Call& call);

    AgentStatus Register(const SvcLink::Client& client, const SvcLink::Call& call, std::wstring& name);
    AgentStatus Unregister(const SvcLink::Client& client, const SvcLink::Call& call);
    std::optional<AnswerRule> RuleFor(std::uint32_t pluginId, std::uint32_t mailId);
    MailReply RunPlugin(const SvcLink::Client& client, const Mail& mail) const;
    void Note(const SvcLink::Client& client, const wchar_t* kind, std::optional<AgentStatus> status,
              std::optional<std::wstring> text = std::nullopt);
    void NoteMail(const SvcLink::Client& client, const Mail& mail, AgentStatus result);

    Parts m_parts;
};

} // namespace SvcHost
