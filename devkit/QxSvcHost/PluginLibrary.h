#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Commander.h"
#include "HostPlugin.h"
#include "Plugin.h"

namespace SvcHost
{

// The plug-ins of the product team: loads every DLL of a folder, in the order of their names, and refuses
// those that cannot be used, with a line in the log for each. The commander must outlive it.
class PluginLibraries
{
public:
    explicit PluginLibraries(Commander& commander);
    ~PluginLibraries();

    PluginLibraries(const PluginLibraries&) = delete;
    PluginLibraries& operator=(const PluginLibraries&) = delete;

    // Once. A folder that is missing holds no plug-ins.
    void Load(const std::wstring& folder, PluginTable& table);

    // No mail may be under way.
    void Stop();

private:
    class Services;

    void LoadOne(const std::wstring& path, PluginTable& table);

    std::unique_ptr<Services> m_services;
    std::vector<HostPlugin*> m_started; // Weak. Owned by their libraries, which stay.
};

} // namespace SvcHost
