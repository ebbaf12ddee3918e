#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "AnswerRules.h"
#include "ClientTable.h"
#include "Commander.h"
#include "HostHandler.h"
#include "Journal.h"
#include "Plugin.h"
#include "PluginLibrary.h"
#include "StopSignal.h"
#include "SvcLinkServer.h"

namespace SvcHost
{

// The whole service, whoever runs it.
class Host
{
public:
    Host(const std::wstring& serviceName, const std::wstring& journalPath);

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Loads the plug-ins of the folder and opens the endpoint. Fails with a Windows error code: 5 if another
    // process owns the endpoint.
    [[nodiscard]] bool Start(const std::wstring& pluginFolder, std::uint32_t& error);

    // Ends every connection and what is under way. Where a plug-in does not come back from a mail, this
    // process is good for nothing but its end: false when the time is over.
    [[nodiscard]] bool Stop(std::chrono::milliseconds limit);

private:
    void StopAll();

    Journal m_journal;
    ClientTable m_clients;
    AnswerRules m_rules;
    StopSignal m_stopping;
    PluginTable m_plugins;
    HostHandler m_handler;
    SvcLink::Server m_server;
    Commander m_commander;
    PluginLibraries m_libraries;
};

} // namespace SvcHost
