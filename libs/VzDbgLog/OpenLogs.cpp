#include "OpenLogs.h"

#include "Log.h"

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace VzDbgLog
{

namespace
{

std::uintptr_t IdOf(void* handle)
{
    return reinterpret_cast<std::uintptr_t>(handle);
}

} // namespace

void* OpenLogs::Add(std::shared_ptr<Log> log)
{
    const std::lock_guard<SlimLock> guard(lock);
    entries.push_back({lastId + 1, std::move(log)});
    return reinterpret_cast<void*>(++lastId);
}

std::shared_ptr<Log> OpenLogs::Find(void* handle) const
{
    const std::shared_lock<SlimLock> guard(lock);
    for (const Entry& entry : entries)
    {
        if (entry.id == IdOf(handle))
        {
            return entry.log;
        }
    }
    return nullptr;
}

std::shared_ptr<Log> OpenLogs::Remove(void* handle)
{
    const std::lock_guard<SlimLock> guard(lock);
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [handle](const Entry& entry) { return entry.id == IdOf(handle); });
    if (found == entries.end())
    {
        return nullptr;
    }
    std::shared_ptr<Log> log = std::move(found->log);
    entries.erase(found);
    return log;
}

void OpenLogs::FlushAtExit()
{
    const std::unique_lock<SlimLock> guard(lock, std::try_to_lock);
    if (!guard.owns_lock())
    {
        return;
    }
    for (const Entry& entry : entries)
    {
        entry.log->FlushAtExit();
    }
}

} // namespace VzDbgLog
