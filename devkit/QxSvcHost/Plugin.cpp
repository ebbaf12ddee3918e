#include "Plugin.h"

namespace SvcHost
{

bool PluginTable::Add(std::uint32_t id, std::unique_ptr<Plugin> plugin)
{
    return id != 0 && m_plugins.try_emplace(id, std::move(plugin)).second;
}

Plugin* PluginTable::Find(std::uint32_t id) const
{
    const auto found = m_plugins.find(id);
    return found != m_plugins.end() ? found->second.get() : nullptr;
}

} // namespace SvcHost
