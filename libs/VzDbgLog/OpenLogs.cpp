#include "OpenLogs.h"

#include "Log.h"
#include "Settings.h"

#include <mutex>
#include <utility>

namespace VzDbgLog
{

namespace
{

using Guard = std::lock_guard<SlimLock>;

std::uintptr_t IdOf(void* handle)
{
    return reinterpret_cast<std::uintptr_t>(handle);
}

} // namespace

OpenLogs::OpenLogs()
{
    for (std::size_t index = 0; index < slots.size(); ++index)
    {
        slots[index].id = index;
    }
}

OpenLogs::~OpenLogs() = default;

DWORD OpenLogs::Open(const VzDbgConfig& config, void*& handle)
{
    for (Slot& slot : slots)
    {
        const std::unique_lock<SlimLock> guard(slot.lock, std::try_to_lock);
        if (!guard.owns_lock() || slot.log)
        {
            continue;
        }
        auto log = std::make_unique<Log>(ReadSettings(config), slot.lock);
        const DWORD error = log->Open();
        if (error == ERROR_SUCCESS)
        {
            slot.log = std::move(log);
            slot.id += slots.size(); // the rest of its division stays the slot's index
            handle = reinterpret_cast<void*>(slot.id);
        }
        return error;
    }
    return ERROR_TOO_MANY_OPEN_FILES;
}

DWORD OpenLogs::Write(void* handle, const SYSTEMTIME* time, const wchar_t* line)
{
    Slot& slot = SlotOf(handle);
    const Guard guard(slot.lock);
    return slot.id == IdOf(handle) && slot.log ? slot.log->Write(time, line) : ERROR_INVALID_HANDLE;
}

DWORD OpenLogs::Close(void* handle)
{
    Slot& slot = SlotOf(handle);
    std::unique_ptr<Log> log;
    DWORD error = ERROR_INVALID_HANDLE;
    {
        const Guard guard(slot.lock);
        if (slot.id == IdOf(handle) && slot.log)
        {
            log = std::move(slot.log);
            error = log->Close();
        }
    }
    if (log)
    {
        log->EndTimedWork();
    }
    return error;
}

void OpenLogs::FlushAtExit()
{
    for (Slot& slot : slots)
    {
        const std::unique_lock<SlimLock> guard(slot.lock, std::try_to_lock);
        if (guard.owns_lock() && slot.log)
        {
            slot.log->Flush();
        }
    }
}

OpenLogs::Slot& OpenLogs::SlotOf(void* handle)
{
    return slots[IdOf(handle) % slots.size()];
}

} // namespace VzDbgLog
