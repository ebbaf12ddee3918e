#pragma once

#include <memory>
#include <string>

#include "HostHandler.h"

#include "BuiltInPlugins.h"
#include "MessageIds.h"

// What the reference host service does with its clients, without journal file, plug-in libraries and control
// mails. Brings no server.
struct SmallHost
{
    SmallHost()
    {
        static_cast<void>(plugins.Add(Plugin::HostProcess, std::make_unique<SvcHost::HostProcessPlugin>()));
    }

    SvcHost::Journal journal{std::wstring(), {.records = 8}}; // full soon, so that memory stays as it is
    SvcHost::ClientTable clients;
    SvcHost::AnswerRules rules;
    SvcHost::PluginTable plugins;
    SvcHost::StopSignal stopping;
    SvcHost::HostHandler handler{{clients, journal, rules, plugins, stopping}};
};
